// Who owns what. A job exists in up to four places at a time, each of which keeps it for another reason:
//
// - XNetJobQueue, in the client: the object, until its result has arrived (or it has been stopped or deleted).
// - itsJobs, here: the job as bytes until it has ended, then its result as bytes until the client has taken it.
// - XNetJobScheduler, here: its key, class and place in the queue, and the nodes it is assigned to, until it has ended.
//   It decides; this class looks up the bytes and sends them.
// - XNetJobQueueNode, in each node to which it is assigned: the bytes until it has run, then the result until this class
//   reports it as taken.
//
// Each job therefore has an owner that can repeat it whatever fails, and nobody asks another for its state: a peer that logs
// on again reports what it has. A report of a node may precede the job's submission by its client, after a restart of the
// service; it waits in itsReports.
//
// Events for a peer wait in its outbox. An outbox is filled only while the peer is connected, so it is no storage: what is
// lost with it can be rebuilt from itsJobs, the scheduler and the peer's next logon. Connections, threads and the clock
// belong to XNetJobControl, which calls this class under its mutex; at the other end they belong to XNetJobSession.

#include "NetJobs/Internal/XNetJobDispatcher.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "NetJobs/Internal/XJobEvents.h"
#include "NetJobs/Internal/XJobRate.h"
#include "NetJobs/Internal/XStoredBytes.h"
#include "NetJobs/Internal/XTakeBatch.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "Services/XSessionLogManager.h"
#include "System/WRandomBytes.h"

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace
{

using XJobEvents::GetKey;
using XJobEvents::MakeEvent;
using XJobKey = XNetJobScheduler::XJobKey;
using XTimeMS = XNetJobDispatcher::XTimeMS;
using XEvents = XVector<XNetJobEvent>;

constexpr XTimeMS kNoticePeriodMS = 200;
constexpr XTimeMS kPositionPeriodMS = 1000;
constexpr USize kMostFailures = 50;
constexpr XTimeMS kRatePeriodMS = 1000;
constexpr USize kRatePeriods = 10;

constexpr std::string_view kNodesWereLost = "the last 3 nodes to which the job was assigned were lost";
static_assert( XNetJobScheduler::kMostLosses == 3 );

/// What a notice is about: the newest one replaces those before it.
using NoticeKey = std::pair<XJobKey, XNetJobEvent::XKind>;

struct Peer
{
    bool isNode = false;
    bool isTemporary = false; // a node that may go at any time
    XAppVersion::XAppAndComputerInfo info;
    std::uint32_t workers = 0; // of a node
    XTimeMS logonTime = 0;
    XTimeMS lastHeard = 0;
    std::optional<XTimeMS> endTime = {}; // of the connection
    std::deque<XNetJobEvent> outbox = {};
    std::map<NoticeKey, XNetJobEvent> notices = {}; // of a client
    bool areNoticesDue = false;
    std::uint64_t completedJobs = 0;
    XJobRate rate{ kRatePeriodMS, kRatePeriods };
    std::uint64_t memoryInUse = 0; // of a node
    std::uint64_t memoryBudget = 0;

    /// Notices are last: they are about jobs that have not ended.
    XEvents Take( USize64 inMostBytes )
    {
        XEvents events = XTakeBatch( outbox, inMostBytes );
        if ( !std::exchange( areNoticesDue, false ) )
            return events;
        for ( auto& [key, notice] : notices )
            events.push_back( std::move( notice ) );
        notices.clear();
        return events;
    }

    std::string Describe() const
    {
        return std::string( isNode ? "node \"" : "client \"" ) + info.GetName().GetConstCharPtr() + "\" on " +
            info.GetComputerName().GetConstCharPtr();
    }
};

struct Failure
{
    XTimeMS time;
    std::string text;
};

struct TrackedJob
{
    XVersion jobClass;
    XVector<std::uint8_t> bytes;        // empty when the job has ended
    std::optional<XNetJobEvent> result; // as sent to the client
    std::uint32_t resultNodeID = 0;     // which keeps the result until it is taken
};

/// A report about an unknown job.
struct HeldReport
{
    XTimeMS time;
    std::uint32_t nodeID;
    XNetJobEvent event;
};

void RequireReports( const XEvents& inEvents )
{
    for ( const XNetJobEvent& event : inEvents )
        if ( event.kind != XNetJobEvent::kHolds && event.kind != XNetJobEvent::kEnded )
            XThrow( kErrorBadParameters );
}

} // namespace

