#pragma once

#include "WPlatform.h"

#include <cstdint>

/// The system's clocks. All functions may be called from any thread at any time and never fail.
class KORVALE_API WClock
{
public:
    WClock() = delete;

    /// Microseconds since an arbitrary fixed moment. Monotonic; not affected by changes of the system time;
    /// includes the time for which the machine is suspended.
    static std::int64_t GetMicroSeconds();

    /// The system time: microseconds since 00:00:00 UTC on 1 January 1970. Jumps when the system time is
    /// changed.
    static std::int64_t GetSystemMicroSeconds();

    /// A time for ordering events: steps of a few milliseconds in units of `1 / CLOCKS_PER_SEC` seconds,
    /// faster to read than the other clocks. Monotonic.
    static std::int64_t GetCoarseTicks();
};
