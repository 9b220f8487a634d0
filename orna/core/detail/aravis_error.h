// The one table from Aravis/GLib errors to the return codes and exception classes of orna::core.
//
// Every Aravis call that fills a GError goes through RaiseIfError(), so a failure of any transport or of the
// node engine leaves orna::core as the same exception class for the same cause. Any thread.
#pragma once

#include "orna/core/exception.h"

#include <glib.h>

#include <string>

namespace orna::core::detail {

// The return code for an Aravis error (domain and code); ReturnCode::Error for anything the table does not list.
ReturnCode ReturnCodeForGError(const GError* error);

// Frees the error and raises the mapped exception with the error's message (prefixed by context when given).
[[noreturn]] void RaiseFromGError(GError* error, const std::string& context = {});

// Does nothing when error is null.
inline void RaiseIfError(GError* error, const std::string& context = {})
{
    if (error)
        RaiseFromGError(error, context);
}

} // namespace orna::core::detail
