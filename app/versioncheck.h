// The accepted versions of the device library: 1.2.1 and above. Pure functions, any thread.
#pragma once

#include <QString>

namespace versioncheck {

inline constexpr int kMinimumMajor = 1;
inline constexpr int kMinimumMinor = 2;
inline constexpr int kMinimumSubminor = 1;

bool IsDeviceLibraryVersionAccepted(unsigned major, unsigned minor, unsigned subminor);

} // namespace versioncheck
