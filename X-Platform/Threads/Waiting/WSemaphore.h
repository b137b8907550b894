#pragma once

#include "Ground/WWaitResult.h"

#include <atomic>

/// A counting semaphore. A unit goes to the first thread that takes it; of the sleeping threads, the one that
/// has waited longest is woken first. Uses no system resource unless a thread has to sleep.
/// Threads: any thread may signal and wait; a thread that got its unit may destroy the semaphore at once.
class KORVALE_API WSemaphore
{
public:
    explicit WSemaphore( std::uint32_t inInitialCount = 0 ) : itsState( inInitialCount ) {}
    WSemaphore( const WSemaphore& ) = delete;
    WSemaphore& operator=( const WSemaphore& ) = delete;

    /// Adds `inCount` units. The number of units must stay below 2^31.
    void Signal( std::uint32_t inCount = 1 );

    /// Takes a unit, waiting up to `inTimeoutMS`. An alertable wait also ends, without a unit, when the
    /// thread is alerted (WThread::Wake).
    WWaitResult Wait( std::uint32_t inTimeoutMS = kNoTimeout, bool inAlertable = false );

    bool TryWait();

    /// The current number of units.
    std::uint32_t GetCount() const;

private:
    std::atomic<std::uint64_t> itsState; // units in the low half, sleeping threads in the high half
};
