#include "Threads/XConditionVariable.h"

#include "Ground/XErrorNumbers.h"
#include "Threads/Internal/XMutexSleeper.h"
#include "Threads/Waiting/Internal/WParkingQueue.h"
#include "Threads/XCheckpoint.h"

// A waiter is in the parking queue of the condition variable until it is signalled. A signal given by the owner of the
// waiter's mutex does not wake it, since it would have to sleep again at once for the mutex: it moves the waiter to the
// queue of the mutex, to be woken when that is unlocked. The exception is a waiter that runs its checkpoint: it may be
// suspended there, and must not be the one that an unlocked mutex waits for.

struct XConditionVariable::XWaiter : XMutexSleeper
{
    enum State : std::uint32_t
    {
        kWaiting,
        kSignalledInNumber, // by a signal for a number of waiters, which must not be lost
        kSignalledWithAll
    };

    explicit XWaiter( XMutex& inMutex ) : XMutexSleeper( false ), mutex( inMutex ) {}

    XMutex& mutex;
    State state = kWaiting;           // guarded by the queue of the condition variable
    bool isInCheckpoint = false;      // changed under that queue while waiting
    XWaiter* nextSignalled = nullptr; // the signalling thread's
};

void XConditionVariable::Wait( XMutex& ioMutex, std::uint32_t inTimeoutMS, bool inAlertable )
{
    if ( Sleep( ioMutex, inTimeoutMS, inAlertable ) )
        XThrow( kErrorTimedOut );
}

bool XConditionVariable::Sleep( XMutex& ioMutex, std::uint32_t inTimeoutMS, bool inAlertable )
{
    ioMutex.AssertIsLockedOnce();
    const WDeadline deadline( inTimeoutMS );
    XWaiter waiter( ioMutex );
    Enqueue( waiter ); // before unlocking, so that whoever changes what the mutex guards finds the waiter
    ioMutex.Unlock();
    bool isTooLate = false;
    try
    {
        isTooLate = SleepInQueue( waiter, deadline, inAlertable );
    }
    catch ( ... ) // a stop
    {
        // A signal for a number of waiters has been spent on this one, which will not act on it: the next one
        // gets it.
        if ( !Leave( waiter ) && waiter.state == XWaiter::kSignalledInNumber )
            Signal();
        ioMutex.Lock();
        throw;
    }
    ioMutex.Lock();
    return isTooLate;
}

XWaitResult XConditionVariable::WaitForInputOrSignal(
    XMutex& ioMutex, std::uint32_t inTimeoutMS, bool inAnyInput, bool inAlertable )
{
    const XWaitResult result = SleepForInputOrSignal( ioMutex, inTimeoutMS, inAnyInput, inAlertable );
    if ( result == kWaitResultTimeout )
        XThrow( kErrorTimedOut );
    return result;
}

XWaitResult XConditionVariable::SleepForInputOrSignal(
    XMutex& ioMutex, std::uint32_t inTimeoutMS, bool inAnyInput, bool inAlertable )
{
    static_cast<void>( inAnyInput ); // input never arrives
    return Sleep( ioMutex, inTimeoutMS, inAlertable ) ? kWaitResultTimeout : kWaitResultEvent;
}

void XConditionVariable::Enqueue( XWaiter& inWaiter )
{
    WParkingQueue queue( this );
    itsWaiterCount.fetch_add( 1, std::memory_order_relaxed );
    queue.Append( inWaiter );
}

/// Sleeps until signalled; true when the deadline has passed before. The checkpoint runs with the waiter still queued,
/// so that a thread that is suspended there misses no signal.
bool XConditionVariable::SleepInQueue( XWaiter& inWaiter, const WDeadline& inDeadline, bool inAlertable )
{
    for ( ;; )
    {
        // A signalled waiter skips the checkpoint: the mutex may be waiting for it already.
        if ( inAlertable && SetInCheckpoint( inWaiter, true ) )
        {
            XRunCheckpoint();
            SetInCheckpoint( inWaiter, false );
        }
        const WWaitResult result = inWaiter.Wait( inDeadline, inAlertable );
        if ( result != kWaitAlerted )
            return result == kWaitTimedOut && Leave( inWaiter );
    }
}

/// False, with nothing changed, for a waiter that has been signalled.
bool XConditionVariable::SetInCheckpoint( XWaiter& inWaiter, bool inIsInCheckpoint )
{
    const WParkingQueue queue( this );
    if ( inWaiter.state != XWaiter::kWaiting )
        return false;
    inWaiter.isInCheckpoint = inIsInCheckpoint;
    return true;
}

/// Removes the waiter from the queue. Returns false if it has been signalled meanwhile.
bool XConditionVariable::Leave( XWaiter& inWaiter )
{
    {
        WParkingQueue queue( this );
        if ( inWaiter.state == XWaiter::kWaiting )
        {
            queue.Remove( inWaiter );
            itsWaiterCount.fetch_sub( 1, std::memory_order_relaxed );
            return true;
        }
    }
    inWaiter.WaitForRelease();
    return false;
}

void XConditionVariable::Unblock( bool inAll, std::uint32_t inCount )
{
    if ( itsWaiterCount.load( std::memory_order_acquire ) == 0 )
        return;
    XWaiter* first = nullptr;
    {
        // Removes all signalled waiters in one step: a thread that waits again at once counts as a later
        // waiter.
        WParkingQueue queue( this );
        XWaiter** end = &first;
        for ( std::uint32_t taken = 0; inAll || taken < inCount; ++taken )
        {
            auto* waiter = static_cast<XWaiter*>( queue.TakeFirst() );
            if ( !waiter )
                break;
            itsWaiterCount.fetch_sub( 1, std::memory_order_relaxed );
            waiter->state = inAll ? XWaiter::kSignalledWithAll : XWaiter::kSignalledInNumber;
            *end = waiter;
            end = &waiter->nextSignalled;
        }
    }
    while ( first )
    {
        // The link is read first: a released waiter's frame may be gone.
        XWaiter* const waiter = first;
        first = waiter->nextSignalled;
        if ( waiter->isInCheckpoint || !waiter->mutex.QueueForUnlock( *waiter ) )
            waiter->Release();
    }
}