class XNetJobDispatcher::XImp
{
public:
    XImp( const XAppVersion& inAppVersion, const XSettings& inSettings )
        : itsAppVersion( inAppVersion ), itsSettings( inSettings )
    {
    }

    std::uint32_t LogOn(
        XTimeMS inNow, const XAppVersion::XAppAndComputerInfo& inInfo, std::uint32_t inFormerID,
        bool inIsNode );
    Peer& GetPeer( std::uint32_t inID );
    Peer* FindPeer( std::uint32_t inID );
    void Drop( std::uint32_t inID, bool inIsLost );
    void DropLostPeers( XTimeMS inNow );
    void DropOldReports( XTimeMS inNow );
    void DropReportsOf( std::uint32_t inNodeID );
    void DropReportsOf( std::uint32_t inNodeID, const XJobKey& inKey );

    void SendResultsAgain( std::uint32_t inClientID );
    void HandleClientEvent( XNetJobEvent inEvent );
    void HandleNodeEvent( XTimeMS inNow, std::uint32_t inNodeID, const XNetJobEvent& inEvent );
    void CarryOutActions( XTimeMS inNow );
    void PassNoticesOn( XTimeMS inNow );

    XVector<std::uint32_t> TakeRecipients();
    XNetJobStatus GetStatus( XTimeMS inNow ) const;

    XNetJobScheduler scheduler;

private:
    std::uint32_t ChooseID( std::uint32_t inFormerID, const XUUID& inInstance, bool inIsNode ) const;
    void DropJobsOf( std::uint32_t inClientID );
    TrackedJob* FindJob( const XJobKey& inKey );
    void Send( std::uint32_t inID, const XNetJobEvent& inEvent );
    void Submit( const XJobKey& inKey, XNetJobEvent& ioEvent );
    void Take( const XJobKey& inKey );
    void StopUnknown( const XJobKey& inKey );
    void HandleReport( XTimeMS inNow, std::uint32_t inNodeID, const XNetJobEvent& inEvent );
    void HandleEnd( XTimeMS inNow, std::uint32_t inNodeID, TrackedJob& ioJob, const XNetJobEvent& inEvent );
    bool MayBeSubmitted( XTimeMS inNow, std::uint32_t inClientID );
    void SetResult( TrackedJob& ioJob, XNetJobEvent inResult );
    void CarryOut( XTimeMS inNow, const XNetJobScheduler::XAction& inAction );
    void Notify( const XNetJobEvent& inNotice );
    void NotifyOfPosition( std::uint32_t inClientID );
    void AddFailure( XTimeMS inNow, std::string inText );
    void DescribePeer(
        XTimeMS inNow, std::uint32_t inID, const Peer& inPeer, XNetJobStatus::XPeer& outPeer ) const;
    XNetJobStatus::XNode DescribeNode( XTimeMS inNow, std::uint32_t inID, const Peer& inPeer ) const;
    XNetJobStatus::XClient DescribeClient( XTimeMS inNow, std::uint32_t inID, const Peer& inPeer ) const;

    const XAppVersion itsAppVersion;
    const XSettings itsSettings;
    std::map<std::uint32_t, Peer> itsPeers;
    std::map<XJobKey, TrackedJob> itsJobs;
    std::multimap<XJobKey, HeldReport> itsReports;
    std::set<std::uint32_t> itsRecipients;
    XTimeMS itsNextNotices = 0;
    XTimeMS itsNextPositions = 0;
    std::deque<Failure> itsFailures;
    std::uint64_t itsFailureCount = 0;
    std::uint64_t itsCompletedJobs = 0;
    XJobRate itsRate{ kRatePeriodMS, kRatePeriods };
    XJobRate itsThroughput{ XNetJobStatus::kThroughputPeriodMS, XNetJobStatus::kMostThroughputPeriods + 1 };
};

// ---- Peers

