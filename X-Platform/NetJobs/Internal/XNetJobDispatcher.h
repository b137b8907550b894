#pragma once

#include "NetJobs/Internal/XNetJobScheduler.h"
#include "NetJobs/XLogonInfo.h"
#include "NetJobs/XNetJobEvent.h"
#include "NetJobs/XNetJobStatus.h"

/// The state of a control service without its connections and its clock: logs clients and nodes on, passes events between
/// them as XNetJobScheduler decides, keeps jobs until they have ended and results until their client has them, and
/// detects lost clients and nodes. It does not read jobs and results.
///
/// Logons: a peer that logs on again with its former ID keeps it. Events that it has not taken are discarded; results are
/// sent to a client again. A node reports with the logon the jobs that it holds (kHolds) and the results that were not
/// taken (kEnded). After a logon, a client submits all its jobs without results again; those that are known are ignored.
/// Thus lost batches and a restart of the control service have the same remedy.
///
/// Reports of a node about unknown jobs are kept for `clientGraceMS` if their client is not logged on or has logged on
/// within that time, because it may still submit them. IDs are random, so that those assigned by an earlier control
/// service are not assigned to other peers.
///
/// Lost peers: a node is lost when its connection has ended for `nodeGraceMS`, a client for `clientGraceMS`, and either
/// when it has given no sign of life for `silenceMS`. The jobs of a lost client are dropped, on nodes too.
///
/// Notices: that a job has started, its progress and the position of a client's jobs are passed on to the client by `Tick`,
/// the newest of each kind and job. They are dropped when the job ends.
///
/// Calls with the ID of a peer that is not logged on throw 3100 (LogOff and ConnectionHasEnded ignore it).
///
/// Threads: one thread at a time.
class KORVALE_API XNetJobDispatcher
{
public:
    using XTimeMS = XNetJobScheduler::XTimeMS;
    using XEvents = XVector<XNetJobEvent>;

    struct XSettings
    {
        XTimeMS silenceMS = 10'000;
        XTimeMS clientGraceMS = 10'000;
        XTimeMS nodeGraceMS = 1'000;
    };

    explicit XNetJobDispatcher( const XAppVersion& inAppVersion );
    XNetJobDispatcher( const XAppVersion& inAppVersion, const XSettings& inSettings );
    XNetJobDispatcher( const XNetJobDispatcher& ) = delete;
    XNetJobDispatcher& operator=( const XNetJobDispatcher& ) = delete;
    ~XNetJobDispatcher();

    // ---- Peers

    /// Return the ID of the peer, never 0. `inFormerID` is the ID that it had before, or 0. Throw 3092 for an application
    /// whose version is incompatible with that of the control service. Reports are kHolds and kEnded; others throw 1013.
    std::uint32_t
    LogOnClient( XTimeMS inNow, const XAppVersion::XAppAndComputerInfo& inInfo, std::uint32_t inFormerID );
    std::uint32_t LogOnNode(
        XTimeMS inNow, const XNetJobQueueNode::XLogonInfo& inInfo, std::uint32_t inFormerID,
        const XEvents& inReports );

    bool IsLoggedOn( std::uint32_t inID ) const;

    /// The peer has made a call that is not a batch. A batch may take longer than the time after which a peer counts as lost.
    void HasShownLife( XTimeMS inNow, std::uint32_t inID );

    void ConnectionHasEnded( XTimeMS inNow, std::uint32_t inID );
    /// Jobs of a client are dropped, those of a node wait again.
    void LogOff( XTimeMS inNow, std::uint32_t inID );

    // ---- Events

    /// Handles events of a peer in order; an empty batch is a heartbeat. Throws 1013 for an event that this type of peer does not
    /// send, after the events before it; a client's events count as its own, whatever client ID they have.
    void Receive( XTimeMS inNow, std::uint32_t inID, const XEvents& inEvents );

    /// The next events for a peer, of at most this many bytes of jobs and results, but at least one if there is any.
    XEvents TakeEvents( std::uint32_t inID, USize64 inMostBytes = ~USize64( 0 ) );

    /// Peers for which there are events since the last call, each once.
    XVector<std::uint32_t> TakeRecipients();

    /// Detects lost peers, lets idle workers take jobs over and passes notices on. Call it several times a second.
    void Tick( XTimeMS inNow );

    /// Takes time in proportion to the numbers of peers and of jobs assigned to nodes.
    XNetJobStatus GetStatus( XTimeMS inNow ) const;

private:
    class XImp;
    const std::unique_ptr<XImp> itsImp;
};
