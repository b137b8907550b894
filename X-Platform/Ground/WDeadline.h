#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <chrono>

/// The time at which a wait gives up, fixed once from a time-out in milliseconds. Uses the monotonic clock.
class WDeadline
{
public:
    using Clock = std::chrono::steady_clock;

    /// `kNoTimeout` makes a deadline that never passes, 0 one that has already passed.
    explicit WDeadline( std::uint32_t inTimeoutMS )
        : itsIsLimited( inTimeoutMS != kNoTimeout ), itsTimeoutMS( inTimeoutMS ),
          itsTime(
              itsIsLimited && inTimeoutMS != 0 ? Clock::now() + std::chrono::milliseconds( inTimeoutMS )
                                               : ( Clock::time_point::min )() )
    {
    }

    bool IsLimited() const { return itsIsLimited; }
    bool HasPassed() const { return itsIsLimited && ( itsTimeoutMS == 0 || Clock::now() >= itsTime ); }

    /// Never negative; for limited deadlines only.
    Clock::duration GetTimeLeft() const
    {
        return HasPassed() ? Clock::duration::zero()
                           : ( std::max )( itsTime - Clock::now(), Clock::duration::zero() );
    }

    /// The time-out to pass on to a wait that takes milliseconds: rounded up, `kNoTimeout` when not limited.
    std::uint32_t GetMillisecondsLeft() const
    {
        if ( !itsIsLimited )
            return kNoTimeout;
        return static_cast<std::uint32_t>(
            std::chrono::ceil<std::chrono::milliseconds>( GetTimeLeft() ).count() );
    }

private:
    bool itsIsLimited;
    std::uint32_t itsTimeoutMS;
    Clock::time_point itsTime;
};
