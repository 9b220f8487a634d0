// A generated GenICam description of the size and shape of a large real camera's: about 3,000 named nodes in
// about 1.3 MB, with categories, integers on registers, selectors with indexed registers, swiss knives,
// converters, enumerations of 30 entries, and chunk and event ports. Used to measure what opening such a
// description costs, and by tests that need a description of that shape.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace orna::core::detail {
class RegisterBank;
}

namespace orna::core::benchsupport {

struct LargeDescription
{
    std::string xml;
    size_t namedNodes = 0; // every element with a Name attribute, enumeration entries included
};

// blocks sets the size: 520 blocks give about 3,000 named nodes and 1.3 MB.
LargeDescription GenerateLargeDescription(int blocks = 520);

// A zero-filled bank that covers every register of the generated description.
std::shared_ptr<detail::RegisterBank> LargeDescriptionBank(int blocks = 520);

} // namespace orna::core::benchsupport
