#include "WSemaphore.h"

#include "WParkingQueue.h"

namespace
{

constexpr std::uint64_t kOneSleeper = std::uint64_t( 1 ) << 32;

std::uint32_t GetUnits( std::uint64_t inState )
{
    return static_cast<std::uint32_t>( inState );
}

} // namespace

void WSemaphore::Signal( std::uint32_t inCount )
{
    // From here on the semaphore may be gone; its address still names the queue.
    if ( itsState.fetch_add( inCount, std::memory_order_acq_rel ) < kOneSleeper )
        return;
    for ( std::uint32_t released = 0; released < inCount; ++released )
    {
        WParkingNode* node = WParkingQueue( this ).TakeFirst();
        if ( !node )
            return;
        node->Release();
    }
}

bool WSemaphore::TryWait()
{
    std::uint64_t state = itsState.load( std::memory_order_relaxed );
    while ( GetUnits( state ) != 0 )
    {
        if ( itsState.compare_exchange_weak(
                 state, state - 1, std::memory_order_acquire, std::memory_order_relaxed ) )
            return true;
    }
    return false;
}

WWaitResult WSemaphore::Wait( std::uint32_t inTimeoutMs, bool inAlertable )
{
    if ( TryWait() )
        return kWaitSucceeded;
    if ( inTimeoutMs == 0 )
        return kWaitTimedOut;
    const WDeadline deadline( inTimeoutMs );
    for ( ;; )
    {
        const WWaitResult result = Park( deadline, inAlertable );
        if ( TryWait() )
            return kWaitSucceeded;
        if ( result != kWaitSucceeded )
            return result;
    }
}

std::uint32_t WSemaphore::GetCount() const
{
    return GetUnits( itsState.load( std::memory_order_relaxed ) );
}

/// Sleeps until a signal released this thread, unless there is a unit to try for already. Whatever the result, the
/// caller has to try for a unit: a signal may have chosen this thread as it was leaving.
WWaitResult WSemaphore::Park( const WDeadline& inDeadline, bool inAlertable )
{
    WParkingNode node;
    {
        WParkingQueue queue( this );
        // Counted before looking: a signal after this step knows of the sleeper, one before it left its unit to see.
        if ( GetUnits( itsState.fetch_add( kOneSleeper, std::memory_order_acq_rel ) ) != 0 )
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
