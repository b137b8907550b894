#include "Jobs/XJobQueue.h"

#include "Core/Strings/XString.h"
#include "Jobs/Internal/XCallHook.h"
#include "Jobs/Internal/XJobPool.h"
#include "Jobs/Internal/XJobWaiter.h"
#include "Jobs/Internal/XWaitingJobs.h"
#include "Jobs/XJobCompletedMessage.h"
#include "Messaging/Internal/XDeferredNotice.h"
#include "Messaging/XMessage.h"
#include "System/WThreadID.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <optional>
#include <utility>

// The life of a job. Each step from one owner to the next is made under a mutex, so that a search for jobs
// finds every job in exactly one place, and so that no job is counted twice or not at all:
//
//   waiting (itsWaitingJobs) --> current job of a worker --> finished (itsFinishedJobs) --> completing --> deleted
//      |  ^                              |
//      v  | suspended                    +--> completed and deleted on the worker
//      +--> taken (XTakenJobs): stopped or deleted while it waited
//
// A job that waits belongs to the queue, a running one to its worker: the queue then records only its tag and
// its group (XRunningJob), since the job itself may be deleted on the worker while it still counts as
// running. That order, first delete and then count down, is the promise of the waits: when WaitForQueueEmpty
// returns, the effects of all completions on workers can be seen.
//
// Locks, in this order: a worker's mutex, sJobQueueMutex, a queue's itsMutex, the mutex of XRunnableQueues.
// FetchJob is called under the first and takes the other three. Hooks of jobs (Resumed, Stopped, JobComplete,
// destructors) are called without a mutex, because they may call the queue again; the exceptions are
// Suspended and the Resumed of ResumeTaggedJobs, which keep the order of the calls that of the changes, and
// the posting of messages.
//
// Fairness. XRunnableQueues is a ring: a worker takes a job of the first queue and moves that queue to the
// end, so that a queue with many jobs does not hold up the others. Only if there is a single runnable queue
// does JobComplete hand the next job to the worker directly, which saves two locks for each job.
//
// Destruction. A queue may be found by a worker (FetchJob) or by a visit of all queues while it is destroyed.
// FetchJob looks at queues under sJobQueueMutex only, so RemoveJobQueue excludes workers; visits pin a queue
// (XPin) and the destructor waits for the pins. The list of queues is never destroyed, since queues may be
// static objects.

namespace
{

/// The process's queues, in the order of their construction and so of their numbers (see `VisitJobQueues`).
/// Outlasts static queues.
XVector<XJobQueue*>& GetJobQueues()
{
    static auto* const queues = new XVector<XJobQueue*>;
    return *queues;
}

XConditionVariable sQueueUnpinned; // of sJobQueueMutex
std::uint64_t sLastNumber = 0;     // of a queue; guarded by sJobQueueMutex

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

/// The queues that have jobs for the workers, in the order of their turns. Its mutex is the last to be taken.
class XJobQueue::XRunnableQueues
{
public:
    /// Sequentially consistent, with the count of waiting workers: a worker registers and then reads this
    /// number, a producer changes this number and then reads that of the workers. One of the two sees the
    /// other.
    static USize GetCount() { return sCount.load(); }

    static void Add( XJobQueue& ioQueue )
    {
        const XThreadLock lock( sMutex );
        Append( ioQueue );
        ++sCount;
    }
    static void Remove( XJobQueue& ioQueue )
    {
        const XThreadLock lock( sMutex );
        Unlink( ioQueue );
        --sCount;
    }