Peer* XNetJobDispatcher::XImp::FindPeer( std::uint32_t inID )
{
    const auto found = itsPeers.find( inID );
    return found == itsPeers.end() ? nullptr : &found->second;
}

Peer& XNetJobDispatcher::XImp::GetPeer( std::uint32_t inID )
{
    Peer* const peer = FindPeer( inID );
    if ( !peer )
        XThrow( kErrorDisconnected );
    return *peer;
}

std::uint32_t
XNetJobDispatcher::XImp::ChooseID( std::uint32_t inFormerID, const XUUID& inInstance, bool inIsNode ) const
{
    std::uint32_t id = inFormerID;
    for ( ;; )
    {
        const auto found = itsPeers.find( id );
        const bool isFree = found == itsPeers.end() ||
            ( found->second.info.GetInstanceID() == inInstance && found->second.isNode == inIsNode );
        if ( id != 0 && isFree )
            return id;
        if ( const std::uint32_t error = WRandomBytes::Fill( &id, sizeof( id ) ) )
            XThrow( error );
    }
}

std::uint32_t XNetJobDispatcher::XImp::LogOn(
    XTimeMS inNow, const XAppVersion::XAppAndComputerInfo& inInfo, std::uint32_t inFormerID, bool inIsNode )
{
    Peer peer;
    peer.isNode = inIsNode;
    peer.info = inInfo;
    peer.logonTime = peer.lastHeard = inNow;
    if ( !itsAppVersion.IsCompatibleWith( inInfo.GetAppVersion() ) )
    {
        AddFailure(
            inNow,
            peer.Describe() + " refused: " + inInfo.GetAppVersion().GetDescription().GetConstCharPtr() +
                " is not compatible with " + itsAppVersion.GetDescription().GetConstCharPtr() );
        XThrow( kErrorClientTooNew );
    }
    const std::uint32_t id = ChooseID( inFormerID, inInfo.GetInstanceID(), inIsNode );
    if ( const Peer* const former = FindPeer( id ) )
    {
        peer.completedJobs = former->completedJobs;
        peer.rate = former->rate;
    }
    itsPeers[id] = peer;
    XSessionLogManager::Log( kLogInformation, ( peer.Describe() + " has logged on" ).c_str() );
    return id;
}

void XNetJobDispatcher::XImp::Drop( std::uint32_t inID, bool inIsLost )
{
    const Peer* const peer = FindPeer( inID );
    if ( !peer )
        return;
    const bool isNode = peer->isNode;
    itsPeers.erase( inID );
    if ( isNode )
        scheduler.RemoveNode( inID, inIsLost );
    else
        DropJobsOf( inID );
}

void XNetJobDispatcher::XImp::DropJobsOf( std::uint32_t inClientID )
{
    scheduler.RemoveClient( inClientID );
    const auto first = itsJobs.lower_bound( { inClientID, 0, 0 } );
    auto last = first;
    for ( ; last != itsJobs.end() && last->first.clientID == inClientID; ++last )
        if ( last->second.resultNodeID != 0 )
            Send( last->second.resultNodeID, MakeEvent( XNetJobEvent::kTaken, last->first ) );
    itsJobs.erase( first, last );
}

void XNetJobDispatcher::XImp::DropLostPeers( XTimeMS inNow )
{
    XVector<std::uint32_t> lost;
    for ( const auto& [id, peer] : itsPeers )
    {
        const XTimeMS grace = peer.isNode ? itsSettings.nodeGraceMS : itsSettings.clientGraceMS;
        const bool hasGone = peer.endTime && inNow >= *peer.endTime + grace;
        if ( !hasGone && inNow < peer.lastHeard + itsSettings.silenceMS )
            continue;
        lost.push_back( id );
        const std::string text = peer.Describe() +
            " lost: " + ( hasGone ? "its connection ended" : "no sign of life for too long" );
        if ( peer.isTemporary )
            XSessionLogManager::Log( kLogInformation, text.c_str() );
        else
            AddFailure( inNow, text );
    }
    for ( const std::uint32_t id : lost )
        Drop( id, true );
}

// ---- Events

