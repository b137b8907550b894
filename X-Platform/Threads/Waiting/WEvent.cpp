#include "Threads/Waiting/WEvent.h"

#include "Threads/Waiting/Internal/WParkCounted.h"

// The state is one word: whether the event is set, and in the other bits the number of sleepers. Setting an
// event without sleepers is one compare-and-swap. With sleepers it is done under the parking queue, where a
// waiter checks the state once more before it is queued (WParkCounted), so none is missed. An event that a
// wait resets releases one sleeper per Set and stays set until that thread has taken it by TryWait; a thread
// that arrives earlier may take it instead, and the sleeper then waits again.

namespace
{

constexpr std::uint32_t kIsSet = 1;
constexpr std::uint32_t kOneSleeper = 2;

} // namespace

WEvent::WEvent( Reset inReset, bool inIsSet )
    : itsResetsByWait( inReset == kResetByWait ), itsState( inIsSet ? 1 : 0 )
{
}

void WEvent::Set()
{
    std::uint32_t state = itsState.load( std::memory_order_relaxed );
    while ( state < kOneSleeper )
    {
        if ( itsState.compare_exchange_weak(
                 state, kIsSet, std::memory_order_acq_rel, std::memory_order_relaxed ) )
            return;
    }
    SetAndRelease();
}

/// One step to every other thread: once the event is set it may be gone, and another that has its address must not have
/// its sleepers released.
void WEvent::SetAndRelease()
{
    const bool releasesAll = !itsResetsByWait;
    WParkingQueue queue( &itsState );
    itsState.fetch_or( kIsSet, std::memory_order_acq_rel );
    while ( WParkingNode* node = queue.TakeFirst() )
    {
        node->Release();
        if ( !releasesAll )
            return;
    }
}

void WEvent::Clear()
{
    itsState.fetch_and( ~kIsSet, std::memory_order_acq_rel );
}

bool WEvent::IsSet() const
{
    return ( itsState.load( std::memory_order_acquire ) & kIsSet ) != 0;
}

WWaitResult WEvent::Wait( std::uint32_t inTimeoutMS, bool inAlertable )
{
    if ( TryWait() )
        return kWaitSucceeded;
    if ( inTimeoutMS == 0 )
        return kWaitTimedOut;
    const WDeadline deadline( inTimeoutMS );
    for ( ;; )
    {
        const WWaitResult result = WParkCounted( itsState, kOneSleeper, kIsSet, deadline, inAlertable );
        // A thread released by a manual-reset event has seen it set, even if it has been cleared since.
        if ( TryWait() || ( result == kWaitSucceeded && !itsResetsByWait ) )
            return kWaitSucceeded;
        if ( result != kWaitSucceeded )
            return result;
    }
}

bool WEvent::TryWait()
{
    if ( !IsSet() )
        return false;
    return !itsResetsByWait || ( itsState.fetch_and( ~kIsSet, std::memory_order_acq_rel ) & kIsSet ) != 0;
}
