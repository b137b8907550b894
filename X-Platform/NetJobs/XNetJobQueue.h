#pragma once

#include "Jobs/XJobSelector.h"
#include "Messaging/XListener.h"
#include "Messaging/XSpeaker.h"

#include <memory>

class XNetJob;
struct XNetJobDeployment;

/// Runs jobs on the nodes of a deployment. Its operations have the names and the meaning of those of XJobQueue, so that a
/// program changes from one to the other by the class of its queue and of its jobs (docs/network-jobs.md).
///
/// The queue keeps each job until its result has arrived. When the control service, a node or the network fails, it
/// connects again and submits jobs without result again; such a job may run twice, and the first result counts.
///
/// Completion: once for each job, when the main thread handles the queue's messages: `XJob::JobComplete` with the result
/// code of the body, `XJob::kStopped`, 3100 if the last three nodes to which the job was assigned were lost, 1003 if
/// the class is not registered on the node, or the error of storing the job (1013 if it is too large, see
/// `XNetJobEvent::kMostBytes`) or of reading its result. If
/// `XJob::ShouldSendCompletedMessage`, listeners get an XNetJobCompletedMessage and an XJobQueue::XJobCompletedMessage. A
/// stopped job is completed at once, on the thread that stops it; nodes stop it shortly after.
///
/// Meanwhile listeners get XThreadProgressStrategy::XProgressChangedMessage about jobs that run, of the outermost bar only,
/// and about once a second XNetJobQueuePositionChangedMessage. Both are delivered at the main thread's next event.
///
/// Lifetime: the destructor stops the queue and completes on its own thread all jobs that have not been completed. A queue
/// must not be destroyed by one of its own jobs.
/// Threads: start and stop one at a time; the rest from any thread.
/// Errors: waits throw 2701 on a time-out. They are checkpoints of the calling thread.
class KORVALE_API XNetJobQueue : public XSpeaker, public XListener
{
public:
    class XConnectionInfo;
    class XJobAttachmentInfo;
    class XJobProgressInfo;
    class XLogonResult;

    /// The parts of a deployment.
    enum XRemoteType : std::uint32_t
    {
        kRemoteClient = 0,  ///< owns jobs
        kRemoteControl = 1, ///< schedules them
        kRemoteNode = 2,    ///< runs them
    };

    /// The ways of an XConnectionInfo to transfer data between two parts.
    enum XDataTransferMethod : std::uint32_t
    {
        kTransferDirect = 0,      ///< the source connects to the destination's data server
        kTransferRelayed = 1,     ///< both connect to the control service, which relays the data
        kTransferSharedFiles = 2, ///< no transfer: the destination reads the same files itself
    };

    /// Creates a stopped queue: jobs may be attached, and wait.
    explicit XNetJobQueue( const XNetJobDeployment& inDeployment );
    XNetJobQueue( const XNetJobQueue& ) = delete;
    XNetJobQueue& operator=( const XNetJobQueue& ) = delete;
    ~XNetJobQueue() override;

    // ---- Running

    /// Connects to the control service and submits jobs. Throws 3092 if the service runs an incompatible application, and
    /// errors of TLS and authentication. A service that cannot be reached is tried again with pauses of up to ten seconds,
    /// as long as the queue runs.
    void Start();
    bool IsRunning() const;
    bool IsConnected() const;

    /// Why the last attempt to connect failed; 0 after a successful one.
    std::uint32_t GetConnectionError() const;

    /// Stop all jobs and disconnect.
    void AsyncStop() { Stop(); }
    void Stop();

    // ---- Jobs

    /// Takes ownership of the job and queues it, or suspends it if `inSuspended`; sets its ID of the queue. A null job is
    /// an internal error, "inJob".
    void AttachJob( XNetJob* inJob, bool inSuspended = false );

    /// Attaches the job, unless a job with its tag waits or runs already: then deletes it. Returns whether it was attached.
    bool AttachJobIfTagNotPresent( XNetJob* inJob );

    /// Complete the selected jobs with the result code `XJob::kStopped`.
    void AsyncStopTaggedJobs( const XJobSelector& inTags ) { StopTaggedJobs( inTags ); }
    void StopTaggedJobs( const XJobSelector& inTags );

    /// Stops only selected jobs that are not known to run. Returns whether any job was stopped.
    bool StopTaggedJobsIfNotRunning( const XJobSelector& inTags );

    /// Suspend the selected jobs that do not run, until they are resumed. The forms without Async wait until none of the
    /// selected ones runs.
    void AsyncSuspendTaggedJobs( const XJobSelector& inTags );
    void AsyncSuspendAllJobs() { AsyncSuspendTaggedJobs( XJobSelector::EveryJob() ); }
    void SuspendTaggedJobs( const XJobSelector& inTags );
    void SuspendAllJobs() { SuspendTaggedJobs( XJobSelector::EveryJob() ); }

    /// Append the selected suspended jobs to the waiting ones.
    void ResumeTaggedJobs( const XJobSelector& inTags );
    void ResumeAllJobs() { ResumeTaggedJobs( XJobSelector::EveryJob() ); }

    /// Delete the selected jobs without completing them, also those that run on nodes, which stop them.
    void DeleteTaggedJobs( const XJobSelector& inTags );
    void DeleteAllJobs() { DeleteTaggedJobs( XJobSelector::EveryJob() ); }
    void DeleteJobGroup( std::int64_t inGroup ) { DeleteTaggedJobs( XJobSelector::ForGroup( inGroup ) ); }
    bool DeleteTaggedJobsIfNotRunning( const XJobSelector& inTags );

    /// Posts a message to the selected jobs of this process, not to what runs on nodes.
    void PostMessageTaggedJobs( const XJobSelector& inTags, const XMessage& inMessage );
    void PostMessageJobs( const XMessage& inMessage )
    {
        PostMessageTaggedJobs( XJobSelector::EveryJob(), inMessage );
    }

    // ---- Waiting

    /// Waits until no job waits, runs or is suspended. On the main thread it then completes the jobs that have ended.
    void WaitForQueueEmpty( std::uint32_t inTimeoutMS = kNoTimeout );

    /// Waits like WaitForQueueEmpty with a progress of the calling thread, shown after two seconds, which shows the share
    /// of jobs that have ended and through which the user may abort the wait (1001).
    void WaitForQueueEmptyWithProgress();

    /// For producers, to limit how far they run ahead: waits until fewer than `inCommit` jobs per worker of the deployment
    /// wait, run or are suspended. The number of workers is that of the last position; 1 before.
    void WaitForJobWeightUnderCommit( double inCommit );

    // ---- Counts

    /// All jobs that the queue owns, including those waiting for completion.
    USize GetJobCount() const;
    bool IsEmpty() const { return GetJobCount() == 0; }

    /// Whether a job runs is known with a delay of some tenths of a second. A job of a lost node counts as running.
    USize GetQueuedJobCount() const;
    USize GetRunningJobCount() const;
    USize GetSuspendedJobCount() const;

    /// The number of jobs that wait, run or are suspended.
    USize GetCurrentJobWeight() const;
    bool IsQueueEmpty() const { return GetCurrentJobWeight() == 0; }

    /// Completes the jobs that have ended, on the queue's own message.
    void HandleMessage( const XMessage& inMessage ) override;

private:
    class XImp;
    const std::unique_ptr<XImp> itsImp;
};
