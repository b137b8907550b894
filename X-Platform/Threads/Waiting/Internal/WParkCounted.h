#pragma once

#include "Threads/Waiting/Internal/WParkingQueue.h"

/// Blocks the calling thread on an object whose state is one word, `ioState`, which also counts the sleeping
/// threads in steps of `inOneSleeper`; its address identifies the queue. Returns kWaitSucceeded at once if
/// one of `inReadyBits` is set, otherwise when the thread has been released, has timed out or was alerted. In
/// every case the caller must try again to take what it waits for: the thread may have been released while it
/// was leaving.
template<class TState>
WWaitResult WParkCounted(
    std::atomic<TState>& ioState, TState inOneSleeper, TState inReadyBits, const WDeadline& inDeadline,
    bool inAlertable )
{
    WParkingNode node;
    {
        WParkingQueue queue( &ioState );
        // Count first, then look: a thread that changes the state afterwards sees the sleeper, and an earlier
        // change is seen here.
        if ( ioState.fetch_add( inOneSleeper, std::memory_order_acq_rel ) & inReadyBits )
        {
            ioState.fetch_sub( inOneSleeper, std::memory_order_relaxed );
            return kWaitSucceeded;
        }
        queue.Append( node );
    }
    const WWaitResult result = node.Wait( inDeadline, inAlertable );
    if ( result != kWaitSucceeded && !WParkingQueue( &ioState ).Remove( node ) )
        node.WaitForRelease();
    ioState.fetch_sub( inOneSleeper, std::memory_order_relaxed );
    return result;
}
