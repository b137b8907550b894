#include "WEvent.h"

#include "WParkingQueue.h"

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
    const bool wakesAll = !itsResetsByWait;
    // From here on the event may be gone; its address still names the queue.
    const std::uint32_t before = itsState.fetch_or( kIsSet, std::memory_order_acq_rel );
    if ( before < kOneSleeper )
        return;
    while ( WParkingNode* node = WParkingQueue( this ).TakeFirst() )
    {
        node->Release();
        if ( !wakesAll )
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

WWaitResult WEvent::Wait( std::uint32_t inTimeoutMs, bool inAlertable )
{
    if ( TryWait() )
        return kWaitSucceeded;
    if ( inTimeoutMs == 0 )
        return kWaitTimedOut;
    const WDeadline deadline( inTimeoutMs );
    for ( ;; )
    {
        const WWaitResult result = Park( deadline, inAlertable );
        // Who was released from a manual event has seen it set, even if it was cleared again since.
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

/// Sleeps until this thread is released, unless the event is set already. The caller has to try whatever the result.
WWaitResult WEvent::Park( const WDeadline& inDeadline, bool inAlertable )
{
    WParkingNode node;
    {
        WParkingQueue queue( this );
        // Counted before looking, so that whoever sets the event after this step knows of the sleeper.
        if ( itsState.fetch_add( kOneSleeper, std::memory_order_acq_rel ) & kIsSet )
        {
            itsState.fetch_sub( kOneSleeper, std::memory_order_relaxed );
            return kWaitSucceeded;
        }
        queue.Append( node );
    }
    const WWaitResult result = node.Wait( inDeadline, inAlertable );
    if ( result != kWaitSucceeded && !WParkingQueue( this ).Remove( node ) )
        node.WaitForRelease();
    itsState.fetch_sub( kOneSleeper, std::memory_order_relaxed );
    return result;
}
