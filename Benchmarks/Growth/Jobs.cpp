#include "Growth/Operation.h"

#include "Jobs/XJob.h"
#include "Jobs/XJobQueue.h"
#include "Jobs/XJobSelector.h"

#include <atomic>
#include <deque>

namespace
{

class CountedJob : public XJob
{
public:
    explicit CountedJob( std::int64_t inTag ) { SetTag( inTag ); }
    bool CanCompleteInJobThread() override { return true; }

protected:
    void RunJobSelf() override {}
};

void Fill( XJobQueue& ioQueue, std::size_t inCount )
{
    for ( std::size_t tag = 1; tag <= inCount; ++tag )
        ioQueue.AttachJob( new CountedJob( static_cast<std::int64_t>( tag ) ) );
}

Seconds StopOneByOne( std::size_t inCount )
{
    XJobQueue queue;
    Fill( queue, inCount );
    return Time(
        [&]
        {
            for ( std::size_t tag = inCount; tag > 0; --tag )
                queue.StopTaggedJobs( static_cast<std::int64_t>( tag ) );
        } );
}

Seconds AttachOnce( std::size_t inCount )
{
    XJobQueue queue;
    return Time(
        [&]
        {
            for ( std::size_t tag = 1; tag <= inCount; ++tag )
                queue.AttachJobIfTagNotPresent( new CountedJob( static_cast<std::int64_t>( tag ) ) );
        } );
}

Seconds RunBesideIdleQueues( std::size_t inCount )
{
    std::deque<XJobQueue> idle( inCount );
    for ( XJobQueue& queue : idle )
        queue.Start();
    XJobQueue queue;
    queue.Start();
    return Time(
        [&]
        {
            Fill( queue, inCount );
            queue.WaitForQueueEmpty();
        } );
}

Seconds SuspendAndResume( std::size_t inCount )
{
    XJobQueue queue;
    Fill( queue, inCount );
    return Time(
        [&]
        {
            for ( std::size_t tag = 1; tag <= inCount; ++tag )
                queue.SuspendTaggedJobs( static_cast<std::int64_t>( tag ) );
            queue.ResumeAllJobs();
        } );
}

} // namespace

void AddJobOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "jobs: stop by tag one by one, by jobs", 1000, StopOneByOne } );
    ioOperations.push_back( { "jobs: attach if tag not present, by jobs", 1000, AttachOnce } );
    ioOperations.push_back( { "jobs: suspend by tag one by one, by jobs", 1000, SuspendAndResume } );
    ioOperations.push_back( { "jobs: run beside idle queues, by queues", 200, RunBesideIdleQueues } );
}