    /// Returns the queue whose turn it is and moves it to the end; null if there is none.
    static XJobQueue* TakeTurn()
    {
        const XThreadLock lock( sMutex );
        XJobQueue* const queue = sFirst;
        // The mutex of one queue cannot be waited for here; the queue stays in the ring if its last job is
        // taken meanwhile, and its own RunnabilityMayHaveChanged removes it.
        if ( queue && queue != sLast )
        {
            Unlink( *queue );
            Append( *queue );
        }
        return queue;
    }

private:
    static void Append( XJobQueue& ioQueue )
    {
        ioQueue.itsPreviousRunnable = sLast;
        ioQueue.itsNextRunnable = nullptr;
        ( sLast ? sLast->itsNextRunnable : sFirst ) = &ioQueue;
        sLast = &ioQueue;
    }
    static void Unlink( XJobQueue& ioQueue )
    {
        XJobQueue* const previous = ioQueue.itsPreviousRunnable;
        XJobQueue* const next = ioQueue.itsNextRunnable;
        ( previous ? previous->itsNextRunnable : sFirst ) = next;
        ( next ? next->itsPreviousRunnable : sLast ) = previous;
    }

    static XMutex sMutex; // guards the others
    static inline XJobQueue* sFirst = nullptr;
    static inline XJobQueue* sLast = nullptr;
    static inline std::atomic<USize> sCount = 0;
};

XMutex XJobQueue::XRunnableQueues::sMutex;

/// Jobs that were stopped or deleted while they waited, in the hands of the thread that has to be done with them. The
/// queue counts them until then.
class XJobQueue::XTakenJobs
{
public:
    /// Those that wait come first.
    XTakenJobs( XJobQueue& ioQueue, const XJobSelector& inSelector ) : itsQueue( ioQueue )
    {
        const XThreadLock lock( itsQueue.itsMutex );
        itsQueue.itsWaitingJobs->TakeSelected( inSelector, XWaitingJobs::kQueued, itsJobs );
        // The jobs after these were suspended and get Resumed() before Stopped().
        itsQueuedCount = itsJobs.GetCount();
        itsQueue.itsWaitingJobs->TakeSelected( inSelector, XWaitingJobs::kSuspended, itsJobs );
        itsQueue.RunnabilityMayHaveChanged();
        itsCount = itsUndoneCount = itsJobs.GetCount();
        itsNext = std::exchange( itsQueue.itsTakenJobs, this );
    }
    XTakenJobs( const XTakenJobs& ) = delete;
    XTakenJobs& operator=( const XTakenJobs& ) = delete;
    ~XTakenJobs()
    {
        const XThreadLock lock( itsQueue.itsMutex );
        XTakenJobs** link = &itsQueue.itsTakenJobs;
        while ( *link != this )
            link = &( *link )->itsNext;
        *link = itsNext;
        // Only now may a waiting thread find the queue empty: all jobs have been finished and deleted.
        itsQueue.JobsHaveGone();
    }

    USize GetCount() const { return itsCount; }

    /// Calls `inFinish( job, wasSuspended )`, which deletes the job, for each.
    template<class TFinish>
    void FinishAll( const TFinish& inFinish )
    {
        for ( USize index = 0; XJob* const job = itsJobs.TakeFirst(); ++index )
        {
            inFinish( job, index >= itsQueuedCount );
            --itsUndoneCount;
        }
    }

