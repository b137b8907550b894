// Waiting for the jobs of a queue, and counting them.

#include "Jobs/XJobQueue.h"

#include "Ground/WDeadline.h"
#include "Ground/XErrorNumbers.h"
#include "Jobs/Internal/XJobList.h"
#include "Jobs/Internal/XJobPool.h"
#include "Jobs/XProgress.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// What each wait counts. "Listed" jobs wait, run or are suspended; "taken" ones were stopped or deleted while
// they waited and are being finished by some thread; "finished" ones have run and await their completion on
// the main thread. The waits for an empty queue count listed and taken jobs but not finished ones, because
// only the main thread could complete those, and it may be the one that waits: it completes them after its
// wait. A thread's own taken jobs are left out of its waits (its completions may wait for the queue), but not
// out of GetJobCount.
//
// Two conditions share the mutex: itsJobFinished is signalled whenever a job stops waiting or running,
// itsQueueEmpty only when no listed job is left. All waits are loops over their count, as either may be
// signalled without it having become 0. They are alertable and so checkpoints: a thread can always be stopped
// in them.

namespace
{

constexpr std::uint32_t kProgressDelayMS = 2000;
constexpr std::uint32_t kProgressSleepMS = 100; // between two looks for an abort

} // namespace

// ---- Waiting

void XJobQueue::WaitForRunningJobs( const XJobSelector& inSelector )
{
    const XThreadLock lock( itsMutex );
    while ( IsAnyRunning( inSelector ) )
        itsJobFinished.Wait( itsMutex, kNoTimeout, true );
}

void XJobQueue::WaitForTerminate()
{
    XAssert( !IsRunning() );
    WaitUntilTerminated();
}

void XJobQueue::WaitUntilTerminated()
{
    WaitForRunningJobs( XJobSelector::EveryJob() );
    DeleteAllJobs();
}

/// Returns whether the queue is empty.
bool XJobQueue::SleepUntilQueueEmpty( std::uint32_t inTimeoutMS )
{
    const WDeadline deadline( inTimeoutMS );
    const XThreadLock lock( itsMutex );
    while ( GetWeight() > 0 )
        // The queue may have become empty together with the time-out.
        if ( itsQueueEmpty.Sleep( itsMutex, deadline.GetMillisecondsLeft(), true ) )
            return GetWeight() == 0;
    return true;
}

void XJobQueue::WaitForQueueEmpty( std::uint32_t inTimeoutMS )
{
    if ( !SleepUntilQueueEmpty( inTimeoutMS ) )
        XThrow( kErrorTimedOut );
    // Jobs that are not completed on workers are completed by a message to the main thread; there is nobody
    // else to handle it while this thread waits.
    if ( !XThread::IsMainThread() )
        return;
    ProcessAllNextEventMessages();
    CompleteFinishedJobs();
}

void XJobQueue::WaitForQueueEmptyWithProgress()
{
    USize most = std::max<USize>( GetCurrentJobWeight(), 1 );
    XProgress progress( most, XProgress::kProgressWait, kProgressDelayMS );
    while ( !SleepUntilQueueEmpty( kProgressSleepMS ) )
    {
        const USize left = GetCurrentJobWeight();
        // Jobs attached meanwhile raise the total, so that the share shown stays within 0 to 1.
        most = std::max( most, left );
        progress.SetMaxProgress( most );
        progress.SetProgress( static_cast<double>( most - left ) );
        progress.YieldAndCheckAbort();
    }
    WaitForQueueEmpty();
}

void XJobQueue::WaitForQueueEmptyWithIndeterminateProgress()
{
    XProgress progress( 1, XProgress::kProgressWait, kProgressDelayMS );
    while ( !SleepUntilQueueEmpty( kProgressSleepMS ) )
    {
        progress.SetProgressIndeterminate();
        progress.YieldAndCheckAbort();
    }
    WaitForQueueEmpty();
}

void XJobQueue::WaitForFreeWorkerThread()
{
    const USize workerCount = XJobPool::GetSize();
    const XThreadLock lock( itsMutex );
    while ( GetQueuedCount() + itsRunningJobs.size() >= workerCount )
        itsJobFinished.Wait( itsMutex, kNoTimeout, true );
}

void XJobQueue::WaitForJobWeightUnderCommit( double inCommit )
{
    const double limit = static_cast<double>( XJobPool::GetSize() ) * inCommit;
    const XThreadLock lock( itsMutex );
    while ( static_cast<double>( GetWeight() ) >= limit )
        itsJobFinished.Wait( itsMutex, kNoTimeout, true );
}

// ---- Counts

USize XJobQueue::GetJobCount() const
{
    const XThreadLock lock( itsMutex );
    return GetListedCount() + GetTakenCount( true ) + itsFinishedJobs->GetCount() +
        itsCompletingJobs->GetCount() + itsCompletingCount;
}

USize XJobQueue::GetQueuedJobCount() const
{
    const XThreadLock lock( itsMutex );
    return GetQueuedCount();
}

USize XJobQueue::GetRunningJobCount() const
{
    const XThreadLock lock( itsMutex );
    return itsRunningJobs.size();
}

USize XJobQueue::GetSuspendedJobCount() const
{
    const XThreadLock lock( itsMutex );
    return GetSuspendedCount();
}

USize XJobQueue::GetCurrentJobWeight() const
{
    const XThreadLock lock( itsMutex );
    return GetWeight();
}

USize XJobQueue::GetFreeWorkerThreadsCount() const
{
    const USize workerCount = XJobPool::GetSize();
    const XThreadLock lock( itsMutex );
    return workerCount - std::min( workerCount, GetQueuedCount() + itsRunningJobs.size() );
}
