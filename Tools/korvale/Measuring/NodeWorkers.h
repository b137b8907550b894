#pragma once

#include "Core/Times/XTimer.h"
#include "Measuring/MeasurePageJob.h"
#include "Measuring/NodeBars.h"
#include "Messaging/XListener.h"
#include "NetJobs/XNetJobQueue.h"
#include "Threads/XConditionVariable.h"

#include <functional>
#include <string>

class Session;
struct XNetJobDeployment;

/// The workers of the nodes of a deployment, on which pages are measured.
/// Threads: any.
class NodeWorkers : private XListener
{
public:
    /// `inPlace` is the control service as the user named it.
    NodeWorkers( const XNetJobDeployment& inDeployment, const std::string& inPlace, Session& ioSession );
    /// Stops the jobs, also on the nodes.
    ~NodeWorkers() override;

    /// Connects. Throws the errors of XNetJobQueue::Start; warns of a service that cannot be reached at present.
    void Start();

    /// Submits a page. Its samples are used until it is completed; null if the request names a file.
    void Submit(
        const MeasurePageJob::Request& inRequest, CachedPage* ioSamples, XPageMemory& ioMemory,
        const MeasurePageJob::Completed& inCompleted );

    /// The number of jobs that have not been completed.
    USize GetUnfinishedCount() const;

    /// The number of jobs that keep the workers busy.
    USize GetMostJobs() const;

    /// The workers of the nodes; 0 before it is known.
    std::uint32_t GetWorkerCount() const;

    /// Waits until the condition is true, which is evaluated when jobs of nodes end, and 50 times a second. Throws 1001 if the
    /// user aborts. Warns when no node can be reached.
    void WaitUntil( const std::function<bool()>& inCondition );

private:
    void HandleMessage( const XMessage& inMessage ) override;
    void SetWorkers( std::uint32_t inWorkers );
    void HasCompleted();
    void ReportConnection();

    const std::string itsPlace;
    Session& itsSession;
    mutable XMutex itsMutex; // guards the following
    XConditionVariable itsHasChanged;
    USize itsUnfinished = 0;
    std::uint32_t itsWorkers = 0; // 0: unknown, or no node
    bool itsHasWarned = false;    // that there are no nodes
    std::uint32_t itsReportedError = 0;
    XTimer itsTimer;

    NodeBars itsBars;      // used on the main thread
    XNetJobQueue itsQueue; // the last, since its jobs use the others
};
