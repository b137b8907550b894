#pragma once

#include "Ground/XTypes.h"
#include "Time/WClock.h"

/// Measures the time since its start, optionally against a limit: a period between reports, or the time-out
/// of a wait made in several steps. Each reading reads the system's monotonic clock once.
///
///     XTimer timer( inTimeoutMS );
///     while( !Ready() && !timer.HasExpired() )
///         semaphore.Wait( timer.GetRemainingMS() );
///
/// Threads: readings from any thread; `Restart` and `SetLimitMS` count as assignments.
class XTimer
{
public:
    /// Starts now. With `kNoTimeout` it never expires, with 0 it has expired at once.
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

    /// The remaining time, rounded up so that a wait of this length does not end early; 0 once it has
    /// expired, `kNoTimeout` without a limit.
    std::uint32_t GetRemainingMS() const
    {
        if ( itsLimitMS == kNoTimeout )
            return kNoTimeout;
        const std::int64_t left = GetLimitUS() - GetElapsedUS();
        return left > 0 ? static_cast<std::uint32_t>( ( left + 999 ) / 1000 ) : 0;
    }

    /// For periodic actions: if the limit has passed, restarts the timer and returns true.
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
