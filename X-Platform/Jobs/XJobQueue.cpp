#include "Jobs/XJobQueue.h"

#include "Core/XString.h"
#include "Jobs/XHookCall.h"
#include "Jobs/XJob.h"
#include "Jobs/XJobPool.h"
#include "Jobs/XJobWaiter.h"
#include "Messaging/XDeferredNotice.h"
#include "Messaging/XMessage.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace
{

/// The process's queues, in the order of their construction. Outlasts static queues.
XVector<XJobQueue*>& GetJobQueues()
{
    static auto* const queues = new XVector<XJobQueue*>;
    return *queues;
}

XConditionVariable sQueueUnpinned; // of sJobQueueMutex
std::uint64_t sLastNumber = 0;     // of a queue; guarded by sJobQueueMutex

std::atomic<std::int32_t> sRunnableQueues = 0; // those that have jobs for the workers

/// A message may be on its way to the job, on the main thread: the job ends when that has returned.
void Delete( XJob* inJob )
{
    inJob->StopListening();
    delete inJob;
}

void CompleteAndDelete( XJob* inJob, std::uint32_t inResultCode )
{
    const XPreventThreadStop preventStop;
    XCallHook( [&] { inJob->JobComplete( inResultCode ); } );
    Delete( inJob );
}

} // namespace

XMutex XJobQueue::sJobQueueMutex;

/// Notifies the queue, on the main thread, that jobs have run.
class XJobQueue::XJobAsyncCompleteMessage : public XMessage
{
public:
    using XMessage::XMessage;
    XJobAsyncCompleteMessage* Clone() const override { return new XJobAsyncCompleteMessage( *this ); }
};

/// Keeps a queue from being destroyed for a scope. Made under sJobQueueMutex.
class XJobQueue::XPin
{
public:
    explicit XPin( XJobQueue& inQueue ) : itsQueue( inQueue ) { ++itsQueue.itsPinCount; }
    XPin( const XPin& ) = delete;
    XPin& operator=( const XPin& ) = delete;
    ~XPin()
    {
        const XThreadLock lock( sJobQueueMutex );
        --itsQueue.itsPinCount;
        sQueueUnpinned.Broadcast();
    }

private:
    XJobQueue& itsQueue;
};

// ---- Life

XJobQueue::XJobQueue()
    : itsCompletionNotice(
          std::make_unique<XDeferredNotice>( std::make_unique<XJobAsyncCompleteMessage>( this ), *this ) )
{
    AddJobQueue();
}

XJobQueue::~XJobQueue()
{
    const XPreventThreadStop preventStop;
    RemoveJobQueue();
    AsyncStop();
    WaitUntilTerminated();
    itsCompletionNotice->Withdraw();
    StopListening();
    StopSpeaking();
    CompleteFinishedJobs();
    DeleteAllJobs(); // what the completions have attached
}

void XJobQueue::AddJobQueue()
{
    const XThreadLock lock( sJobQueueMutex );
    GetJobQueues().push_back( this );
    itsNumber = ++sLastNumber;
}

void XJobQueue::RemoveJobQueue()
{
    const XThreadLock lock( sJobQueueMutex );
    std::erase( GetJobQueues(), this );
    while ( itsPinCount > 0 )
        sQueueUnpinned.Wait( sJobQueueMutex );
}

/// Visits the queues of the process, without those that come meanwhile. Only the one that is visited is kept from being
/// destroyed: the visit may wait for a job that owns another and ends when that is gone.
template<class Visit>
void XJobQueue::VisitJobQueues( const Visit& inVisit )
{
    std::uint64_t visited = 0;
    std::uint64_t last = 0;
    {
        const XThreadLock lock( sJobQueueMutex );
        last = sLastNumber;
    }
    const auto pinNext = [&]( std::optional<XPin>& outPin ) -> XJobQueue*
    {
        const XThreadLock lock( sJobQueueMutex );
        const auto getNumber = []( const XJobQueue* inQueue ) { return inQueue->itsNumber; };
        const auto next = std::ranges::upper_bound( GetJobQueues(), visited, {}, getNumber );
        if ( next == GetJobQueues().end() || ( *next )->itsNumber > last )
            return nullptr;
        visited = ( *next )->itsNumber;
        outPin.emplace( **next );
        return *next;
    };
    for ( std::optional<XPin> pin; XJobQueue* const queue = pinNext( pin ); pin.reset() )
        inVisit( *queue );
}

