#include "app/commandline.h"

#include "common/applicationglobals.h"

#include <cstdio>
#include <cstring>

namespace commandline {

namespace {
// Nine characters, 27 digits.
constexpr const char* kDeveloperDigits = "100101118118105101119101114";
} // namespace

std::string DigitForm(const std::string& bytes)
{
    std::string digits;
    digits.reserve(bytes.size() * 3);
    char buffer[4];
    for (unsigned char byte : bytes)
    {
        std::snprintf(buffer, sizeof buffer, "%03d", static_cast<int>(byte));
        digits.append(buffer, 3);
    }
    return digits;
}

bool IsDeveloperWord(const char* argument)
{
    if (!argument)
        return false;
    return DigitForm(std::string(argument)) == kDeveloperDigits;
}

void Scan(int argc, char** argv)
{
    if (argc < 2)
        return;
    for (int i = 1; i < argc; ++i)
    {
        if (IsDeveloperWord(argv[i]))
            ApplicationGlobals::developerView = true;
    }
}

} // namespace commandline
