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

/// One job of the pipeline: an operation on a page of an image.
struct PageWork
{
    std::string image;                           ///< the displayed name
    std::uint32_t page = 0;                      ///< counted from 0
    std::function<void( XProgress& )> run;       ///< runs within a progress of two steps
    XFunctionJob::XCompleted complete = nullptr; ///< called on the worker, however the job has ended
};

/// Runs work on pages as jobs of the shared pool, only a few ahead of the workers, each with bars on the
/// display.
/// Threads: one thread that submits and waits.
class PagePipeline
{
public:
    /// The display must outlive the pipeline.
    PagePipeline( WorkerLimit inLimit, ProgressDisplay& ioDisplay );

    /// Waits until a worker is nearly free, then submits the work. An exception of the work, except a stop,
    /// is stored in `outFailure`, which must outlive the pipeline.
    void Submit( PageWork inWork, std::optional<Failure>& outFailure );

    /// The number of jobs that have not ended.
    USize GetUnfinishedCount() const { return itsQueue.GetCurrentJobWeight(); }

    /// Waits until fewer than `inCount` jobs have not ended.
    void WaitForFewerThan( USize inCount ) { WorkerLimit::WaitForFewerJobs( itsQueue, inCount ); }

private:
    const WorkerLimit itsLimit;
    ProgressDisplay& itsDisplay;
    XJobQueue itsQueue;
};
