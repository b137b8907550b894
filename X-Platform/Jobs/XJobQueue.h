#pragma once

#include "Jobs/XJobSelector.h"
#include "Messaging/XListener.h"
#include "Messaging/XSpeaker.h"
#include "Threads/XConditionVariable.h"

#include <memory>

class XDeferredNotice;
class XJob;
class XJobList;
class XString;
class XWaitingJobs;

/// Runs jobs in the background, in the order in which they were attached. All queues of the process share one
/// pool of worker threads, one for each logical processor, and take turns.
///
/// Each job is completed once: on its worker if it allows that, otherwise when the main thread handles the
/// queue's messages; a job stopped while it waits is completed on the thread that stops it. Then an
/// XJobCompletedMessage is sent to the queue's listeners and the job is deleted. Deleting jobs, in contrast,
/// removes waiting jobs without completing them.
///
/// Operations on some of the jobs take a tag or a list of tags (XJobSelector). Called from within a job,
/// waits for running jobs do not wait for that job itself; a job must not wait for its own queue to be empty.
///
/// Lifetime: the destructor stops the queue, waits for its running jobs, and completes on its own thread all
/// jobs that have not been completed. A queue must not be destroyed by one of its own jobs.
/// Threads: every operation may be called from any thread, including from within jobs.
/// Errors: waits throw 2701 on a time-out. They are checkpoints of the calling thread and end if it is
/// stopped. Exceptions of jobs never reach the users of the queue.
class KORVALE_API XJobQueue : public XSpeaker, public XListener
{
public:
    class XJobThread;
    class XJobCompletedMessage;

    /// Creates a stopped queue: jobs may be attached, and wait.
    XJobQueue();
    XJobQueue( const XJobQueue& ) = delete;
    XJobQueue& operator=( const XJobQueue& ) = delete;
    ~XJobQueue() override;

    // ---- Running

    /// Starts running jobs. The first queue to start creates the workers; throws the system's last error if
    /// that fails.
    void Start();
    bool IsRunning() const;

    /// Stop the queue: it runs no further jobs, and all its jobs are stopped as by `AsyncStopTaggedJobs` and
    /// `StopTaggedJobs`. `Stop` then deletes jobs attached meanwhile. Jobs that another thread is stopping at
    /// the same time may still be completed there after the return (`WaitForQueueEmpty`).
    void AsyncStop();
    void Stop();

    /// Stops every queue of the process: none runs further jobs, all running jobs are asked to stop, then the
    /// call waits for one queue after the other. Jobs may own queues and destroy them meanwhile. Called from
    /// a job it does not wait: when all others have been asked, its own job is stopped by
    /// XStopThreadException. If that job has prevented its stop (XPreventThreadStop), the call returns, and
    /// the stop takes effect at the first checkpoint after the prevention.
    static void StopAllJobQueues();

    // ---- Jobs

    /// Takes ownership of the job and queues it, or suspends it if `inSuspended`. A null job is an internal
    /// error, "inJob". If memory runs out, the job remains the caller's.
    void AttachJob( XJob* inJob, bool inSuspended = false );

    /// Attaches the job, unless a job with its tag waits or runs already: then deletes it. Returns whether it
    /// was attached.
    bool AttachJobIfTagNotPresent( XJob* inJob );

    /// Stops the selected jobs: completes waiting and suspended ones with the result code `XJob::kStopped`,
    /// in order; running ones end with that code at their next checkpoints. `StopTaggedJobs` waits until none
    /// of these runs any more. If the caller's own job is among them, it is stopped last, by
    /// XStopThreadException.
    void AsyncStopTaggedJobs( const XJobSelector& inTags );
    void StopTaggedJobs( const XJobSelector& inTags );

    /// Stops only selected jobs that are not running. Returns whether any job was stopped.
    bool StopTaggedJobsIfNotRunning( const XJobSelector& inTags );

