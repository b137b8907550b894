#pragma once

#include "Ground/XTypes.h"
#include "Time/WClock.h"

/// Measures the time since it was started, optionally against a limit: a period between reports, or the
/// time-out of a wait made in several steps. Each reading costs one reading of the system's monotonic clock.
///
///     XTimer timer( inTimeoutMS );
///     while( !Ready() && !timer.HasExpired() )
///         semaphore.Wait( timer.GetRemainingMS() );
///
/// Threads: readings from any thread; `Restart` and `SetLimitMS` as an assignment.
class XTimer
{
public:
    /// Starts now. `kNoTimeout` never expires, 0 has expired at once.
    explicit XTimer( std::uint32_t inLimitMS = kNoTimeout )
        : itsStartUS( WClock::GetMicroSeconds() ), itsLimitMS( inLimitMS )
    {
    }

    /// Starts again from now, with the same limit.
    void Restart() { itsStartUS = WClock::GetMicroSeconds(); }

    void SetLimitMS( std::uint32_t inLimitMS ) { itsLimitMS = inLimitMS; }
    std::uint32_t GetLimitMS() const { return itsLimitMS; }

    std::int64_t GetElapsedUS() const { return WClock::GetMicroSeconds() - itsStartUS; }
    std::int64_t GetElapsedMS() const { return GetElapsedUS() / 1000; }
    double GetElapsedSeconds() const { return static_cast<double>( GetElapsedUS() ) * 1e-6; }

    bool HasExpired() const { return itsLimitMS != kNoTimeout && GetElapsedUS() >= GetLimitUS(); }

    /// What is left of the limit, rounded up, so that a wait of this length does not end early; 0 once it has
    /// expired, `kNoTimeout` without a limit.
    std::uint32_t GetRemainingMS() const
    {
        if ( itsLimitMS == kNoTimeout )
            return kNoTimeout;
        const std::int64_t left = GetLimitUS() - GetElapsedUS();
        return left > 0 ? static_cast<std::uint32_t>( ( left + 999 ) / 1000 ) : 0;
    }

    /// For what is done once per period: true when the limit has passed, and then the timer starts again.
    bool RestartIfExpired()
    {
        const std::int64_t now = WClock::GetMicroSeconds();
        if ( itsLimitMS == kNoTimeout || now - itsStartUS < GetLimitUS() )
            return false;
        itsStartUS = now;
        return true;
    }

private:
    std::int64_t GetLimitUS() const { return std::int64_t( itsLimitMS ) * 1000; }

    std::int64_t itsStartUS;
    std::uint32_t itsLimitMS;
};
