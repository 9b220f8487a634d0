#include "app/versioncheck.h"

namespace versioncheck {

bool IsDeviceLibraryVersionAccepted(unsigned major, unsigned minor, unsigned subminor)
{
    if (major != kMinimumMajor)
        return major > kMinimumMajor;
    if (minor != kMinimumMinor)
        return minor > kMinimumMinor;
    return subminor >= kMinimumSubminor;
}

} // namespace versioncheck