    /// Suspend the selected waiting jobs, in order, until they are resumed. Running jobs are not interrupted;
    /// the forms without Async wait until none of the selected ones runs any more.
    void AsyncSuspendTaggedJobs( const XJobSelector& inTags );
    void AsyncSuspendAllJobs();
    void SuspendTaggedJobs( const XJobSelector& inTags );
    void SuspendAllJobs();

    /// Append the selected suspended jobs, in order, to the waiting ones. Then `XJob::Resumed` is called for
    /// every selected waiting job, including those that were not suspended.
    void ResumeTaggedJobs( const XJobSelector& inTags );
    void ResumeAllJobs();

    /// Delete the selected waiting and suspended jobs without completing them or sending messages. Running
    /// ones are stopped and completed as stopped jobs; the call waits until none of these runs any more.
    void DeleteTaggedJobs( const XJobSelector& inTags );
    void DeleteAllJobs();
    void DeleteJobGroup( std::int64_t inGroup );

    /// Deletes only selected jobs that are not running. Returns whether any job was deleted.
    bool DeleteTaggedJobsIfNotRunning( const XJobSelector& inTags );

    /// Posts a message to the selected waiting, running and suspended jobs. It is delivered to each once, at
    /// the main thread's next event, unless the job has been deleted by then.
    void PostMessageTaggedJobs( const XJobSelector& inTags, const XMessage& inMessage );
    void PostMessageJobs( const XMessage& inMessage );

    // ---- Waiting

    /// Waits until no job waits, runs or is suspended, and none that was stopped meanwhile is being
    /// completed. On the main thread it then delivers the posted messages and completes the jobs that have
    /// run, even within handlers and while processing is suspended, so that these jobs are completed when it
    /// returns.
    void WaitForQueueEmpty( std::uint32_t inTimeoutMS = kNoTimeout );

    /// Wait like WaitForQueueEmpty with a progress of the calling thread, which is shown after two seconds
    /// and through which the user may abort the wait (1001). The first form shows the share of jobs that are
    /// done.
    void WaitForQueueEmptyWithProgress();
    void WaitForQueueEmptyWithIndeterminateProgress();

    /// For producers, to limit how far they run ahead of the workers. Wait until there are more workers than
    /// jobs that wait or run, or until fewer than `inCommit` jobs per worker wait, run or are suspended.
    void WaitForFreeWorkerThread();
    void WaitForJobWeightUnderCommit( double inCommit );

    /// Waits until no job runs, then deletes all others. An internal error, "!IsRunning()", if the queue is
    /// running.
    void WaitForTerminate();

    // ---- Counts

    /// All jobs that the queue owns, including those waiting for completion or being completed.
    USize GetJobCount() const;
    bool IsEmpty() const { return GetJobCount() == 0; }

    USize GetQueuedJobCount() const;
    USize GetRunningJobCount() const;
    USize GetSuspendedJobCount() const;

    /// The number of jobs that wait, run or are suspended, and of those that another thread has stopped or
    /// deleted, until it has completed and deleted them. IsQueueEmpty tells whether the number is 0.
    USize GetCurrentJobWeight() const;
    bool IsQueueEmpty() const { return GetCurrentJobWeight() == 0; }

    /// The number of workers minus that of jobs that wait or run, or 0 if there are fewer workers. Before the
    /// first start it uses the number of workers that will be created.
    USize GetFreeWorkerThreadsCount() const;

    /// For each queue the numbers of its jobs: "Jobs queued: ", "Jobs running: " and "Jobs suspended: ", each
    /// line ended by "\r".
    static XString GetDebugStatus();

    /// Completes the jobs that have run, on the queue's own message.
    void HandleMessage( const XMessage& inMessage ) override;

    /// Stops running jobs (result code 2702) and ends the workers. The next start of a queue creates new
    /// ones. For the end of the process, after the queues have been stopped.
    static void EndWorkerThreads();

