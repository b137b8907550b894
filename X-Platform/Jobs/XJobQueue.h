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
/// pool of worker threads, one for each logical processor, and get their turns one after another.
///
/// A job is completed once: on its worker if it allows that, else when the main thread handles the queue's
/// messages; a job that is stopped while it waits, on the thread that stops it. Then it is announced to the
/// queue's listeners with an XJobCompletedMessage and deleted. Deleting jobs, in contrast, takes those that
/// wait away without completing them.
///
/// Operations on some of the jobs take a tag or a list of tags (XJobSelector). Waits for running jobs do not
/// wait for the job that the caller itself is the body of; a job must not wait for its own queue to be empty.
///
/// Lifetime: the destructor stops the queue, waits for its running jobs and completes, on its own thread,
/// what has not been completed. A queue must not be destroyed by one of its own jobs.
/// Threads: every operation may be called from any thread, from within jobs too.
/// Errors: waits throw 2701 when their time is over. They are checkpoints of the calling thread: its stop
/// leaves them. What a job throws never reaches the queue's users.
class KORVALE_API XJobQueue : public XSpeaker, public XListener
{
public:
    class XJobThread;
    class XJobCompletedMessage;

    /// The queue is stopped at first: jobs may be attached, and wait.
    XJobQueue();
    XJobQueue( const XJobQueue& ) = delete;
    XJobQueue& operator=( const XJobQueue& ) = delete;
    ~XJobQueue() override;

    // ---- Running

    /// Lets the jobs run. The first queue that starts creates the workers; throws the system's last error
    /// when they cannot be.
    void Start();
    bool IsRunning() const;

    /// Lets no more jobs run and stops all (`StopTaggedJobs`). `Stop` then deletes what was attached
    /// meanwhile. Jobs that another thread is stopping at the same time may still be completed there when this returns
    /// (`WaitForQueueEmpty`).
    void AsyncStop();
    void Stop();

    /// Stops every queue that the process has when this is called: lets no more jobs of any of them run, asks
    /// the running ones of all to stop, then waits for queue after queue. Jobs may own queues and destroy
    /// them meanwhile. Called from a job it does not wait: when all others have been asked, its own job is
    /// stopped by XStopThreadException. A job that has prevented its stop (XPreventThreadStop) gets the call back then
    /// and meets the stop at its first checkpoint after that.
    static void StopAllJobQueues();

    // ---- Jobs

    /// Takes the job over and lets it wait for its turn, or, with `inSuspended`, until it is resumed. A null
    /// job is an internal error, "inJob". Where that fails for lack of memory the job stays the caller's.
    void AttachJob( XJob* inJob, bool inSuspended = false );

    /// The same, but deletes the new job at once if a job with its tag waits or runs already. Returns whether
    /// it was attached.
    bool AttachJobIfTagNotPresent( XJob* inJob );

    /// Complete the selected jobs that wait or are suspended with the result code `XJob::kStopped`, in order,
    /// and have the running ones end with it at their next checkpoints. `StopTaggedJobs` returns when none of
    /// these runs any more. When the caller's own job is among them, it is stopped at once, after all others,
    /// by XStopThreadException.
    void AsyncStopTaggedJobs( const XJobSelector& inTags );
    void StopTaggedJobs( const XJobSelector& inTags );

    /// Leaves running jobs alone. Returns whether any job was stopped.
    bool StopTaggedJobsIfNotRunning( const XJobSelector& inTags );

    /// Put the selected jobs that wait aside, in order, until they are resumed. Running ones are not
    /// interrupted; the forms without Async return when none of those runs any more.
    void AsyncSuspendTaggedJobs( const XJobSelector& inTags );
    void AsyncSuspendAllJobs();
    void SuspendTaggedJobs( const XJobSelector& inTags );
    void SuspendAllJobs();

    /// Append the selected suspended jobs, in order, to those that wait. Every selected job that waits then
    /// hears `XJob::Resumed`, one that waited all along too.
    void ResumeTaggedJobs( const XJobSelector& inTags );
    void ResumeAllJobs();

    /// Delete the selected jobs that wait or are suspended: nothing completes or announces them. Running ones
    /// are stopped and complete as stopped jobs do; the call returns when none of these runs any more.
    void DeleteTaggedJobs( const XJobSelector& inTags );
    void DeleteAllJobs();
    void DeleteJobGroup( std::int64_t inGroup );

    /// Leaves running jobs alone. Returns whether any job was deleted.
    bool DeleteTaggedJobsIfNotRunning( const XJobSelector& inTags );

    /// Posts a message to the selected jobs that wait, run or are suspended. Each hears it once, at the main
    /// thread's next event, unless it has been deleted by then.
    void PostMessageTaggedJobs( const XJobSelector& inTags, const XMessage& inMessage );
    void PostMessageJobs( const XMessage& inMessage );

    // ---- Waiting

    /// Waits until no job waits, runs or is suspended, and none that was stopped meanwhile is being completed. On the
    /// main thread it then delivers the messages that have been posted and completes the jobs that have run, within
    /// handlers and while processing is suspended too, so that these jobs have been completed when it returns.
    void WaitForQueueEmpty( std::uint32_t inTimeoutMs = kNoTimeout );

