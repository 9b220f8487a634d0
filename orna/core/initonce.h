// Base of every object of the device library that needs the library to be up.
//
// Constructing one before orna::Library::Initialize() raises NotInitializedException with the fixed text.
// Any thread.
#pragma once

#include "orna/core/library.h"

namespace orna::core {

class InitOnce
{
public:
    virtual ~InitOnce() = default;

protected:
    InitOnce() { orna::Library::RequireInitialized(); }
    InitOnce(const InitOnce&) = default;
    InitOnce& operator=(const InitOnce&) = default;
};

} // namespace orna::core
