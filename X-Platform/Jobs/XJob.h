#pragma once

#include "Ground/XErrorNumbers.h"
#include "Messaging/XListener.h"

class XJobQueue;
class XProgressStrategy;

/// A piece of work for the background. Derive from it, implement `RunJobSelf` and attach it to an XJobQueue,
/// which runs it on a worker thread, completes it once and deletes it.
///
/// The body runs as long as it likes; it obeys a stop at its next checkpoint
/// (`XThread::TestCancelCurrentThread`), which progress and alertable waits are too. Whatever it throws
/// becomes the result code, and is written to the error log (XErrorLog) with the class and the tag of the job, unless
/// it is silent.
///
/// Ownership: the queue's from `AttachJob` on. The progress strategy is not owned and outlives the job.
/// Threads: set the tag, the group and the strategy before the job is attached. Messages posted to a job
/// (`XJobQueue::PostMessageJobs`) are heard on the main thread, perhaps while the body runs on its worker.
class KORVALE_API XJob : public XListener
{
public:
    /// The result code of a job that its queue has stopped, and the code of that stop.
    static constexpr std::uint32_t kStopped = kErrorJobStopped;

    /// The result code of a job whose body threw what is no XException.
    static constexpr std::uint32_t kFailed = kErrorInternal;

    XJob() = default;
    XJob( const XJob& ) = delete;
    XJob& operator=( const XJob& ) = delete;
    ~XJob() override;

    /// Hears a message posted to the job. Does nothing by default.
    void HandleMessage( const XMessage& inMessage ) override;

    /// Runs the body. When that throws, the result code becomes the exception's error number, the code of the
    /// stop, or `kFailed`, and the exception passes on.
    virtual void RunJob();

    /// Has the owner speak an XJobQueue::XJobCompletedMessage at the main thread's next event, to those who listen
    /// then.
    virtual void SpeakCompletedMessage();

    /// Whether the job is completed on its worker at once, rather than later on the thread that handles the
    /// queue's messages, which is the main thread. False by default.
    virtual bool CanCompleteInJobThread();

    /// Whether the completion is announced. True by default.
    virtual bool ShouldSendCompletedMessage();

    // ---- What the queue tells its job. These do nothing by default; what they throw is swallowed.

    /// The queue has stopped the job, in its queue or at a checkpoint of its body; the completion follows. On
    /// the thread that stops a waiting job, or on the worker.
    virtual void Stopped();

    /// The job, not running, has been put aside, or waits for its turn again. Called under the queue's mutex:
    /// must be brief and leave job queues alone.
    virtual void Suspended();
    virtual void Resumed();

protected:
    /// The body.
    virtual void RunJobSelf() = 0;

    /// The job has ended or has been stopped; called once. Does nothing by default; what it throws is
    /// swallowed.
    virtual void JobCompleteSelf( std::uint32_t inResultCode );

public:
    /// Sets the result code, calls `JobCompleteSelf` and announces the completion. For queues.
    void JobComplete( std::uint32_t inResultCode );

    /// 0 until set: by the body for its caller's use, else when the body fails.
    std::uint32_t GetResultCode() const { return itsResultCode; }
    void SetResultCode( std::uint32_t inResultCode ) { itsResultCode = inResultCode; }

    /// Select jobs for the operations on some of a queue's jobs; 0 is none.
    std::int64_t GetTag() const { return itsTag; }
    void SetTag( std::int64_t inTag ) { itsTag = inTag; }
    std::int64_t GetGroup() const { return itsGroup; }
    void SetGroup( std::int64_t inGroup ) { itsGroup = inGroup; }

    /// Installed on the worker while the body runs; null, as at first, reports nothing.
    XProgressStrategy* GetProgressStrategy() const { return itsProgressStrategy; }
    void SetProgressStrategy( XProgressStrategy* inStrategy ) { itsProgressStrategy = inStrategy; }

    /// The queue that the job has been attached to; null before.
    XJobQueue* GetOwner() const { return itsOwner; }

    /// A place among jobs in an order. Internal.
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

    // Where the job stands among those of its queue; under the queue's mutex.
    XLink itsPlace; // among those in the same state, none while it runs
    XLink itsTagPlace;
    XLink itsGroupPlace;
    std::int64_t itsListedTag = 0; // the tag and the group when it was attached
    std::int64_t itsListedGroup = 0;
    std::uint64_t itsSerial = 0;
};
