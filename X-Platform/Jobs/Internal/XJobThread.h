#pragma once

#include "Jobs/XJobQueue.h"
#include "Threads/XThread.h"

/// A worker of the pool that runs the jobs of all queues. Internal. Exceptions and stops of jobs never end
/// it; it ends only if stopped with a code other than `XJob::kStopped`.
class XJobQueue::XJobThread final : public XThread
{
public:
    /// Starts the thread.
    XJobThread();
    ~XJobThread() override;

    /// Asks the current job to stop if it belongs to the queue and is selected. The stop applies to that job
    /// only: it is withdrawn if the job ends before obeying it.
    void AsyncStopIfSelected( const XJobQueue& inQueue, const XJobSelector& inSelector );

    /// The running job; null if there is none. Guarded by the mutex, which is taken before that of a queue.
    XJob* GetCurrentJob() const { return itsCurrentJob; }
    XMutex& GetMutex() { return itsJobMutex; }

protected:
    std::int32_t RunThreadSelf() override;

private:
    void RunNextJob();
    bool FetchJob();
    void WaitForJob();
    void RunCurrentJob();
    void LogFailure() const noexcept;
    void EndJob( std::uint32_t inResultCode );
    void SetCurrentJob( XJob* inJob );
    void CompleteJob( bool inMayRunNext );

    XMutex itsJobMutex;
    XJob* itsCurrentJob = nullptr; // guarded by itsJobMutex; changed by this thread only
};