TrackedJob* XNetJobDispatcher::XImp::FindJob( const XJobKey& inKey )
{
    const auto found = itsJobs.find( inKey );
    return found == itsJobs.end() ? nullptr : &found->second;
}

/// A peer without connection gets no events: its next logon makes up for them.
void XNetJobDispatcher::XImp::Send( std::uint32_t inID, const XNetJobEvent& inEvent )
{
    Peer* const peer = FindPeer( inID );
    if ( !peer || peer->endTime )
        return;
    itsRecipients.insert( inID );
    peer->outbox.push_back( inEvent );
}

XVector<std::uint32_t> XNetJobDispatcher::XImp::TakeRecipients()
{
    const auto hasNone = [&]( std::uint32_t inID )
    {
        const Peer* const peer = FindPeer( inID );
        return !peer || ( peer->outbox.empty() && !peer->areNoticesDue );
    };
    std::erase_if( itsRecipients, hasNone );
    const std::set<std::uint32_t> recipients = std::exchange( itsRecipients, {} );
    return { recipients.begin(), recipients.end() };
}

void XNetJobDispatcher::XImp::SendResultsAgain( std::uint32_t inClientID )
{
    for ( auto job = itsJobs.lower_bound( { inClientID, 0, 0 } );
          job != itsJobs.end() && job->first.clientID == inClientID; ++job )
        if ( job->second.result )
            Send( inClientID, *job->second.result );
}

void XNetJobDispatcher::XImp::HandleClientEvent( XNetJobEvent inEvent )
{
    const XJobKey key = GetKey( inEvent );
    switch ( inEvent.kind )
    {
    case XNetJobEvent::kSubmit:
    case XNetJobEvent::kSubmitSuspended:
        return Submit( key, inEvent );
    case XNetJobEvent::kStop:
        return FindJob( key ) ? scheduler.StopJob( key ) : StopUnknown( key );
    case XNetJobEvent::kSuspend:
        return scheduler.SuspendJob( key );
    case XNetJobEvent::kResume:
        return scheduler.ResumeJob( key );
    case XNetJobEvent::kTaken:
        return Take( key );
    default:
        XThrow( kErrorBadParameters );
    }
}

void XNetJobDispatcher::XImp::Submit( const XJobKey& inKey, XNetJobEvent& ioEvent )
{
    const auto [job, isNew] = itsJobs.try_emplace( inKey );
    if ( !isNew )
        return;
    const XVersion jobClass( static_cast<std::uint32_t>( ioEvent.value ) );
    scheduler.AddJob( { inKey, jobClass, {}, ioEvent.kind == XNetJobEvent::kSubmitSuspended } );
    job->second.jobClass = jobClass;
    job->second.bytes = std::move( ioEvent.bytes );
    const auto [first, last] = itsReports.equal_range( inKey );
    XVector<HeldReport> reports;
    for ( auto report = first; report != last; ++report )
        reports.push_back( std::move( report->second ) );
    itsReports.erase( first, last );
    for ( const HeldReport& report : reports )
        if ( FindPeer( report.nodeID ) )
            HandleReport( report.time, report.nodeID, report.event );
}

void XNetJobDispatcher::XImp::Take( const XJobKey& inKey )
{
    const TrackedJob* const job = FindJob( inKey );
    if ( !job || !job->result )
        return;
    Send( job->resultNodeID, MakeEvent( XNetJobEvent::kTaken, inKey ) );
    itsJobs.erase( inKey );
}

/// A job that was submitted to an earlier service, or has ended and been taken.
void XNetJobDispatcher::XImp::StopUnknown( const XJobKey& inKey )
{
    const auto [first, last] = itsReports.equal_range( inKey );
    for ( auto report = first; report != last; ++report )
        Send( report->second.nodeID, MakeEvent( XNetJobEvent::kTaken, inKey ) );
    itsReports.erase( first, last );
    Send( inKey.clientID, MakeEvent( XNetJobEvent::kFailed, inKey, kErrorJobStopped ) );
}