// ---- Running

void XJobQueue::Start()
{
    XJobPool::Start();
    SetRunning( true );
    XJobWaiter::Wake( GetQueuedJobCount() );
}

bool XJobQueue::IsRunning() const
{
    const XThreadLock lock( itsMutex );
    return itsIsRunning;
}

void XJobQueue::SetRunning( bool inIsRunning )
{
    const XThreadLock lock( itsMutex );
    itsIsRunning = inIsRunning;
    RunnabilityMayHaveChanged();
}

void XJobQueue::AsyncStop()
{
    SetRunning( false );
    StopTaggedJobs( XJobSelector::EveryJob() );
}

void XJobQueue::Stop()
{
    AsyncStop();
    WaitForTerminate();
}

void XJobQueue::StopAllJobQueues()
{
    VisitJobQueues( []( XJobQueue& inQueue ) { inQueue.SetRunning( false ); } );
    {
        const XPreventThreadStop preventStop; // the caller's own job comes last
        VisitJobQueues( []( XJobQueue& inQueue )
                        { inQueue.AsyncStopTaggedJobs( XJobSelector::EveryJob() ); } );
    }
    XThread::TestCancelCurrentThread();
    if ( dynamic_cast<const XJobThread*>( XThread::GetCurrentThread() ) )
        return; // the other jobs may be here too, and would wait for this one
    VisitJobQueues( []( XJobQueue& inQueue ) { inQueue.WaitUntilTerminated(); } );
}

void XJobQueue::EndWorkerThreads()
{
    const XPreventThreadStop preventStop;
    XJobPool::End();
}

// ---- The workers' side

XJob* XJobQueue::FetchJob( const XJobThread& inWorker, std::uint64_t& ioQueueIndex )
{
    if ( sRunnableQueues == 0 )
        return nullptr;
    const XThreadLock lock( sJobQueueMutex );
    const XVector<XJobQueue*>& queues = GetJobQueues();
    for ( USize tried = 0; tried < queues.size(); ++tried )
    {
        ioQueueIndex = ( ioQueueIndex + 1 ) % queues.size();
        if ( XJob* const job = queues[ioQueueIndex]->GetJobForRunning( inWorker ) )
            return job;
    }
    return nullptr;
}

XJob* XJobQueue::GetJobForRunning( const XJobThread& inWorker )
{
    const XThreadLock lock( itsMutex );
    return itsIsRunnable ? TakeJobForRunning( inWorker ) : nullptr;
}

/// Completes and deletes a job on its worker, if it allows that, while it still counts as running, so that
/// nobody who has waited for it meets what it leaves behind.
bool XJobQueue::CompleteInJobThread( XJob* inJob )
{
    bool isAllowed = false;
    XCallHook( [&] { isAllowed = inJob->CanCompleteInJobThread(); } );
    if ( isAllowed )
        CompleteAndDelete( inJob, inJob->GetResultCode() );
    return isAllowed;
}

