// The flood guard of a camera's remote device events and the names of event types, for the event worker.
//
// Threads: EventRateLimiter is not thread-safe; the event thread owns its one instance. EventTypeName: any.
#pragma once

#include <QString>

#include <chrono>

namespace camera {

// The flood guard of remote device events: a window of just over 100 ms that the first event after it opens;
// from the 50th event of a window on, events are dropped. Not thread-safe; the event thread owns it.
class EventRateLimiter
{
public:
    static constexpr std::chrono::nanoseconds kWindow{100000001};
    static constexpr int kLimit = 50;

    // False when the event at now is to be dropped.
    bool Accept(std::chrono::system_clock::time_point now);
    // True once per window in which dropping began: the moment to warn.
    bool TakeOverflowWarning();
    // Events dropped since the last call.
    int TakeDropped();

private:
    std::chrono::system_clock::time_point windowStart{};
    bool started = false;
    int count = 0;
    bool overflowReported = false;
    bool warningPending = false;
    int dropped = 0;
};

// The name of an event type: 0, 1 "Error", 2 "FeatureInvalidate", 3 "FeatureChange", 4 "RemoteDevice",
// 5 "Module", 1000 and above "Custom", else empty.
QString EventTypeName(int type);

} // namespace camera
