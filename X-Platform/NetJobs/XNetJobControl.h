#pragma once

#include "NetJobs/XNetJobStatus.h"

#include <memory>

class WTLSContext;
class XNetAddress;
class XRPCCipher;

/// The control service of a deployment: passes the jobs of clients (XNetJobQueue) to nodes (XNetJobQueueNode) and the
/// results back (docs/network-jobs.md). It does not read jobs and results, so that their classes need not be registered.
///
/// Clients and nodes can restore all that it knows: another service on the same address continues its work.
///
/// Time in which the process does not run, because it was stopped or the computer slept, does not count as silence of
/// clients and nodes.
///
/// Threads: start and stop one at a time; the rest from any thread.
class KORVALE_API XNetJobControl
{
public:
    /// `inTLS` may be null. Clients and nodes need the application version that is the process's at this time
    /// (`XAppVersion::IsCompatibleWith`).
    explicit XNetJobControl(
        const XRPCCipher& inCipher, const std::shared_ptr<const WTLSContext>& inTLS = nullptr );
    XNetJobControl( const XNetJobControl& ) = delete;
    XNetJobControl& operator=( const XNetJobControl& ) = delete;
    /// Stops.
    ~XNetJobControl();

    /// Starts listening, as `XNetServer::Start`. An internal error if the service is running.
    void Start( const XNetAddress& inAddress );

    /// Ends all connections. The state is kept: clients and nodes may log on again after another start.
    void Stop();

    /// The port that it listens on; 0 if it is not running.
    std::int32_t GetPort() const;

    /// The number of connections; clients and nodes have two each.
    USize GetConnectionCount() const;

    XNetJobStatus GetStatus() const;

private:
    class XImp;
    const std::unique_ptr<XImp> itsImp;
};