    // Under the queue's mutex.
    const XTakenJobs* GetNext() const { return itsNext; }
    USize GetUndoneCount() const { return itsUndoneCount; }
    bool IsOwn() const { return itsThreadID == WThreadID::GetCurrent(); }

private:
    XJobQueue& itsQueue;
    XJobList itsJobs;
    USize itsQueuedCount = 0;
    USize itsCount = 0;
    std::atomic<USize> itsUndoneCount = 0;
    const std::uint32_t itsThreadID = WThreadID::GetCurrent();
    XTakenJobs* itsNext = nullptr;
};

// ---- Life

XJobQueue::XJobQueue()
    : itsWaitingJobs( std::make_unique<XWaitingJobs>() ), itsFinishedJobs( std::make_unique<XJobList>() ),
      itsCompletingJobs( std::make_unique<XJobList>() ),
      itsCompletionNotice(
          std::make_unique<XDeferredNotice>( std::make_unique<XJobAsyncCompleteMessage>( this ), *this ) )
{
    AddJobQueue();
}

XJobQueue::~XJobQueue()
{
    const XPreventThreadStop preventStop;
    End();
    // The order matters. After End() no worker takes a job, after RemoveJobQueue() no thread finds the queue;
    // then the running jobs are stopped and waited for, and only then are the finished ones completed, on
    // this thread.
    RemoveJobQueue(); // after the workers that had found jobs here
    AsyncStop();
    WaitUntilTerminated();
    itsCompletionNotice->Withdraw();
    StopListening();
    if ( itsIsDestroyed ) // by a handler that it is calling
        *itsIsDestroyed = true;
    StopSpeaking();
    CompleteFinishedJobs();
    DeleteAllJobs(); // what the completions have attached
}

/// From now on no completion is announced and no worker comes for jobs, even if one that is completed starts the queue.
void XJobQueue::End()
{
    const XThreadLock lock( itsMutex );
    itsIsEnding = true;
    RunnabilityMayHaveChanged();
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
/// The numbers of queues only grow, so a visit continues after the last number it has seen, however the list
/// has changed, and ends with the queues that existed when it began.
template<class TVisit>
void XJobQueue::VisitJobQueues( const TVisit& inVisit )
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

/// A queue whose turn it is may have lost its last job to another worker by then: the next one follows.
XJob* XJobQueue::FetchJob( const XJobThread& inWorker )
{
    if ( XRunnableQueues::GetCount() == 0 )
        return nullptr;
    // Under the list's mutex no queue can be destroyed between the turn and the lock of its own mutex.
    const XThreadLock lock( sJobQueueMutex );
    while ( XJobQueue* const queue = XRunnableQueues::TakeTurn() )
        if ( XJob* const job = queue->GetJobForRunning( inWorker ) )
            return job;
    return nullptr;
}

XJob* XJobQueue::GetJobForRunning( const XJobThread& inWorker )
{
    const XThreadLock lock( itsMutex );
    return itsIsRunnable ? TakeJobForRunning( inWorker ) : nullptr;
}

/// Completes and deletes a job on its worker, if it permits this, while it still counts as running, so that
/// its effects are complete for threads that have waited for it.
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
    // At most one entry for each worker: a linear search over the workers that run jobs of this queue.
    const auto i = std::find_if( runningJobs.begin(), runningJobs.end(), isWorkers );
    XAssert( i != runningJobs.end() );
    runningJobs.erase( i );
    if ( inUncompletedJob )
    {
        itsFinishedJobs->Append( *inUncompletedJob );
        // One notice for all jobs that finish until the main thread handles it.
        if ( itsFinishedJobs->GetCount() == 1 )
            itsCompletionNotice->Post();
    }
    JobsHaveGone();
    return inMayRunNext && itsIsRunnable && XRunnableQueues::GetCount() == 1 ? TakeJobForRunning( inWorker )
                                                                             : nullptr;
}

void XJobQueue::HandleMessage( const XMessage& inMessage )
{
    if ( !dynamic_cast<const XJobAsyncCompleteMessage*>( &inMessage ) )
        return;
    const XVector<XUnspoken> unspoken = TakeUnspoken();
    CompleteFinishedJobs();
    Speak( unspoken );
}

/// Completes the jobs that have run so far. A completion that waits for the queue calls this again and
/// continues with the others.
void XJobQueue::CompleteFinishedJobs()
{
    {
        const XThreadLock lock( itsMutex );
        // Two lists: jobs that finish from now on have their own notice, and a completion that waits for the
        // queue (and so calls this function again) continues with the jobs of this pass before it.
        while ( XJob* const job = itsFinishedJobs->TakeFirst() )
            itsCompletingJobs->Append( *job );
    }
    bool hasCompletedOne = false;
    while ( XJob* const job = TakeFinishedJob( hasCompletedOne ) )
    {
        CompleteAndDelete( job, job->GetResultCode() );
        hasCompletedOne = true;
    }
}

/// The next job to be completed; null if there is none.
XJob* XJobQueue::TakeFinishedJob( bool inHasCompletedOne )
{
    const XThreadLock lock( itsMutex );
    XJob* const job = itsCompletingJobs->TakeFirst();
    itsCompletingCount += job ? 1 : 0;
    itsCompletingCount -= inHasCompletedOne ? 1 : 0;
    return job;
}

/// A completion without listeners is kept for those that listen when the main thread handles it.
void XJobQueue::AnnounceCompletion( std::int64_t inTag, std::uint32_t inResultCode )
{
    if ( HasListeners() )
        return SpeakMessage( XJobCompletedMessage( this, inTag, inResultCode ), kWhenNextEvent );
    const XThreadLock lock( itsMutex );
    if ( itsIsEnding )
        return;
    const bool isLikeLast = !itsUnspoken.empty() && itsUnspoken.back().tag == inTag &&
        itsUnspoken.back().resultCode == inResultCode;
    if ( isLikeLast )
    {
        ++itsUnspoken.back().count;
        return;
    }
    itsUnspoken.push_back( { inTag, inResultCode, 1 } );
    if ( itsUnspoken.size() == 1 )
        itsCompletionNotice->Post();
}

XVector<XJobQueue::XUnspoken> XJobQueue::TakeUnspoken()
{
    const XThreadLock lock( itsMutex );
    return std::exchange( itsUnspoken, {} );
}

/// A listener may destroy the queue.
void XJobQueue::Speak( const XVector<XUnspoken>& inCompletions )
{
    bool isDestroyed = false;
    itsIsDestroyed = &isDestroyed;
    for ( const XUnspoken& completion : inCompletions )
        for ( USize i = 0; i < completion.count; ++i )
        {
            const XJobCompletedMessage message( this, completion.tag, completion.resultCode );
            XCallHook( [&] { SpeakMessage( message, kWhenImmediate ); } );
            if ( isDestroyed )
                return;
            // Nobody is left who could receive the repetitions.
            if ( !HasListeners() )
                break;
        }
    itsIsDestroyed = nullptr;
}

// ---- Under the mutex

void XJobQueue::QueueJob( XJob* inJob, bool inSuspended )
{
    itsWaitingJobs->Add( *inJob, inSuspended ? XWaitingJobs::kSuspended : XWaitingJobs::kQueued );
    inJob->itsOwner = this;
    RunnabilityMayHaveChanged();
}

void XJobQueue::RunnabilityMayHaveChanged()
{
    const bool isRunnable = itsIsRunning && !itsIsEnding && GetQueuedCount() > 0;
    if ( isRunnable == itsIsRunnable )
        return;
    itsIsRunnable = isRunnable;
    if ( isRunnable )
        XRunnableQueues::Add( *this );
    else
        XRunnableQueues::Remove( *this );
}

/// There is one.
XJob* XJobQueue::TakeJobForRunning( const XJobThread& inWorker )
{
    // The entry is made first: without memory for it the job still waits.
    XRunningJob& running = itsRunningJobs.emplace_back( XRunningJob{ &inWorker, 0, 0 } );
    XJob* const job = itsWaitingJobs->TakeFirstQueued();
    running.tag = job->GetTag();
    running.group = job->GetGroup();
    RunnabilityMayHaveChanged();
    return job;
}

bool XJobQueue::IsAnyRunning( const XJobSelector& inSelector ) const
{
    const XThread* const self = XThread::GetCurrentThread();
    const auto isSelected = [&]( const XRunningJob& inRunning )
    { return inRunning.worker != self && inSelector.Selects( inRunning.tag, inRunning.group ); };
    return std::any_of( itsRunningJobs.begin(), itsRunningJobs.end(), isSelected );
}

USize XJobQueue::GetQueuedCount() const
{
    return itsWaitingJobs->GetCount( XWaitingJobs::kQueued );
}

USize XJobQueue::GetSuspendedCount() const
{
    return itsWaitingJobs->GetCount( XWaitingJobs::kSuspended );
}

/// Those that this thread completes are left out where it would wait for itself.
USize XJobQueue::GetTakenCount( bool inIsOwnIncluded ) const
{
    USize count = 0;
    for ( const XTakenJobs* taken = itsTakenJobs; taken; taken = taken->GetNext() )
        if ( inIsOwnIncluded || !taken->IsOwn() )
            count += taken->GetUndoneCount();
    return count;
}

/// A thread that waits may leave out jobs that this one counts, so those are not asked for here.
void XJobQueue::JobsHaveGone()
{
    itsJobFinished.Broadcast();
    if ( GetListedCount() == 0 )
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
        const auto runsWithTag = [&]( const XRunningJob& inRunning ) { return inRunning.tag == tag; };
        // Suspended jobs do not count: only one that runs or will run by itself replaces the new one.
        if ( itsWaitingJobs->IsTagQueued( tag ) ||
             std::any_of( itsRunningJobs.begin(), itsRunningJobs.end(), runsWithTag ) )
            return false;
        QueueJob( inJob, false );
        refused.release();
        isRunnable = itsIsRunning;
    }
    if ( isRunnable )
        XJobWaiter::Wake( 1 );
    return true;
}

