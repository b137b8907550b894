#include "Threads/XMutex.h"

#include "System/WFutex.h"
#include "System/WProcessors.h"
#include "Threads/Internal/XLockOrder.h"
#include "Threads/Internal/XMutexSleeper.h"
#include "Threads/Waiting/Internal/WParkingQueue.h"
#include "Threads/XCheckpoint.h"

#include <algorithm>

// Transitions of itsState:
// - A free mutex is claimed by a compare-and-swap that adds the owner's ID and keeps the other bits.
// - kSleepers is set by a thread that goes to sleep while the mutex is owned. It is cleared only under the
//   parking queue, by the owner that unlocks or by the last sleeper that leaves. So it is set whenever the
//   queue of this mutex is not empty.
// - The owner unlocks by a compare-and-swap from its ID to 0. If that fails, it decides under the parking
//   queue: the mutex is either freed or handed to the first sleeper, and that sleeper is woken. The mutex is
//   not accessed after it has been released.
// Under the parking queue, finding the mutex owned, setting kSleepers and enqueueing the sleeper are one
// step, so the owner cannot miss a sleeper.

namespace
{

constexpr std::uint32_t kLongestPause = 64;

// A pause of the processor takes about as long as this many tries.
constexpr std::uint32_t kTriesPerPause = 4;

} // namespace

XMutex::~XMutex()
{
    if ( itsState.load( std::memory_order_relaxed ) & kOrdered )
        XLockOrder::Forget( *this );
}

XWaitResult XMutex::WaitForInputOrLock( std::uint32_t inTimeoutMS, bool inAnyInput, bool inAlertable )
{
    static_cast<void>( inAnyInput ); // input never arrives
    Lock( inTimeoutMS, inAlertable );
    return kWaitResultEvent;
}

void XMutex::AssertIsLocked() const
{
    XAssert( IsLockedByCurrentThread() );
}

void XMutex::AssertIsLockedOnce() const
{
    XAssert( IsLockedByCurrentThread() );
    XAssert( itsRecursionCount == 0 );
}

void XMutex::AssertIsNotLocked() const
{
    XAssert( !IsLockedByCurrentThread() );
}

void XMutex::DontLockBefore( const XMutex& inOther )
{
#if !defined( NDEBUG )
    XLockOrder::Declare( *this, inOther );
    for ( XMutex* mutex : { this, const_cast<XMutex*>( &inOther ) } )
    {
        const WParkingQueue queue( mutex ); // whose holders store the state without looking
        mutex->itsState.fetch_or( kOrdered, std::memory_order_relaxed );
    }
#else
    static_cast<void>( inOther );
#endif
}

bool XMutex::LockSlowly( std::uint32_t inThreadID, std::uint32_t inTimeoutMS, bool inAlertable )
{
    if ( GetOwner() == inThreadID )
    {
        ++itsRecursionCount;
        return true;
    }
    if ( itsState.load( std::memory_order_relaxed ) & kOrdered )
        XLockOrder::Check( *this );
    if ( inTimeoutMS == 0 )
        return TryClaim( inThreadID );
    const WDeadline deadline( inTimeoutMS );
    return SpinForLock( inThreadID, deadline ) || SleepForLock( inThreadID, deadline, inAlertable );
}

/// Claims the mutex if it is free.
bool XMutex::TryClaim( std::uint32_t inThreadID )
{
    std::uint32_t state = itsState.load( std::memory_order_relaxed );
    while ( ( state & kOwnerMask ) == 0 )
    {
        if ( itsState.compare_exchange_weak(
                 state, state | inThreadID, std::memory_order_acquire, std::memory_order_relaxed ) )
            return true;
    }
    return false;
}

