#include "Threads/Waiting/WSemaphore.h"

#include "Threads/Waiting/Internal/WParkCounted.h"

// The state is one word: units in the lower half, sleepers in the upper one. Signal adds units by one atomic
// addition, whose result tells whether there was a sleeper to release; a waiter counts itself and looks for
// units in one step under the parking queue (WParkCounted). Released threads compete for the units with
// threads that arrive: a unit is never lost, and a thread that gets none sleeps again.

namespace
{

constexpr std::uint64_t kOneWaiter = std::uint64_t( 1 ) << 32;
constexpr std::uint64_t kUnitBits = kOneWaiter - 1;

std::uint32_t GetUnits( std::uint64_t inState )
{
    return static_cast<std::uint32_t>( inState );
}

} // namespace

void WSemaphore::Signal( std::uint32_t inCount )
{
    // From here on the semaphore may be gone; its address still names the queue.
    if ( itsState.fetch_add( inCount, std::memory_order_acq_rel ) < kOneWaiter )
        return;
    for ( std::uint32_t released = 0; released < inCount; ++released )
    {
        WParkingNode* node = WParkingQueue( &itsState ).TakeFirst();
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

WWaitResult WSemaphore::Wait( std::uint32_t inTimeoutMS, bool inAlertable )
{
    if ( TryWait() )
        return kWaitSucceeded;
    if ( inTimeoutMS == 0 )
        return kWaitTimedOut;
    const WDeadline deadline( inTimeoutMS );
    for ( ;; )
    {
        const WWaitResult result = WParkCounted( itsState, kOneWaiter, kUnitBits, deadline, inAlertable );
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
