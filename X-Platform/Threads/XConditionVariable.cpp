#include "Threads/XConditionVariable.h"

#include "Threads/XCheckpoint.h"
#include "WParkingQueue.h"

struct XConditionVariable::XWaiter : WParkingNode
{
    // Set by the thread that signals.
    bool isSignalledAlone = false; // the signal was for a number of waiters, so it must not be lost
    XWaiter* nextSignalled = nullptr;
};

void XConditionVariable::Wait( XMutex& ioMutex, std::uint32_t inTimeoutMs, bool inAlertable )
{
    if ( Sleep( ioMutex, inTimeoutMs, inAlertable ) )
        XThrow( 2701 );
}

bool XConditionVariable::Sleep( XMutex& ioMutex, std::uint32_t inTimeoutMs, bool inAlertable )
{
    ioMutex.AssertIsLockedOnce();
    const WDeadline deadline( inTimeoutMs );
    XWaiter waiter;
    Enqueue( waiter ); // before unlocking, so that whoever changes what the mutex guards finds the waiter
    ioMutex.Unlock();
    bool isTooLate = false;
    try
    {
        isTooLate = SleepInQueue( waiter, deadline, inAlertable );
    }
    catch ( ... ) // a stop
    {
        if ( !Leave( waiter ) && waiter.isSignalledAlone )
            Signal();
        ioMutex.Lock();
        throw;
    }
    ioMutex.Lock();
    return isTooLate;
}

XWaitResult XConditionVariable::WaitForInputOrSignal(
    XMutex& ioMutex, std::uint32_t inTimeoutMs, bool inAnyInput, bool inAlertable )
{
    const XWaitResult result = SleepForInputOrSignal( ioMutex, inTimeoutMs, inAnyInput, inAlertable );
    if ( result == kWaitResultTimeout )
        XThrow( 2701 );
    return result;
}

XWaitResult XConditionVariable::SleepForInputOrSignal(
    XMutex& ioMutex, std::uint32_t inTimeoutMs, bool inAnyInput, bool inAlertable )
{
    static_cast<void>( inAnyInput ); // input never arrives
    return Sleep( ioMutex, inTimeoutMs, inAlertable ) ? kWaitResultTimeout : kWaitResultEvent;
}

void XConditionVariable::Enqueue( XWaiter& inWaiter )
{
    WParkingQueue queue( this );
    itsWaiterCount.fetch_add( 1, std::memory_order_relaxed );
    queue.Append( inWaiter );
}

/// Sleeps until signalled; true when the deadline has passed before. The checkpoint runs with the waiter still queued,
/// so that a thread that is suspended here loses no signal.
bool XConditionVariable::SleepInQueue( XWaiter& inWaiter, const WDeadline& inDeadline, bool inAlertable )
{
    for ( ;; )
    {
        if ( inAlertable )
            XRunCheckpoint();
        const WWaitResult result = inWaiter.Wait( inDeadline, inAlertable );
        if ( result != kWaitAlerted )
            return result == kWaitTimedOut && Leave( inWaiter );
    }
}

/// Takes the waiter from the queue. False when it has been signalled in the meantime.
bool XConditionVariable::Leave( XWaiter& inWaiter )
{
    {
        WParkingQueue queue( this );
        if ( queue.Remove( inWaiter ) )
        {
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
        // All that are signalled together are taken in one step: whoever waits again at once is a late arrival.
        WParkingQueue queue( this );
        XWaiter** end = &first;
        for ( std::uint32_t taken = 0; inAll || taken < inCount; ++taken )
        {
            auto* waiter = static_cast<XWaiter*>( queue.TakeFirst() );
            if ( !waiter )
                break;
            itsWaiterCount.fetch_sub( 1, std::memory_order_relaxed );
            waiter->isSignalledAlone = !inAll;
            *end = waiter;
            end = &waiter->nextSignalled;
        }
    }
    while ( first )
    {
        XWaiter* const waiter = first;
        first = waiter->nextSignalled;
        waiter->Release();
    }
}