void XNetJobDispatcher::XImp::HandleNodeEvent(
    XTimeMS inNow, std::uint32_t inNodeID, const XNetJobEvent& inEvent )
{
    switch ( inEvent.kind )
    {
    case XNetJobEvent::kStarted:
        scheduler.JobHasStarted( inNow, inNodeID, GetKey( inEvent ) );
        return Notify( MakeEvent( XNetJobEvent::kStarted, GetKey( inEvent ), inNodeID ) );
    case XNetJobEvent::kProgress:
        return Notify( inEvent );
    case XNetJobEvent::kAcceptsNoJobs:
        return scheduler.SetAcceptsJobs( inNodeID, false );
    case XNetJobEvent::kMemoryInUse:
        GetPeer( inNodeID ).memoryInUse = inEvent.value;
        return;
    case XNetJobEvent::kMemoryBudget:
        GetPeer( inNodeID ).memoryBudget = inEvent.value;
        return;
    case XNetJobEvent::kReturned:
        DropReportsOf( inNodeID, GetKey( inEvent ) );
        return scheduler.JobWasReturned( inNodeID, GetKey( inEvent ) );
    case XNetJobEvent::kHolds:
    case XNetJobEvent::kEnded:
        return HandleReport( inNow, inNodeID, inEvent );
    default:
        XThrow( kErrorBadParameters );
    }
}

/// A node has a job, or its result.
void XNetJobDispatcher::XImp::HandleReport(
    XTimeMS inNow, std::uint32_t inNodeID, const XNetJobEvent& inEvent )
{
    const XJobKey key = GetKey( inEvent );
    TrackedJob* const job = FindJob( key );
    if ( job && inEvent.kind == XNetJobEvent::kEnded )
        return HandleEnd( inNow, inNodeID, *job, inEvent );
    const bool isItsResultKept = job && job->result && job->resultNodeID == inNodeID; // until it is taken
    if ( isItsResultKept || scheduler.NodeHoldsJob( inNodeID, key ) )
        return;
    if ( !job && MayBeSubmitted( inNow, key.clientID ) )
        itsReports.emplace( key, HeldReport{ inNow, inNodeID, inEvent } );
    else
        Send( inNodeID, MakeEvent( XNetJobEvent::kTaken, key ) );
}

void XNetJobDispatcher::XImp::HandleEnd(
    XTimeMS inNow, std::uint32_t inNodeID, TrackedJob& ioJob, const XNetJobEvent& inEvent )
{
    const XJobKey key = GetKey( inEvent );
    if ( scheduler.JobHasEnded( inNodeID, key, inEvent.value ) )
    {
        ++itsCompletedJobs;
        itsRate.Count( inNow );
        itsThroughput.Count( inNow );
        for ( const std::uint32_t id : { inNodeID, key.clientID } )
            if ( Peer* const peer = FindPeer( id ) )
            {
                ++peer->completedJobs;
                peer->rate.Count( inNow );
            }
        ioJob.resultNodeID = inNodeID;
        SetResult( ioJob, MakeEvent( XNetJobEvent::kEnded, key, inNodeID, inEvent.bytes ) );
    }
    else if ( ioJob.resultNodeID != inNodeID )
        Send( inNodeID, MakeEvent( XNetJobEvent::kTaken, key ) );
}

bool XNetJobDispatcher::XImp::MayBeSubmitted( XTimeMS inNow, std::uint32_t inClientID )
{
    const Peer* const client = FindPeer( inClientID );
    return !client || client->endTime || inNow < client->logonTime + itsSettings.clientGraceMS;
}

void XNetJobDispatcher::XImp::SetResult( TrackedJob& ioJob, XNetJobEvent inResult )
{
    if ( Peer* const client = FindPeer( inResult.clientID ) )
        for ( const auto kind : { XNetJobEvent::kStarted, XNetJobEvent::kProgress } )
            client->notices.erase( { GetKey( inResult ), kind } );
    Send( inResult.clientID, inResult );
    ioJob.bytes = {};
    ioJob.result = std::move( inResult );
}

/// The node has the job no more.
void XNetJobDispatcher::XImp::DropReportsOf( std::uint32_t inNodeID, const XJobKey& inKey )
{
    const auto [first, last] = itsReports.equal_range( inKey );
    for ( auto next = first; next != last; )
        if ( const auto report = next++; report->second.nodeID == inNodeID )
            itsReports.erase( report );
}

