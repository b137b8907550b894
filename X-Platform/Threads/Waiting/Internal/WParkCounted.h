#pragma once

#include "Threads/Waiting/Internal/WParkingQueue.h"

/// Lets the calling thread sleep on an object whose state is one word, `ioState`, that also counts the sleeping
/// threads, in steps of `inOneSleeper`; its address names the queue. Returns kWaitSucceeded at once when one of
/// `inReadyBits` is set, else when the thread has been released, its time is over or it was alerted. Whatever the
/// result, the caller has to try for what it wants: it may have been released as it was leaving.
template<class State>
WWaitResult WParkCounted(
    std::atomic<State>& ioState, State inOneSleeper, State inReadyBits, const WDeadline& inDeadline,
    bool inAlertable )
{
    WParkingNode node;
    {
        WParkingQueue queue( &ioState );
        // Counted before looking: who changes the state after this step knows of the sleeper, what was there before
        // it is seen.
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