/// Ends a worker's job, given where it has not been completed, and returns the next one where no other queue
/// has its turn before, or null. The message is posted while the waiting threads still wait, so that it is
/// there for them.
XJob* XJobQueue::JobComplete( const XJobThread& inWorker, XJob* inUncompletedJob, bool inMayRunNext )
{
    const XThreadLock lock( itsMutex );
    auto& runningJobs = itsRunningJobs;
    const auto isWorkers = [&]( const XRunningJob& inRunning ) { return inRunning.worker == &inWorker; };
    const auto i = std::find_if( runningJobs.begin(), runningJobs.end(), isWorkers );
    XAssert( i != runningJobs.end() );
    runningJobs.erase( i );
    if ( inUncompletedJob )
    {
        itsFinishedJobs.Append( *inUncompletedJob );
        if ( itsFinishedJobs.count == 1 )
            itsCompletionNotice->Post();
    }
    JobsHaveGone();
    return inMayRunNext && itsIsRunnable && sRunnableQueues == 1 ? TakeJobForRunning( inWorker ) : nullptr;
}

void XJobQueue::HandleMessage( const XMessage& inMessage )
{
    if ( dynamic_cast<const XJobAsyncCompleteMessage*>( &inMessage ) )
        CompleteFinishedJobs();
}

void XJobQueue::CompleteFinishedJobs()
{
    XJob* job = nullptr;
    {
        const XThreadLock lock( itsMutex );
        job = std::exchange( itsFinishedJobs, {} ).first;
    }
    while ( job )
    {
        XJob* const next = job->itsNextFinished;
        CompleteAndDelete( job, job->GetResultCode() );
        job = next;
    }
}

void XJobQueue::XFinishedJobs::Append( XJob& ioJob ) noexcept
{
    ( last ? last->itsNextFinished : first ) = &ioJob;
    last = &ioJob;
    ++count;
}

// ---- Under the mutex

void XJobQueue::QueueJob( XJob* inJob, bool inSuspended )
{
    ( inSuspended ? itsSuspendedJobs : itsQueuedJobs ).push_back( inJob );
    inJob->itsOwner = this;
    RunnabilityMayHaveChanged();
}

void XJobQueue::RunnabilityMayHaveChanged()
{
    const bool isRunnable = itsIsRunning && !itsQueuedJobs.empty();
    if ( isRunnable == itsIsRunnable )
        return;
    itsIsRunnable = isRunnable;
    sRunnableQueues += isRunnable ? 1 : -1;
}

XJob* XJobQueue::TakeJobForRunning( const XJobThread& inWorker )
{
    XJob* const job = itsQueuedJobs.front();
    itsRunningJobs.push_back( { &inWorker, job->GetTag(), job->GetGroup() } );
    itsQueuedJobs.pop_front();
    RunnabilityMayHaveChanged();
    return job;
}

/// Moves the selected jobs to the end of another list and returns how many those are; both lists keep their order.
/// Where memory lacks they are what they were.
template<class Jobs>
USize XJobQueue::MoveSelected( const XJobSelector& inSelector, XJobs& ioFrom, Jobs& ioTo )
{
    const auto isSelected = [&]( const XJob* inJob ) { return inSelector.Selects( *inJob ); };
    const auto count = std::count_if( ioFrom.begin(), ioFrom.end(), isSelected );
    ioTo.resize( ioTo.size() + static_cast<USize>( count ) );
    std::copy_if( ioFrom.begin(), ioFrom.end(), ioTo.end() - count, isSelected );
    std::erase_if( ioFrom, isSelected );
    return static_cast<USize>( count );
}

bool XJobQueue::IsAnyRunning( const XJobSelector& inSelector ) const
{
    const XThread* const self = XThread::GetCurrentThread();
    const auto isSelected = [&]( const XRunningJob& inRunning )
    { return inRunning.worker != self && inSelector.Selects( inRunning.tag, inRunning.group ); };
    return std::any_of( itsRunningJobs.begin(), itsRunningJobs.end(), isSelected );
}

void XJobQueue::JobsHaveGone()
{
    itsJobFinished.Broadcast();
    if ( GetWeight() == 0 )
        itsQueueEmpty.Broadcast();
}

// ---- Attaching

