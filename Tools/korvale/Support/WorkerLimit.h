#pragma once

#include "Jobs/XJobQueue.h"

/// How many jobs a queue is given at a time, so that no more than so many workers are busy with them.
class WorkerLimit
{
public:
    /// 0: all that the pool has.
    explicit WorkerLimit( std::uint32_t inWorkers );

    /// Waits until the queue may be given another job.
    void WaitForTurn( XJobQueue& ioQueue ) const { WaitForFewerJobs( ioQueue, itsMostJobs ); }

    /// Waits until the queue has fewer than so many jobs.
    static void WaitForFewerJobs( XJobQueue& ioQueue, USize inCount );

private:
    USize itsMostJobs;
};
