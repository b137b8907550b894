#pragma once

#include "Threads/XMutex.h"

/// Threads wait here, without a mutex they hold, until another thread signals a change of what the mutex
/// guards. A signal wakes threads that waited when it was given, longest first: who begins to wait later
/// cannot take it. Wakes without a signal do not happen, but what was signalled may have changed again before
/// the waiter has the mutex back.
///
/// Alertable waits are checkpoints: when another thread asks this one to stop or suspend, the checkpoint runs
/// while the thread keeps its place in the queue and does not hold the mutex. A stop takes the mutex again
/// and leaves the wait as XStopThreadException; a signal that had reached the thread by then goes to the next
/// waiter. A suspended waiter misses no signal.
///
/// Threads: any. Signalling needs no mutex held. May be destroyed once every waiter has been signalled.
/// Errors: waiting without holding the mutex exactly once is an internal error.
class KORVALE_API XConditionVariable
{
public:
    constexpr XConditionVariable() noexcept = default;
    XConditionVariable( const XConditionVariable& ) = delete;
    XConditionVariable& operator=( const XConditionVariable& ) = delete;

    /// Waits up to `inTimeoutMs` for a signal. Throws 2701 when the time is over, with the mutex held again.
    void Wait( XMutex& ioMutex, std::uint32_t inTimeoutMs = kNoTimeout, bool inAlertable = false );

    /// The same, but returns true when the time is over.
    bool Sleep( XMutex& ioMutex, std::uint32_t inTimeoutMs = kNoTimeout, bool inAlertable = false );

    /// The same waits, ended by user input too (see XWaitResult); `inAnyInput` counts input that was there
    /// before. The Wait form throws 2701 when the time is over.
    XWaitResult WaitForInputOrSignal(
        XMutex& ioMutex, std::uint32_t inTimeoutMs, bool inAnyInput = false, bool inAlertable = false );
    XWaitResult SleepForInputOrSignal(
        XMutex& ioMutex, std::uint32_t inTimeoutMs, bool inAnyInput = false, bool inAlertable = false );

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

    std::atomic<std::uint32_t> itsWaiterCount = 0; // changed under the parking queue of this object
};