void XJobQueue::AttachJob( XJob* inJob, bool inSuspended )
{
    XAssert( inJob );
    bool isRunnable = false;
    {
        const XThreadLock lock( itsMutex );
        QueueJob( inJob, inSuspended );
        isRunnable = itsIsRunning && !inSuspended;
    }
    if ( isRunnable )
        XJobWaiter::Wake( 1 );
}

bool XJobQueue::AttachJobIfTagNotPresent( XJob* inJob )
{
    XAssert( inJob );
    std::unique_ptr<XJob> refused( inJob );
    const std::int64_t tag = inJob->GetTag();
    bool isRunnable = false;
    {
        const XThreadLock lock( itsMutex );
        const auto hasTag = [&]( const XJob* inQueued ) { return inQueued->GetTag() == tag; };
        const auto runsWithTag = [&]( const XRunningJob& inRunning ) { return inRunning.tag == tag; };
        if ( std::any_of( itsQueuedJobs.begin(), itsQueuedJobs.end(), hasTag ) ||
             std::any_of( itsRunningJobs.begin(), itsRunningJobs.end(), runsWithTag ) )
            return false;
        QueueJob( refused.release(), false );
        isRunnable = itsIsRunning;
    }
    if ( isRunnable )
        XJobWaiter::Wake( 1 );
    return true;
}

// ---- Stopping

bool XJobQueue::StopTaggedJobsIfNotRunning( const XJobSelector& inTags )
{
    XVector<XJob*> stopped;
    USize queuedCount = 0;
    {
        const XThreadLock lock( itsMutex );
        stopped.reserve( itsQueuedJobs.size() + itsSuspendedJobs.size() );
        queuedCount = MoveSelected( inTags, itsQueuedJobs, stopped );
        RunnabilityMayHaveChanged();
        MoveSelected( inTags, itsSuspendedJobs, stopped );
    }
    for ( USize index = 0; index < stopped.size(); ++index )
    {
        XJob* const job = stopped[index];
        if ( index >= queuedCount )
            XCallHook( [&] { job->Resumed(); } );
        XCallHook( [&] { job->Stopped(); } );
        CompleteAndDelete( job, XJob::kStopped );
    }
    const XThreadLock lock( itsMutex );
    JobsHaveGone();
    return !stopped.empty();
}

void XJobQueue::AsyncStopTaggedJobs( const XJobSelector& inTags )
{
    StopTaggedJobsIfNotRunning( inTags );
    AsyncStopRunningJobs( inTags );
}

void XJobQueue::StopTaggedJobs( const XJobSelector& inTags )
{
    AsyncStopTaggedJobs( inTags );
    WaitForRunningJobs( inTags );
}

/// The caller's own worker comes last: its stop leaves this call.
void XJobQueue::AsyncStopRunningJobs( const XJobSelector& inSelector )
{
    const auto workers = XJobPool::Get();
    if ( !workers )
        return;
    XJobThread* own = nullptr;
    for ( const auto& worker : *workers )
    {
        if ( worker.get() == XThread::GetCurrentThread() )
            own = worker.get();
        else
            worker->AsyncStopIfSelected( *this, inSelector );
    }
    if ( own )
        own->AsyncStopIfSelected( *this, inSelector );
}

// ---- Suspending

void XJobQueue::AsyncSuspendTaggedJobs( const XJobSelector& inTags )
{
    const XThreadLock lock( itsMutex );
    const USize movedCount = MoveSelected( inTags, itsQueuedJobs, itsSuspendedJobs );
    RunnabilityMayHaveChanged();
    for ( USize index = itsSuspendedJobs.size() - movedCount; index < itsSuspendedJobs.size(); ++index )
        XCallHook( [&] { itsSuspendedJobs[index]->Suspended(); } );
    JobsHaveGone();
}

void XJobQueue::SuspendTaggedJobs( const XJobSelector& inTags )
{
    AsyncSuspendTaggedJobs( inTags );
    WaitForRunningJobs( inTags );
}

void XJobQueue::AsyncSuspendAllJobs()
{
    AsyncSuspendTaggedJobs( XJobSelector::EveryJob() );
}

