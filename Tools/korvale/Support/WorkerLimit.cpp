#include "Support/WorkerLimit.h"

#include "Threads/XThread.h"

/// With all workers at work, a job for each waits, so that none is idle between two jobs.
WorkerLimit::WorkerLimit( std::uint32_t inWorkers )
    : itsMostJobs(
          inWorkers > 0 && inWorkers < XThread::GetProcessorCount() ? inWorkers
                                                                    : 2 * XThread::GetProcessorCount() )
{
}

void WorkerLimit::WaitForFewerJobs( XJobQueue& ioQueue, USize inCount )
{
    // Half a job keeps rounding from mattering.
    const auto limit = static_cast<double>( inCount ) - 0.5;
    ioQueue.WaitForJobWeightUnderCommit( limit / XThread::GetProcessorCount() );
}