// ---- Stopping

bool XJobQueue::StopTaggedJobsIfNotRunning( const XJobSelector& inTags )
{
    XTakenJobs stopped( *this, inTags );
    const auto stop = []( XJob* inJob, bool inWasSuspended )
    {
        if ( inWasSuspended )
            XCallHook( [&] { inJob->Resumed(); } );
        XCallHook( [&] { inJob->Stopped(); } );
        CompleteAndDelete( inJob, XJob::kStopped );
    };
    stopped.FinishAll( stop );
    return stopped.GetCount() > 0;
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
    // The hook is called before the move, while the job is still found among the queued ones by hooks that
    // search.
    itsWaitingJobs->VisitSelected(
        inTags, XWaitingJobs::kQueued, []( XJob& ioJob ) { XCallHook( [&] { ioJob.Suspended(); } ); } );
    itsWaitingJobs->MoveSelected( inTags, XWaitingJobs::kQueued, XWaitingJobs::kSuspended );
    RunnabilityMayHaveChanged();
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
        // Only jobs that have really moved need a worker.
        const USize suspendedCount = GetSuspendedCount();
        itsWaitingJobs->MoveSelected( inTags, XWaitingJobs::kSuspended, XWaitingJobs::kQueued );
        RunnabilityMayHaveChanged();
        itsWaitingJobs->VisitSelected(
            inTags, XWaitingJobs::kQueued, []( XJob& ioJob ) { XCallHook( [&] { ioJob.Resumed(); } ); } );
        runnableCount = itsIsRunning ? suspendedCount - GetSuspendedCount() : 0;
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
    XTakenJobs deleted( *this, inTags );
    deleted.FinishAll( []( XJob* inJob, bool ) { Delete( inJob ); } );
    return deleted.GetCount() > 0;
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

/// While all workers are locked, no job can move from the queue to a worker and be notified twice or not at
/// all.
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
    const auto post = [&]( XJob& ioJob ) { PostXMessage( inMessage, ioJob, kWhenNextEvent ); };
    const XThreadLock lock( itsMutex );
    itsWaitingJobs->VisitSelected( inTags, XWaitingJobs::kQueued, post );
    for ( XJob* const job : running )
        if ( inTags.Selects( *job ) )
            post( *job );
    itsWaitingJobs->VisitSelected( inTags, XWaitingJobs::kSuspended, post );
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
        status += queue->GetQueuedCount();
        status += "\rJobs running: ";
        status += queue->itsRunningJobs.size();
        status += "\rJobs suspended: ";
        status += queue->GetSuspendedCount();
        status += "\r";
    }
    return status;
}