    /// Guards the process's list of queues. Taken before the mutex of a queue.
    static XMutex sJobQueueMutex;

private:
    friend class XJob;

    class XJobAsyncCompleteMessage;
    class XPin;
    class XRunnableQueues;
    class XTakenJobs;

    /// A running job. The job itself belongs to its worker.
    struct XRunningJob
    {
        const XJobThread* worker;
        std::int64_t tag;
        std::int64_t group;
    };

    /// Consecutive completions with the same tag and result code that have not been sent because there was no
    /// listener.
    struct XUnspoken
    {
        std::int64_t tag;
        std::uint32_t resultCode;
        USize count;
    };

    void AddJobQueue();
    void RemoveJobQueue();
    template<class TVisit>
    static void VisitJobQueues( const TVisit& inVisit );

    // For workers.
    static XJob* FetchJob( const XJobThread& inWorker );
    XJob* GetJobForRunning( const XJobThread& inWorker );
    static bool CompleteInJobThread( XJob* inJob );
    XJob* JobComplete( const XJobThread& inWorker, XJob* inUncompletedJob, bool inMayRunNext );

    // Called under the mutex.
    void QueueJob( XJob* inJob, bool inSuspended );
    void RunnabilityMayHaveChanged();
    XJob* TakeJobForRunning( const XJobThread& inWorker );
    bool IsAnyRunning( const XJobSelector& inSelector ) const;
    USize GetQueuedCount() const;
    USize GetSuspendedCount() const;
    USize GetListedCount() const { return GetQueuedCount() + itsRunningJobs.size() + GetSuspendedCount(); }
    USize GetTakenCount( bool inIsOwnIncluded ) const;
    USize GetWeight() const { return GetListedCount() + GetTakenCount( false ); }
    void JobsHaveGone();

    // Called without the mutex.
    void SetRunning( bool inIsRunning );
    void AsyncStopRunningJobs( const XJobSelector& inSelector );
    void WaitForRunningJobs( const XJobSelector& inSelector );
    void WaitUntilTerminated();
    bool SleepUntilQueueEmpty( std::uint32_t inTimeoutMS );
    void CompleteFinishedJobs();
    XJob* TakeFinishedJob( bool inHasCompletedOne );
    void AnnounceCompletion( std::int64_t inTag, std::uint32_t inResultCode );
    XVector<XUnspoken> TakeUnspoken();
    void Speak( const XVector<XUnspoken>& inCompletions );
    void End();

    mutable XMutex itsMutex; // guards the members below
    const std::unique_ptr<XWaitingJobs> itsWaitingJobs;
    XVector<XRunningJob> itsRunningJobs;
    const std::unique_ptr<XJobList> itsFinishedJobs;   // have run and wait for completion
    const std::unique_ptr<XJobList> itsCompletingJobs; // of these, the ones whose turn has come
    USize itsCompletingCount = 0;                      // jobs that are being completed after running
    XTakenJobs* itsTakenJobs = nullptr;
    XVector<XUnspoken> itsUnspoken;
    XConditionVariable itsQueueEmpty;
    XConditionVariable itsJobFinished; // signalled whenever a job stops waiting or running
    bool itsIsRunning = false;
    bool itsIsRunnable = false; // runs and has waiting jobs
    bool itsIsEnding = false;
    std::uint64_t itsNumber = 0;   // increases with each queue of the process
    std::uint32_t itsPinCount = 0; // keeps the destructor waiting; guarded by sJobQueueMutex

    bool* itsIsDestroyed = nullptr; // the main thread's, for a handler that it calls

    // The neighbours in the list of runnable queues; guarded by the mutex of that list.
    XJobQueue* itsPreviousRunnable = nullptr;
    XJobQueue* itsNextRunnable = nullptr;

    const std::unique_ptr<XDeferredNotice>
        itsCompletionNotice; // posted with the first finished job or unsent completion
};