void XJobQueue::SuspendAllJobs()
{
    SuspendTaggedJobs( XJobSelector::EveryJob() );
}

void XJobQueue::ResumeTaggedJobs( const XJobSelector& inTags )
{
    USize runnableCount = 0;
    {
        const XThreadLock lock( itsMutex );
        const USize movedCount = MoveSelected( inTags, itsSuspendedJobs, itsQueuedJobs );
        RunnabilityMayHaveChanged();
        for ( XJob* const job : itsQueuedJobs )
            if ( inTags.Selects( *job ) )
                XCallHook( [&] { job->Resumed(); } );
        runnableCount = itsIsRunning ? movedCount : 0;
    }
    XJobWaiter::Wake( runnableCount );
}

void XJobQueue::ResumeAllJobs()
{
    ResumeTaggedJobs( XJobSelector::EveryJob() );
}

// ---- Deleting

bool XJobQueue::DeleteTaggedJobsIfNotRunning( const XJobSelector& inTags )
{
    XVector<XJob*> deleted;
    {
        const XThreadLock lock( itsMutex );
        deleted.reserve( itsQueuedJobs.size() + itsSuspendedJobs.size() );
        MoveSelected( inTags, itsQueuedJobs, deleted );
        RunnabilityMayHaveChanged();
        MoveSelected( inTags, itsSuspendedJobs, deleted );
    }
    for ( XJob* const job : deleted )
        Delete( job );
    const XThreadLock lock( itsMutex );
    JobsHaveGone();
    return !deleted.empty();
}

void XJobQueue::DeleteTaggedJobs( const XJobSelector& inTags )
{
    DeleteTaggedJobsIfNotRunning( inTags );
    AsyncStopRunningJobs( inTags );
    WaitForRunningJobs( inTags );
}

void XJobQueue::DeleteAllJobs()
{
    DeleteTaggedJobs( XJobSelector::EveryJob() );
}

void XJobQueue::DeleteJobGroup( std::int64_t inGroup )
{
    DeleteTaggedJobs( XJobSelector::ForGroup( inGroup ) );
}

// ---- Messages for jobs

/// While all workers are held no job can pass from the queue to one of them and be told twice, or not at all.
void XJobQueue::PostMessageTaggedJobs( const XJobSelector& inTags, const XMessage& inMessage )
{
    const auto workers = XJobPool::Get();
    std::deque<XThreadLock> locks;
    XVector<XJob*> running;
    if ( workers )
        for ( const auto& worker : *workers )
        {
            locks.emplace_back( worker->GetMutex() );
            XJob* const job = worker->GetCurrentJob();
            if ( job && job->GetOwner() == this )
                running.push_back( job );
        }
    const auto post = [&]( XJob* inJob )
    {
        if ( inTags.Selects( *inJob ) )
            PostXMessage( inMessage, *inJob, kWhenNextEvent );
    };
    const XThreadLock lock( itsMutex );
    std::for_each( itsQueuedJobs.begin(), itsQueuedJobs.end(), post );
    std::for_each( running.begin(), running.end(), post );
    std::for_each( itsSuspendedJobs.begin(), itsSuspendedJobs.end(), post );
}

void XJobQueue::PostMessageJobs( const XMessage& inMessage )
{
    PostMessageTaggedJobs( XJobSelector::EveryJob(), inMessage );
}

// ---- Status

XString XJobQueue::GetDebugStatus()
{
    XString status;
    const XThreadLock lock( sJobQueueMutex );
    for ( const XJobQueue* const queue : GetJobQueues() )
    {
        const XThreadLock queueLock( queue->itsMutex );
        status += "Jobs queued: ";
        status += queue->itsQueuedJobs.size();
        status += "\rJobs running: ";
        status += queue->itsRunningJobs.size();
        status += "\rJobs suspended: ";
        status += queue->itsSuspendedJobs.size();
        status += "\r";
    }
    return status;
}