/// Retries up to the spin count, with increasing pauses: the less the spinning threads read, the sooner the
/// owner proceeds. A pause counts as several tries, according to its length. There is at least one try.
bool XMutex::SpinForLock( std::uint32_t inThreadID, const WDeadline& inDeadline )
{
    std::uint32_t triesLeft = WProcessors::GetCount() > 1 ? itsSpinCount : 1;
    for ( std::uint32_t pause = 1; triesLeft > 0; pause = std::min( 2 * pause, kLongestPause ) )
    {
        if ( TryClaim( inThreadID ) )
            return true;
        if ( pause == kLongestPause && inDeadline.HasPassed() )
            return false;
        for ( std::uint32_t turn = 0; turn < pause; ++turn )
            WFutex::Pause();
        triesLeft -= std::min( triesLeft, kTriesPerPause * pause );
    }
    return false;
}

/// Sleeps until the mutex is had or the deadline has passed; false for the latter.
bool XMutex::SleepForLock( std::uint32_t inThreadID, const WDeadline& inDeadline, bool inAlertable )
{
    for ( bool isLate = false;; isLate = true )
    {
        if ( inAlertable )
            XRunCheckpoint();
        switch ( Park( inDeadline, inAlertable, isLate ) )
        {
        case kParkedAndOwner:
            return true;
        case kParkedTooLong:
            return TryClaim( inThreadID );
        case kParkedAndFree:
            if ( SpinForLock( inThreadID, inDeadline ) )
                return true;
        }
    }
}

/// Sleeps unless the mutex is free. kParkedAndFree means that another try is worthwhile.
XMutex::XParkResult XMutex::Park( const WDeadline& inDeadline, bool inAlertable, bool inWantsHandOff )
{
    XMutexSleeper sleeper( inWantsHandOff );
    if ( !Enqueue( sleeper ) )
        return kParkedAndFree;
    const WWaitResult result = sleeper.Wait( inDeadline, inAlertable );
    if ( result != kWaitSucceeded && Leave( sleeper ) )
        return result == kWaitTimedOut ? kParkedTooLong : kParkedAndFree;
    return sleeper.isOwner ? kParkedAndOwner : kParkedAndFree;
}

/// Queues the sleeper if the mutex is owned.
bool XMutex::Enqueue( XMutexSleeper& inSleeper )
{
    WParkingQueue queue( this );
    std::uint32_t state = itsState.load( std::memory_order_relaxed );
    do
    {
        if ( ( state & kOwnerMask ) == 0 )
            return false;
    } while ( !itsState.compare_exchange_weak( state, state | kSleepers, std::memory_order_relaxed ) );
    queue.Append( inSleeper );
    return true;
}

/// Removes the sleeper from the queue. Returns false if it was woken or handed the mutex meanwhile.
bool XMutex::Leave( XMutexSleeper& inSleeper )
{
    {
        WParkingQueue queue( this );
        if ( queue.Remove( inSleeper ) )
        {
            if ( queue.IsEmpty() )
                itsState.fetch_and( ~kSleepers, std::memory_order_relaxed );
            return true;
        }
    }
    inSleeper.WaitForRelease();
    return false;
}

void XMutex::UnlockSlowly()
{
    XAssert( IsLockedByCurrentThread() );
    XMutexSleeper* sleeper = nullptr;
    {
        WParkingQueue queue( this );
        sleeper = static_cast<XMutexSleeper*>( queue.TakeFirst() );
        std::uint32_t state = itsState.load( std::memory_order_relaxed ) & kOrdered;
        if ( !queue.IsEmpty() )
            state |= kSleepers;
        if ( sleeper && sleeper->wantsHandOff )
        {
            sleeper->isOwner = true;
            state |= sleeper->GetThreadID();
        }
        itsState.store( state, std::memory_order_release );
    }
    if ( sleeper )
        sleeper->Release();
}

/// Queues a thread that is to have the mutex next, to be woken when the calling thread unlocks. False when the calling
/// thread does not own the mutex.
bool XMutex::QueueForUnlock( XMutexSleeper& inSleeper )
{
    return IsLockedByCurrentThread() && Enqueue( inSleeper );
}
