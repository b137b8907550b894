#pragma once

#include "Threads/XMutex.h"

/// A condition variable: threads release a mutex and wait until another thread signals a change of the state
/// that the mutex guards. A signal wakes only threads that were waiting at that time, the longest waiting
/// first; a later waiter cannot take it. There are no spurious wake-ups, but the state may have changed again
/// before the waiter holds the mutex.
///
/// Alertable waits are checkpoints: if another thread requests a stop or a suspension, the checkpoint runs
/// without the mutex, while the thread keeps its place in the queue. A stop reacquires the mutex and ends the
/// wait with XStopThreadException; a signal that had reached the thread goes to the next waiter. A suspended
/// waiter misses no signal.
///
/// Threads: any. Signalling does not require the mutex. It may be destroyed once every waiter has been
/// signalled.
/// Errors: waiting without holding the mutex exactly once is an internal error.
class KORVALE_API XConditionVariable
{
public:
    constexpr XConditionVariable() noexcept = default;
    XConditionVariable( const XConditionVariable& ) = delete;
    XConditionVariable& operator=( const XConditionVariable& ) = delete;

    /// Waits up to `inTimeoutMS` for a signal. On a time-out it throws 2701, with the mutex locked again.
    void Wait( XMutex& ioMutex, std::uint32_t inTimeoutMS = kNoTimeout, bool inAlertable = false );

    /// Like Wait, but returns true on a time-out.
    bool Sleep( XMutex& ioMutex, std::uint32_t inTimeoutMS = kNoTimeout, bool inAlertable = false );

    /// Like Wait and Sleep, but user input ends the wait too (see XWaitResult); with `inAnyInput`, so does
    /// earlier input. WaitForInputOrSignal throws 2701 on a time-out.
    XWaitResult WaitForInputOrSignal(
        XMutex& ioMutex, std::uint32_t inTimeoutMS, bool inAnyInput = false, bool inAlertable = false );
    XWaitResult SleepForInputOrSignal(
        XMutex& ioMutex, std::uint32_t inTimeoutMS, bool inAnyInput = false, bool inAlertable = false );

    /// Wakes up to `inCount` waiters.
    void Signal( std::uint32_t inCount = 1 ) { Unblock( false, inCount ); }

    /// Wakes all waiters.
    void Broadcast() { Unblock( true, 0 ); }

private:
    struct XWaiter;

    void Enqueue( XWaiter& inWaiter );
    bool SleepInQueue( XWaiter& inWaiter, const WDeadline& inDeadline, bool inAlertable );
    bool SetInCheckpoint( XWaiter& inWaiter, bool inIsInCheckpoint );
    bool Leave( XWaiter& inWaiter );
    void Unblock( bool inAll, std::uint32_t inCount );

    std::atomic<std::uint32_t> itsWaiterCount = 0; // changed while the parking queue of this object is locked
};
