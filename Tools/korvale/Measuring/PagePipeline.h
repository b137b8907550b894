#pragma once

#include "Jobs/XFunctionJob.h"
#include "Jobs/XJobQueue.h"
#include "Measuring/NodeWorkers.h"
#include "Support/Failure.h"
#include "Support/WorkerLimit.h"

#include <functional>
#include <memory>
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
    /// The display must outlive the pipeline. `inNodes` is null if all pages are measured by this process.
    PagePipeline(
        WorkerLimit inLimit, ProgressDisplay& ioDisplay, std::unique_ptr<NodeWorkers> inNodes = nullptr );

    /// The nodes that measure pages; null without.
    NodeWorkers* GetNodes() const { return itsNodes.get(); }

    /// Waits until the workers of the nodes are nearly free.
    void WaitForNodes();

    /// Waits until a worker is nearly free, then submits the work. An exception of the work, except a stop,
    /// is stored in `outFailure`, which must outlive the pipeline.
    void Submit( PageWork inWork, std::optional<Failure>& outFailure );

    /// The number of jobs that have not ended, those of nodes included.
    USize GetUnfinishedCount() const;

    /// Waits until fewer than `inCount` jobs have not ended. With nodes, throws 1001 if the user aborts; otherwise the jobs
    /// do.
    void WaitForFewerThan( USize inCount );

private:
    const WorkerLimit itsLimit;
    ProgressDisplay& itsDisplay;
    const std::unique_ptr<NodeWorkers> itsNodes;
    XJobQueue itsQueue; // the last, since its jobs submit pages to nodes
};