/// Replaced by those of the node's next logon.
void XNetJobDispatcher::XImp::DropReportsOf( std::uint32_t inNodeID )
{
    std::erase_if( itsReports, [&]( const auto& inReport ) { return inReport.second.nodeID == inNodeID; } );
}

void XNetJobDispatcher::XImp::DropOldReports( XTimeMS inNow )
{
    const auto isOld = [&]( const auto& inReport )
    { return inNow >= inReport.second.time + itsSettings.clientGraceMS; };
    for ( const auto& report : itsReports )
        if ( isOld( report ) )
            Send( report.second.nodeID, MakeEvent( XNetJobEvent::kTaken, report.first ) );
    std::erase_if( itsReports, isOld );
}

void XNetJobDispatcher::XImp::CarryOutActions( XTimeMS inNow )
{
    for ( const XNetJobScheduler::XAction& action : scheduler.TakeActions( inNow ) )
        CarryOut( inNow, action );
}

void XNetJobDispatcher::XImp::CarryOut( XTimeMS inNow, const XNetJobScheduler::XAction& inAction )
{
    const XJobKey& key = inAction.key;
    TrackedJob* const job = FindJob( key );
    if ( inAction.kind == XNetJobScheduler::kStop )
        return Send( inAction.nodeID, MakeEvent( XNetJobEvent::kStop, key ) );
    if ( !job )
        return; // dropped meanwhile
    switch ( inAction.kind )
    {
    case XNetJobScheduler::kAssign:
        return Send( inAction.nodeID, MakeEvent( XNetJobEvent::kAssign, key, job->jobClass, job->bytes ) );
    case XNetJobScheduler::kRecall:
        return Send( inAction.nodeID, MakeEvent( XNetJobEvent::kRecall, key ) );
    case XNetJobScheduler::kStopped:
        return SetResult( *job, MakeEvent( XNetJobEvent::kFailed, key, kErrorJobStopped ) );
    case XNetJobScheduler::kFailed:
        AddFailure( inNow, "job " + std::to_string( key.jobID ) + ": " + std::string( kNodesWereLost ) );
        return SetResult(
            *job,
            MakeEvent(
                XNetJobEvent::kFailed, key, kErrorDisconnected,
                { kNodesWereLost.begin(), kNodesWereLost.end() } ) );
    default:
        return;
    }
}

// ---- Notices and status

/// Keeps the newest notice of its kind about the job for its client.
void XNetJobDispatcher::XImp::Notify( const XNetJobEvent& inNotice )
{
    const XJobKey key = GetKey( inNotice );
    Peer* const client = FindPeer( key.clientID );
    const TrackedJob* const job = FindJob( key );
    const bool isWanted = job ? !job->result : inNotice.kind == XNetJobEvent::kPosition;
    if ( client && !client->isNode && !client->endTime && isWanted )
        client->notices.insert_or_assign( { key, inNotice.kind }, inNotice );
}

void XNetJobDispatcher::XImp::NotifyOfPosition( std::uint32_t inClientID )
{
    const XNetJobScheduler::XCounts counts = scheduler.CountJobs( inClientID );
    if ( counts.waiting + counts.assigned == 0 )
        return;
    const XNetJobScheduler::XOutlook outlook = scheduler.GetOutlook( inClientID );
    const XJobKey next = outlook.nextJob.value_or( XJobKey() );
    const auto narrow = []( std::uint64_t inNumber )
    { return static_cast<std::uint32_t>( std::min<std::uint64_t>( inNumber, 0xFFFFFFFF ) ); };
    const XNetJobQueuePositionChangedMessage message(
        nullptr, next.jobQueueID, next.jobID, narrow( outlook.nextJob ? outlook.otherWaitingClients : 0 ),
        narrow( counts.waiting ), narrow( counts.assigned ), narrow( outlook.workers ),
        XNetJobQueuePositionChangedMessage::kUnknownWait );
    Notify( MakeEvent( XNetJobEvent::kPosition, { inClientID, 0, 0 }, 0, XStoreAsBytes( message ) ) );
}

