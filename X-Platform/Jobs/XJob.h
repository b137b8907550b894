#pragma once

#include "Ground/XErrorNumbers.h"
#include "Messaging/XListener.h"

class XJobQueue;
class XProgressStrategy;

/// Work to be done in the background. Derive a class, implement `RunJobSelf` and attach objects to an
/// XJobQueue, which runs each on a worker thread, completes it once and deletes it.
///
/// A stop takes effect at the next checkpoint of the body (`XThread::TestCancelCurrentThread`); progress
/// calls and alertable waits are checkpoints too. An exception of the body determines the result code and,
/// unless it is silent, is written to the error log (XErrorLog) with the class and the tag of the job.
///
/// Ownership: the queue owns the job from `AttachJob` on. The progress strategy is not owned and must outlive
/// the job.
/// Threads: set tag, group and strategy before attaching the job. Messages posted to a job
/// (`XJobQueue::PostMessageJobs`) are delivered on the main thread, possibly while the body runs on its
/// worker.
class KORVALE_API XJob : public XListener
{
public:
    /// The result code of a job stopped by its queue, and the code of that stop.
    static constexpr std::uint32_t kStopped = kErrorJobStopped;

    /// The result code of a job whose body threw an exception other than XException.
    static constexpr std::uint32_t kFailed = kErrorInternal;

    XJob() = default;
    XJob( const XJob& ) = delete;
    XJob& operator=( const XJob& ) = delete;
    ~XJob() override;

    /// Handles a message posted to the job. Does nothing by default.
    void HandleMessage( const XMessage& inMessage ) override;

    /// Runs the body. If it throws, the result code becomes the error number of the exception, the code of
    /// the stop, or `kFailed`, and the exception is rethrown.
    virtual void RunJob();

    /// Makes the owner send an XJobQueue::XJobCompletedMessage at the main thread's next event, to the
    /// listeners registered then.
    virtual void SpeakCompletedMessage();

    /// Whether the job is completed immediately on its worker, rather than later on the thread that handles
    /// the queue's messages, the main thread. False by default.
    virtual bool CanCompleteInJobThread();

    /// Whether an XJobCompletedMessage is sent. True by default.
    virtual bool ShouldSendCompletedMessage();

    // ---- Notifications by the queue. They do nothing by default; their exceptions are swallowed.

    /// The queue has stopped the job, either while it waited or at a checkpoint of its body; completion
    /// follows. Called on the thread that stops a waiting job, or on the worker.
    virtual void Stopped();

    /// A job that is not running has been suspended, or waits for its turn again. Called under the queue's
    /// mutex: must be brief and must not use job queues.
    virtual void Suspended();
    virtual void Resumed();

protected:
    /// The body.
    virtual void RunJobSelf() = 0;

    /// The job has ended or has been stopped; called once. Does nothing by default; exceptions are swallowed.
    virtual void JobCompleteSelf( std::uint32_t inResultCode );

public:
    /// Sets the result code, calls `JobCompleteSelf` and sends the message. For queues.
    void JobComplete( std::uint32_t inResultCode );

    /// 0 until set, by the body for use in its completion, or because the body failed.
    std::uint32_t GetResultCode() const { return itsResultCode; }
    void SetResultCode( std::uint32_t inResultCode ) { itsResultCode = inResultCode; }

    /// Tag and group select jobs for operations on some of a queue's jobs; 0 means none.
    std::int64_t GetTag() const { return itsTag; }
    void SetTag( std::int64_t inTag ) { itsTag = inTag; }
    std::int64_t GetGroup() const { return itsGroup; }
    void SetGroup( std::int64_t inGroup ) { itsGroup = inGroup; }

    /// Installed on the worker while the body runs; null, the initial value, reports nothing.
    XProgressStrategy* GetProgressStrategy() const { return itsProgressStrategy; }
    void SetProgressStrategy( XProgressStrategy* inStrategy ) { itsProgressStrategy = inStrategy; }

    /// The queue that the job is attached to; null before.
    XJobQueue* GetOwner() const { return itsOwner; }

    /// A link in a list of jobs. Internal.
    struct XLink
    {
        XJob* previous = nullptr;
        XJob* next = nullptr;
    };

private:
    friend class XJobList;
    friend class XJobQueue;
    friend class XWaitingJobs;

    std::uint32_t itsResultCode = 0;
    std::int64_t itsTag = 0;
    std::int64_t itsGroup = 0;
    XProgressStrategy* itsProgressStrategy = nullptr;
    XJobQueue* itsOwner = nullptr;

    // The links in the lists of the queue; guarded by the queue's mutex.
    XLink itsPlace; // among jobs in the same state; unused while the job runs
    XLink itsTagPlace;
    XLink itsGroupPlace;
    std::int64_t itsListedTag = 0; // tag and group when the job was attached
    std::int64_t itsListedGroup = 0;
    std::uint64_t itsSerial = 0;
};