    /// The same with a progress of the calling thread, shown after two seconds, whose user may abort the wait
    /// (1001): the share of the jobs that have gone, or only that there are some.
    void WaitForQueueEmptyWithProgress();
    void WaitForQueueEmptyWithIndeterminateProgress();

    /// For producers, so that they do not run far ahead of the workers. Wait until there are more workers
    /// than jobs that wait or run; until fewer than `inCommit` jobs for each worker wait, run or are
    /// suspended.
    void WaitForFreeWorkerThread();
    void WaitForJobWeightUnderCommit( double inCommit );

    /// Waits until no job runs, then deletes all others. A running queue is an internal error,
    /// "!IsRunning()".
    void WaitForTerminate();

    // ---- Counts

    /// All jobs that the queue owns, those that wait for their completion or are being completed included.
    USize GetJobCount() const;
    bool IsEmpty() const { return GetJobCount() == 0; }

    USize GetQueuedJobCount() const;
    USize GetRunningJobCount() const;
    USize GetSuspendedJobCount() const;

    /// Jobs that wait, run or are suspended, and those that another thread has stopped or deleted until it has completed
    /// and deleted them; whether there are none.
    USize GetCurrentJobWeight() const;
    bool IsQueueEmpty() const { return GetCurrentJobWeight() == 0; }

    /// Workers beyond the jobs that wait or run; 0 if there are fewer. Before the first start, workers count
    /// as many as there will be.
    USize GetFreeWorkerThreadsCount() const;

    /// For each queue its jobs: "Jobs queued: ", "Jobs running: " and "Jobs suspended: ", each line ended by
    /// "\r".
    static XString GetDebugStatus();

    /// Completes the jobs that have run when the queue's own message tells so.
    void HandleMessage( const XMessage& inMessage ) override;

    /// Stops the jobs that run (result code 2702) and ends the workers. The next start of a queue makes new
    /// ones. For the end of the process, when the queues have been stopped.
    static void EndWorkerThreads();

    /// Guards the list of the process's queues. Taken before the mutex of a queue.
    static XMutex sJobQueueMutex;

private:
    friend class XJob;

    class XJobAsyncCompleteMessage;
    class XPin;
    class XRunnableQueues;
    class XTakenJobs;

    /// A job that runs. The job itself is its worker's.
    struct XRunningJob
    {
        const XJobThread* worker;
        std::int64_t tag;
        std::int64_t group;
    };

    /// Completions, one after the other with the same tag and result code, that nobody has heard of yet because nobody
    /// listened.
    struct XUnspoken
    {
        std::int64_t tag;
        std::uint32_t resultCode;
        USize count;
    };

    void AddJobQueue();
    void RemoveJobQueue();
    template<class Visit>
    static void VisitJobQueues( const Visit& inVisit );

    // The workers' side.
    static XJob* FetchJob( const XJobThread& inWorker );
    XJob* GetJobForRunning( const XJobThread& inWorker );
    static bool CompleteInJobThread( XJob* inJob );
    XJob* JobComplete( const XJobThread& inWorker, XJob* inUncompletedJob, bool inMayRunNext );

    // Under the mutex.
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

    // Without it.
    void SetRunning( bool inIsRunning );
    void AsyncStopRunningJobs( const XJobSelector& inSelector );
    void WaitForRunningJobs( const XJobSelector& inSelector );
    void WaitUntilTerminated();
    bool SleepUntilQueueEmpty( std::uint32_t inTimeoutMs );
    void CompleteFinishedJobs();
    XJob* TakeFinishedJob( bool inHasCompletedOne );
    void AnnounceCompletion( std::int64_t inTag, std::uint32_t inResultCode );
    XVector<XUnspoken> TakeUnspoken();
    void Speak( const XVector<XUnspoken>& inCompletions );
    void End();

    mutable XMutex itsMutex; // guards the members below
    const std::unique_ptr<XWaitingJobs> itsWaitingJobs;
    XVector<XRunningJob> itsRunningJobs;
    const std::unique_ptr<XJobList> itsFinishedJobs;   // have run and wait for their completion
    const std::unique_ptr<XJobList> itsCompletingJobs; // of these, those whose turn has come
    USize itsCompletingCount = 0;                      // jobs that are being completed after they have run
    XTakenJobs* itsTakenJobs = nullptr;
    XVector<XUnspoken> itsUnspoken;
    XConditionVariable itsQueueEmpty;
    XConditionVariable itsJobFinished; // signalled whenever a job stops waiting or running
    bool itsIsRunning = false;
    bool itsIsRunnable = false; // runs and has jobs that wait
    bool itsIsEnding = false;
    std::uint64_t itsNumber = 0;   // counts up with each queue of the process
    std::uint32_t itsPinCount = 0; // keeps the destructor waiting; guarded by sJobQueueMutex

    bool* itsIsDestroyed = nullptr; // the main thread's, for a handler that it calls

    // Its neighbours among the queues that are runnable; guarded by the mutex of these.
    XJobQueue* itsPreviousRunnable = nullptr;
    XJobQueue* itsNextRunnable = nullptr;

    const std::unique_ptr<XDeferredNotice>
        itsCompletionNotice; // posted with the first finished job, or completion that nobody has heard of
};
