#pragma once

#include "Jobs/XFunctionJob.h"
#include "Jobs/XJobQueue.h"
#include "Support/Failure.h"
#include "Support/WorkerLimit.h"

#include <functional>
#include <optional>
#include <string>

class ProgressDisplay;
class XProgress;

/// One job of the pipeline: what is done with a page of an image.
struct PageWork
{
    std::string image;                          ///< The name to show.
    std::uint32_t page = 0;                     ///< Counted from 0.
    std::function<void( XProgress& )> run;      ///< Within a progress of two steps.
    XFunctionJob::Completed complete = nullptr; ///< On the worker, however the job has ended.
};

/// Runs work on pages as jobs of the shared pool, only a few ahead of the workers, each with bars on the display.
/// Threads: one that submits and waits.
class PagePipeline
{
public:
    /// The display outlives the pipeline.
    PagePipeline( WorkerLimit inLimit, ProgressDisplay& ioDisplay );

    /// Waits until a worker is nearly free, and hands it the work. What the work throws, but for a stop, becomes
    /// `outFailure`, which outlives the pipeline.
    void Submit( PageWork inWork, std::optional<Failure>& outFailure );

    /// Jobs that have not ended.
    USize GetUnfinishedCount() const { return itsQueue.GetCurrentJobWeight(); }

    /// Waits until fewer jobs than that have not ended.
    void WaitForFewerThan( USize inCount ) { WorkerLimit::WaitForFewerJobs( itsQueue, inCount ); }

private:
    const WorkerLimit itsLimit;
    ProgressDisplay& itsDisplay;
    XJobQueue itsQueue;
};
