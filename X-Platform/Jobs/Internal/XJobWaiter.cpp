#include "Jobs/Internal/XJobWaiter.h"

#include "System/WFutex.h"
#include "System/WProcessors.h"
#include "Threads/Waiting/WSemaphore.h"
#include "Threads/XThread.h"

// The protocol between idle workers and producers. sWaiters counts the workers that are idle and not yet
// woken. A producer first makes its job visible, then claims a waiter by counting sWaiters down, and signals
// the semaphore once for each claim. A worker first counts itself, then looks for a job once more, and then
// waits. Both sides write one atomic and read the other, all sequentially consistent, so either the producer
// sees the waiter or the waiter sees the job.
//
// Each claim has exactly one signal, and each signal is consumed by exactly one waiter, whichever it is.
// Hence the value of the semaphore never exceeds the number of waiters, and no wake is left over to make a
// later worker search in vain.

namespace
{

/// The work semaphore. Neither is ever destroyed, as workers may outlive the process's statics.
WSemaphore sWakes;
std::atomic<USize> sWaiters = 0; // those that have not been woken

/// Waking a worker on another processor takes tens of microseconds, so a worker spins before it sleeps. It
/// yields in between, so as not to keep the producer from its processor.
constexpr int kTurns = 24;
constexpr int kLooksPerTurn = 40;

/// Removes one waiter from the count; returns false if there is none.
bool Claim()
{
    USize waiters = sWaiters;
    while ( waiters > 0 )
        if ( sWaiters.compare_exchange_weak( waiters, waiters - 1 ) )
            return true;
    return false;
}

bool SpinForWake()
{
    static const int sTurns = WProcessors::GetCount() > 1 ? kTurns : 1;
    for ( int turn = 0; turn < sTurns; ++turn )
    {
        for ( int look = 0; look < kLooksPerTurn; ++look )
        {
            if ( sWakes.TryWait() )
                return true;
            WFutex::Pause();
        }
        XThread::YieldCurrentThread();
    }
    return false;
}

} // namespace

XJobWaiter::XJobWaiter()
{
    ++sWaiters;
}

/// A waiter that found a job itself or is stopped may have been claimed by now: then its wake is on the way,
/// and another waiter must look for that job.
XJobWaiter::~XJobWaiter()
{
    // Claim() removes this waiter's own count, or another one's, which is the same: the counts are not tied
    // to threads.
    if ( itsIsWoken || Claim() )
        return;
    sWakes.Wait();
    Wake( 1 );
}

void XJobWaiter::Wait()
{
    itsIsWoken = SpinForWake();
    while ( !itsIsWoken )
    {
        XThread::TestCancelCurrentThread();
        itsIsWoken = sWakes.Wait( kNoTimeout, true ) == kWaitSucceeded;
    }
}

void XJobWaiter::Wake( USize inCount )
{
    for ( ; inCount > 0 && Claim(); --inCount )
        sWakes.Signal();
}
