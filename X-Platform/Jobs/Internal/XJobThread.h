#pragma once

#include "Jobs/XJobQueue.h"
#include "Threads/XThread.h"

/// A worker of the pool that runs the jobs of all queues. Internal. Never ends by what a job does; it ends
/// when it is stopped with a code other than `XJob::kStopped`.
class XJobQueue::XJobThread final : public XThread
{
public:
    /// Starts the thread.
    XJobThread();
    ~XJobThread() override;

    /// Asks the current job to stop if it is one of the queue's and selected. The stop is meant for that job
    /// only: it is withdrawn when the job has ended before it was obeyed.
    void AsyncStopIfSelected( const XJobQueue& inQueue, const XJobSelector& inSelector );

    /// The job that runs; null when none does. Guarded by the mutex, which is taken before that of a queue.
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