void XNetJobDispatcher::XImp::PassNoticesOn( XTimeMS inNow )
{
    if ( inNow < itsNextNotices )
        return;
    itsNextNotices = inNow + kNoticePeriodMS;
    const bool isPositionDue = inNow >= itsNextPositions;
    if ( isPositionDue )
        itsNextPositions = inNow + kPositionPeriodMS;
    for ( auto& [id, peer] : itsPeers )
    {
        if ( peer.isNode || peer.endTime )
            continue;
        if ( isPositionDue )
            NotifyOfPosition( id );
        if ( !peer.notices.empty() )
            itsRecipients.insert( id );
        peer.areNoticesDue = !peer.notices.empty();
    }
}

void XNetJobDispatcher::XImp::AddFailure( XTimeMS inNow, std::string inText )
{
    XSessionLogManager::Log( kLogWarning, inText.c_str() );
    ++itsFailureCount;
    itsFailures.push_back( { inNow, std::move( inText ) } );
    if ( itsFailures.size() > kMostFailures )
        itsFailures.pop_front();
}

void XNetJobDispatcher::XImp::DescribePeer(
    XTimeMS inNow, std::uint32_t inID, const Peer& inPeer, XNetJobStatus::XPeer& outPeer ) const
{
    outPeer.id = inID;
    outPeer.name = inPeer.info.GetName();
    outPeer.computerName = inPeer.info.GetComputerName();
    outPeer.completedJobs = inPeer.completedJobs;
    outPeer.jobsInTenSeconds = inPeer.rate.GetSum( inNow );
    outPeer.isConnected = !inPeer.endTime;
}

XNetJobStatus::XNode
XNetJobDispatcher::XImp::DescribeNode( XTimeMS inNow, std::uint32_t inID, const Peer& inPeer ) const
{
    XNetJobStatus::XNode node;
    DescribePeer( inNow, inID, inPeer, node );
    node.workers = inPeer.workers;
    node.silentMS = inNow - inPeer.lastHeard;
    node.memoryInUse = inPeer.memoryInUse;
    node.memoryBudget = inPeer.memoryBudget;
    const XNetJobScheduler::XNodeCounts counts = scheduler.CountRuns( inID );
    node.assignedJobs = counts.assigned;
    node.startedJobs = counts.started;
    if ( !counts.longestJob )
        return node;
    node.currentClientID = counts.longestJob->clientID;
    node.currentJobID = counts.longestJob->jobID;
    node.currentRunMS = inNow - counts.longestStart;
    if ( const auto job = itsJobs.find( *counts.longestJob ); job != itsJobs.end() )
        node.currentJobClass = job->second.jobClass;
    return node;
}

XNetJobStatus::XClient
XNetJobDispatcher::XImp::DescribeClient( XTimeMS inNow, std::uint32_t inID, const Peer& inPeer ) const
{
    XNetJobStatus::XClient client;
    DescribePeer( inNow, inID, inPeer, client );
    const XNetJobScheduler::XCounts counts = scheduler.CountJobs( inID );
    client.assignedJobs = counts.assigned;
    client.waitingJobs = counts.waiting;
    client.suspendedJobs = counts.suspended;
    return client;
}

XNetJobStatus XNetJobDispatcher::XImp::GetStatus( XTimeMS inNow ) const
{
    XNetJobStatus status;
    status.completedJobs = itsCompletedJobs;
    status.jobsInTenSeconds = itsRate.GetSum( inNow );
    status.failureCount = itsFailureCount;
    for ( const auto& [id, peer] : itsPeers )
        if ( peer.isNode )
            status.nodes.push_back( DescribeNode( inNow, id, peer ) );
        else
            status.clients.push_back( DescribeClient( inNow, id, peer ) );
    for ( const Failure& failure : itsFailures )
        status.failures.push_back( { inNow - failure.time, XString( failure.text.c_str() ) } );
    status.throughput = itsThroughput.GetCounts( inNow );
    if ( !status.throughput.empty() )
        status.throughput.pop_back(); // the present period
    return status;
}

// ---- The interface

XNetJobDispatcher::XNetJobDispatcher( const XAppVersion& inAppVersion )
    : XNetJobDispatcher( inAppVersion, XSettings() )
{
}

