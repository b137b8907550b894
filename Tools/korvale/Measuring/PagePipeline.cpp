#include "Measuring/PagePipeline.h"

#include "Jobs/XProgress.h"
#include "Terminal/ProgressDisplay.h"
#include "Terminal/TerminalProgressStrategy.h"
#include "Threads/XStopThreadException.h"

#include <memory>
#include <utility>

// Bounds memory by bounding jobs: each job locks at most a page, so a submission waits until the queue has
// less than the permitted number of jobs (WorkerLimit). The weight of a queue is the number of its jobs that
// have not ended.

namespace
{
constexpr std::uint64_t kSteps = 2;

void RunWork( const PageWork& inWork )
{
    XProgress progress( kSteps, XProgress::kProgressSteps, kProgressDelayMS );
    progress.SetMessage(
        "page " + std::to_string( inWork.page ) + " of " + XString::FromUTF8( inWork.image ) );
    inWork.run( progress );
}

void RunAndKeepFailure( const PageWork& inWork, std::optional<Failure>& outFailure )
{
    try
    {
        RunWork( inWork );
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
        // Short enough to take no memory, for there may be none to describe that.
        outFailure = Failure{ "out of memory", kErrorOutOfMemory };
        outFailure = DescribeCurrentException();
        throw; // The queue passes the failure's number to `complete`.
    }
}
} // namespace

PagePipeline::PagePipeline(
    WorkerLimit inLimit, ProgressDisplay& ioDisplay, std::unique_ptr<NodeWorkers> inNodes )
    : itsLimit( inLimit ), itsDisplay( ioDisplay ), itsNodes( std::move( inNodes ) )
{
    itsQueue.Start();
}

USize PagePipeline::GetUnfinishedCount() const
{
    // In this order: a page that is handed over to a node meanwhile is counted twice rather than not at all.
    const USize own = itsQueue.GetCurrentJobWeight();
    return own + ( itsNodes ? itsNodes->GetUnfinishedCount() : 0 );
}

void PagePipeline::WaitForFewerThan( USize inCount )
{
    if ( itsNodes )
        itsNodes->WaitUntil( [&] { return GetUnfinishedCount() < inCount; } );
    else
        WorkerLimit::WaitForFewerJobs( itsQueue, inCount );
}

void PagePipeline::WaitForNodes()
{
    itsNodes->WaitUntil( [&] { return GetUnfinishedCount() < itsNodes->GetMostJobs(); } );
}

void PagePipeline::Submit( PageWork inWork, std::optional<Failure>& outFailure )
{
    if ( itsNodes )
        WaitForNodes();
    itsLimit.WaitForTurn( itsQueue );
    // Owned by the job's function: the job refers to it until it is deleted.
    const auto strategy = std::make_shared<TerminalProgressStrategy>( itsDisplay, false );
    const auto complete = inWork.complete;
    auto job = std::make_unique<XFunctionJob>(
        [strategy, &outFailure, work = std::move( inWork )] { RunAndKeepFailure( work, outFailure ); },
        complete, XFunctionJob::kUnannounced );
    job->SetProgressStrategy( strategy.get() );
    itsQueue.AttachJob( job.release() );
}
