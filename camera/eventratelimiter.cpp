#include "camera/eventratelimiter.h"

namespace camera {

constexpr std::chrono::nanoseconds EventRateLimiter::kWindow;

bool EventRateLimiter::Accept(std::chrono::system_clock::time_point now)
{
    if (!started || now - windowStart > kWindow)
    {
        started = true;
        windowStart = now;
        count = 1;
        overflowReported = false;
        return true;
    }
    ++count;
    if (count < kLimit)
        return true;
    if (!overflowReported)
    {
        overflowReported = true;
        warningPending = true;
    }
    ++dropped;
    return false;
}

bool EventRateLimiter::TakeOverflowWarning()
{
    const bool pending = warningPending;
    warningPending = false;
    return pending;
}

int EventRateLimiter::TakeDropped()
{
    const int n = dropped;
    dropped = 0;
    return n;
}

QString EventTypeName(int type)
{
    switch (type)
    {
    case 0:
    case 1:
        return QStringLiteral("Error");
    case 2:
        return QStringLiteral("FeatureInvalidate");
    case 3:
        return QStringLiteral("FeatureChange");
    case 4:
        return QStringLiteral("RemoteDevice");
    case 5:
        return QStringLiteral("Module");
    default:
        return type >= 1000 ? QStringLiteral("Custom") : QString();
    }
}

} // namespace camera
