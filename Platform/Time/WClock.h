#pragma once

#include "WPlatform.h"

#include <cstdint>

/// The clocks of the system. All functions may be called from any thread, at any time, and never fail.
class KORVALE_API WClock
{
public:
    WClock() = delete;

    /// Microseconds since an arbitrary moment that stays the same while the process runs. Never runs backwards,
    /// does not follow changes of the system time, and counts the time for which the machine is suspended.
    static std::int64_t GetMicroSeconds();

    /// The system time: microseconds since 00:00:00 UTC on 1 January 1970. Jumps when the system time is set.
    static std::int64_t GetSystemMicroSeconds();

    /// A moment for what only has to be put in order: steps of a few milliseconds in units of `1 / CLOCKS_PER_SEC`
    /// seconds, read in less time than the other clocks. Never runs backwards.
    static std::int64_t GetCoarseTicks();
};
