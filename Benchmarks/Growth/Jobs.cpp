#include "Growth/Operation.h"

#include "Jobs/XFunctionJob.h"
#include "Jobs/XJob.h"
#include "Jobs/XJobQueue.h"
#include "Jobs/XJobSelector.h"
#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Jobs/XThreadProgressStrategy.h"

#include <atomic>
#include <deque>
#include <functional>
#include <utility>

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

/// A thread reports while the main thread is busy, which then comes to all of it.
Seconds ReportProgress( std::size_t inCount )
{
    XListener listener;
    XThreadProgressStrategy strategy( nullptr, XSpeaker::kWhenNextEvent );
    listener.Subscribe( strategy );
    const auto report = [&]
    {
        const XProgressStrategyChanger changer( &strategy );
        for ( std::size_t bar = 0; bar < inCount; ++bar )
        {
            XProgress progress( 10 );
            progress.SetMessage( "bar" );
            progress.SetProgress( 5 );
        }
    };
    return Time(
        [&]
        {
            XJobQueue queue;
            queue.Start();
            queue.AttachJob( new XFunctionJob( report ) );
            queue.WaitForQueueEmpty();
        } );
}

} // namespace

void AddJobOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "jobs: stop by tag one by one, by jobs", 1000, StopOneByOne } );
    ioOperations.push_back( { "jobs: attach if tag not present, by jobs", 1000, AttachOnce } );
    ioOperations.push_back( { "jobs: suspend by tag one by one, by jobs", 1000, SuspendAndResume } );
    ioOperations.push_back( { "jobs: progress with a busy main thread, by bars", 1000, ReportProgress } );
    ioOperations.push_back( { "jobs: run beside idle queues, by queues", 200, RunBesideIdleQueues } );
}
