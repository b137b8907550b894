#pragma once

#include "Jobs/XJobQueue.h"

/// The number of jobs given to a queue at a time, which limits the number of busy workers.
class WorkerLimit
{
public:
    /// 0 means all workers of the pool.
    explicit WorkerLimit( std::uint32_t inWorkers );

    /// Waits until the queue may get another job.
    void WaitForTurn( XJobQueue& ioQueue ) const { WaitForFewerJobs( ioQueue, itsMostJobs ); }

    /// Waits until the queue has fewer than `inCount` jobs.
    static void WaitForFewerJobs( XJobQueue& ioQueue, USize inCount );

private:
    USize itsMostJobs;
};
