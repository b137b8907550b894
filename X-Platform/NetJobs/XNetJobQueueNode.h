#pragma once

#include "Core/Strings/XString.h"
#include "Ground/XTypes.h"

#include <memory>

struct XNetJobDeployment;

/// A node: runs jobs that the control service of a deployment assigns to it, of the classes derived from XNetJob that are
/// registered in XClassRegistry when it logs on, on the workers that all job queues of the process share. It keeps each
/// result until the client has it.
///
/// When the control service cannot be reached, the node goes on with its jobs and connects again, with pauses of up to
/// ten seconds.
///
/// Threads: start and stop one at a time; the rest from any thread.
class KORVALE_API XNetJobQueueNode
{
public:
    class XAssignedJobInfo;
    class XLogonInfo;

    enum XNodeType : std::uint32_t
    {
        kNodePermanent = 0, ///< stays until it is shut down; its loss is reported as a failure
        kNodeTemporary = 1, ///< started by a batch system, which may end it at any time
    };

    struct XSettings
    {
        XString name; ///< empty: that of the computer
        XNodeType type = kNodePermanent;
        std::uint32_t workers = 0; ///< jobs at a time; 0, and at most: the number of logical processors
    };

    XNetJobQueueNode( const XNetJobDeployment& inDeployment, const XSettings& inSettings );
    XNetJobQueueNode( const XNetJobQueueNode& ) = delete;
    XNetJobQueueNode& operator=( const XNetJobQueueNode& ) = delete;
    /// Stops with the time-out 0.
    ~XNetJobQueueNode();

    /// Connects and accepts jobs. Errors of XNetJobQueue::Start.
    void Start();

    /// Returns jobs that have not started to the control service, lets the others run for at most the time-out, then stops
    /// and returns these too, and logs off.
    void Stop( std::uint32_t inTimeoutMS );

    bool IsConnected() const;

    /// Why the last attempt to connect failed; 0 after a successful one.
    std::uint32_t GetConnectionError() const;

    /// Jobs that wait or run.
    USize GetJobCount() const;

private:
    class XImp;
    const std::unique_ptr<XImp> itsImp;
};