XNetJobDispatcher::XNetJobDispatcher( const XAppVersion& inAppVersion, const XSettings& inSettings )
    : itsImp( std::make_unique<XImp>( inAppVersion, inSettings ) )
{
}

XNetJobDispatcher::~XNetJobDispatcher() = default;

std::uint32_t XNetJobDispatcher::LogOnClient(
    XTimeMS inNow, const XAppVersion::XAppAndComputerInfo& inInfo, std::uint32_t inFormerID )
{
    const std::uint32_t id = itsImp->LogOn( inNow, inInfo, inFormerID, false );
    itsImp->SendResultsAgain( id );
    return id;
}

std::uint32_t XNetJobDispatcher::LogOnNode(
    XTimeMS inNow, const XNetJobQueueNode::XLogonInfo& inInfo, std::uint32_t inFormerID,
    const XEvents& inReports )
{
    RequireReports( inReports );
    const std::uint32_t id = itsImp->LogOn( inNow, inInfo.GetInfo(), inFormerID, true );
    itsImp->scheduler.RemoveNode( id, false ); // of its former logon
    itsImp->DropReportsOf( id );
    Peer& node = itsImp->GetPeer( id );
    node.workers = inInfo.GetWorkerCount();
    node.isTemporary = inInfo.GetNodeType() == XNetJobQueueNode::kNodeTemporary;
    itsImp->scheduler.AddNode( id, inInfo.GetWorkerCount(), inInfo.GetSupportedJobClasses() );
    for ( const XNetJobEvent& report : inReports )
        itsImp->HandleNodeEvent( inNow, id, report );
    itsImp->CarryOutActions( inNow );
    return id;
}

bool XNetJobDispatcher::IsLoggedOn( std::uint32_t inID ) const
{
    return itsImp->FindPeer( inID ) != nullptr;
}

void XNetJobDispatcher::HasShownLife( XTimeMS inNow, std::uint32_t inID )
{
    itsImp->GetPeer( inID ).lastHeard = inNow;
}

void XNetJobDispatcher::ConnectionHasEnded( XTimeMS inNow, std::uint32_t inID )
{
    Peer* const peer = itsImp->FindPeer( inID );
    if ( !peer || peer->endTime )
        return;
    peer->endTime = inNow;
    peer->outbox.clear();
    peer->notices.clear();
    if ( peer->isNode )
        itsImp->scheduler.SetAcceptsJobs( inID, false );
}

void XNetJobDispatcher::LogOff( XTimeMS inNow, std::uint32_t inID )
{
    if ( const Peer* const peer = itsImp->FindPeer( inID ) )
        XSessionLogManager::Log( kLogInformation, ( peer->Describe() + " has logged off" ).c_str() );
    itsImp->Drop( inID, false );
    itsImp->CarryOutActions( inNow );
}

void XNetJobDispatcher::Receive( XTimeMS inNow, std::uint32_t inID, const XEvents& inEvents )
{
    Peer& peer = itsImp->GetPeer( inID );
    peer.lastHeard = inNow;
    for ( XNetJobEvent event : inEvents )
    {
        if ( peer.isNode )
            itsImp->HandleNodeEvent( inNow, inID, event );
        else
        {
            event.clientID = inID;
            itsImp->HandleClientEvent( std::move( event ) );
        }
    }
    itsImp->CarryOutActions( inNow );
}

XNetJobDispatcher::XEvents XNetJobDispatcher::TakeEvents( std::uint32_t inID, USize64 inMostBytes )
{
    return itsImp->GetPeer( inID ).Take( inMostBytes );
}

XVector<std::uint32_t> XNetJobDispatcher::TakeRecipients()
{
    return itsImp->TakeRecipients();
}

void XNetJobDispatcher::Tick( XTimeMS inNow )
{
    itsImp->DropLostPeers( inNow );
    itsImp->DropOldReports( inNow );
    itsImp->CarryOutActions( inNow );
    itsImp->PassNoticesOn( inNow );
}

XNetJobStatus XNetJobDispatcher::GetStatus( XTimeMS inNow ) const
{
    return itsImp->GetStatus( inNow );
}
