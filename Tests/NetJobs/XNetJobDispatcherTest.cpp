#include "NetJobs/Internal/XNetJobDispatcher.h"

#include "NetJobs/Internal/XStoredBytes.h"
#include "NetJobs/XJobProgressInfo.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "Services/XAppAndComputerInfo.h"
#include "Testing.h"

namespace
{

using XEvents = XNetJobDispatcher::XEvents;
using XKind = XNetJobEvent::XKind;

constexpr XVersion kClass( 40000, 0 );
constexpr std::uint32_t kQueue = 5;

const XVector<std::uint8_t> kJobBytes{ 1, 2, 3 };
const XVector<std::uint8_t> kResultBytes{ 4, 5 };

/// A dispatcher with a clock.
class Service
{
public:
    std::uint32_t AddClient( std::uint32_t inFormerID = 0 )
    {
        return dispatcher.LogOnClient( now, XAppVersion::XAppAndComputerInfo::GetCurrent(), inFormerID );
    }
    std::uint32_t AddNode( std::uint32_t inFormerID = 0, const XEvents& inReports = {} )
    {
        const XNetJobQueueNode::XLogonInfo info(
            XNetJobQueueNode::kNodePermanent, XAppVersion::XAppAndComputerInfo::GetCurrent(), { kClass },
            !inReports.empty(), 1 );
        return dispatcher.LogOnNode( now, info, inFormerID, inReports );
    }
    void Send( std::uint32_t inFrom, XKind inKind, std::uint32_t inClient, std::uint32_t inJob )
    {
        dispatcher.Receive( now, inFrom, { Make( inKind, inClient, inJob ) } );
    }
    static XNetJobEvent Make( XKind inKind, std::uint32_t inClient, std::uint32_t inJob )
    {
        XNetJobEvent event( inKind, inClient, kQueue, inJob );
        if ( inKind == XNetJobEvent::kSubmit )
        {
            event.value = kClass;
            event.bytes = kJobBytes;
        }
        if ( inKind == XNetJobEvent::kEnded )
            event.bytes = kResultBytes;
        return event;
    }
    /// The events for a peer as "kind job", in order, without the positions of its jobs.
    std::string Take( std::uint32_t inID, USize64 inMostBytes = ~USize64( 0 ) )
    {
        std::string text;
        for ( const XNetJobEvent& event : dispatcher.TakeEvents( inID, inMostBytes ) )
        {
            if ( event.kind == XNetJobEvent::kPosition )
            {
                position = event.bytes;
                continue;
            }
            constexpr const char* kNames[] = {
                "submit", "submit suspended", "assign",  "stop",     "suspend",
                "resume", "recall",           "started", "returned", "holds",
                "ended",  "failed",           "taken",   "progress", "position" };
            text += std::string( text.empty() ? "" : ", " ) + kNames[event.kind] + ' ' +
                std::to_string( event.jobID );
            const bool hasJob = event.kind == XNetJobEvent::kAssign;
            const bool hasResult = event.kind == XNetJobEvent::kEnded;
            EXPECT_EQ( event.bytes, hasJob ? kJobBytes : hasResult ? kResultBytes : XVector<std::uint8_t>() );
        }
        return text;
    }
    /// Passes time during which the peers send heartbeats.
    void Pass( XNetJobDispatcher::XTimeMS inTime, const XVector<std::uint32_t>& inPeers )
    {
        for ( const auto end = now + inTime; now < end; now += 500 )
        {
            for ( const std::uint32_t peer : inPeers )
                dispatcher.Receive( now, peer, {} );
            dispatcher.Tick( now );
        }
    }

    XNetJobDispatcher dispatcher{ XAppVersion::GetCurrent() };
    XNetJobDispatcher::XTimeMS now = 1000;
    XVector<std::uint8_t> position; // the last one taken
};

} // namespace

TEST( XNetJobDispatcherTest, PassesJobsToNodesAndResultsBackOnce )
{
    Service service;
    const std::uint32_t client = service.AddClient();
    const std::uint32_t node = service.AddNode();
    service.Send( client, XNetJobEvent::kSubmit, 0, 7 );
    service.Send( client, XNetJobEvent::kSubmit, 0, 7 );
    EXPECT_EQ( service.dispatcher.TakeRecipients(), XVector<std::uint32_t>{ node } );
    EXPECT_EQ( service.Take( node ), "assign 7" );
    service.Send( node, XNetJobEvent::kStarted, client, 7 );
    service.Send( node, XNetJobEvent::kEnded, client, 7 );
    service.Send( node, XNetJobEvent::kEnded, client, 7 );
    EXPECT_EQ( service.dispatcher.TakeRecipients(), XVector<std::uint32_t>{ client } );
    EXPECT_EQ( service.Take( client ), "ended 7" );
    service.AddNode( node, { Service::Make( XNetJobEvent::kHolds, client, 7 ) } );
    EXPECT_EQ( service.Take( node ), "" ); // keeps the result until the client has it
    service.Send( client, XNetJobEvent::kTaken, 0, 7 );
    EXPECT_EQ( service.Take( node ), "taken 7" );
    service.Pass( 20'000, { client, node } );
    EXPECT_EQ( service.Take( client ) + service.Take( node ), "" );
}

TEST( XNetJobDispatcherTest, LostNodesLoseTheirJobsAndKeepThemWhenTheyComeBackInTime )
{
    Service service;
    const std::uint32_t client = service.AddClient();
    const std::uint32_t silent = service.AddNode();
    service.Send( client, XNetJobEvent::kSubmit, 0, 7 );
    service.Send( client, XNetJobEvent::kSubmit, 0, 8 );
    EXPECT_EQ( service.Take( silent ), "assign 7, assign 8" );
    service.Pass( 10'500, { client } );
    EXPECT_ERROR( 3100, service.dispatcher.Receive( service.now, silent, {} ) );

    const std::uint32_t node = service.AddNode();
    EXPECT_EQ( service.Take( node ), "assign 7" ); // one suspected job at a time
    service.dispatcher.ConnectionHasEnded( service.now, node );
    service.Pass( 500, { client } );
    EXPECT_EQ(
        service.AddNode( node, { Service::Make( XNetJobEvent::kEnded, client, 7 ) } ),
        node ); // within the grace
    EXPECT_EQ( service.Take( client ), "ended 7" );
    EXPECT_EQ( service.Take( node ), "assign 8" );
    service.dispatcher.ConnectionHasEnded( service.now, node );
    service.Pass( 1500, { client } );
    const std::uint32_t other = service.AddNode();
    EXPECT_EQ( service.Take( other ), "assign 8" );
    service.AddNode(
        node, { Service::Make( XNetJobEvent::kEnded, client, 8 ) } ); // later, yet with the first result
    EXPECT_EQ( service.Take( client ), "ended 8" );
    EXPECT_EQ( service.Take( other ), "stop 8" );
    service.Send( other, XNetJobEvent::kEnded, client, 8 );
    EXPECT_EQ( service.Take( other ), "taken 8" );
}

TEST( XNetJobDispatcherTest, ClientsGetResultsAgainAndAreForgottenWhenTheyStayAway )
{
    Service service;
    const std::uint32_t client = service.AddClient();
    const std::uint32_t node = service.AddNode();
    for ( const std::uint32_t job : { 7u, 8u, 9u } )
        service.Send( client, XNetJobEvent::kSubmit, 0, job );
    service.Send( node, XNetJobEvent::kEnded, client, 7 );
    EXPECT_EQ( service.Take( client ), "ended 7" );
    service.dispatcher.ConnectionHasEnded( service.now, client );
    service.Send( node, XNetJobEvent::kEnded, client, 8 );
    EXPECT_EQ( service.AddClient( client ), client );
    EXPECT_EQ( service.Take( client ), "ended 7, ended 8" );
    service.dispatcher.ConnectionHasEnded( service.now, client );
    service.Take( node );
    service.Pass( 10'500, { node } );
    EXPECT_EQ( service.Take( node ), "taken 7, taken 8, stop 9" );
    EXPECT_NE( service.AddNode( client ), 0u );
    EXPECT_NE( service.AddClient( node ), node ); // the ID of another peer
}

TEST( XNetJobDispatcherTest, ANewServiceLearnsFromNodesAndClients )
{
    Service service;
    constexpr std::uint32_t kClient = 4711;
    const std::uint32_t node = service.AddNode(
        0,
        { Service::Make( XNetJobEvent::kEnded, kClient, 7 ),
          Service::Make( XNetJobEvent::kHolds, kClient, 8 ),
          Service::Make( XNetJobEvent::kHolds, kClient, 9 ), Service::Make( XNetJobEvent::kHolds, 99, 1 ) } );
    EXPECT_EQ( service.AddClient( kClient ), kClient );
    for ( const std::uint32_t job : { 7u, 8u } )
        service.Send( kClient, XNetJobEvent::kSubmit, 0, job );
    EXPECT_EQ( service.Take( kClient ), "ended 7" );
    EXPECT_EQ( service.Take( node ), "" ); // it has them
    const std::uint32_t other = service.AddNode( 0, { Service::Make( XNetJobEvent::kHolds, kClient, 10 ) } );
    EXPECT_EQ( service.AddNode( other ), other ); // without the job
    service.Send( kClient, XNetJobEvent::kSubmit, 0, 10 );
    EXPECT_EQ( service.Take( other ), "assign 10" );
    const std::uint32_t ending = service.AddNode( 0, { Service::Make( XNetJobEvent::kHolds, kClient, 11 ) } );
    service.Send( ending, XNetJobEvent::kReturned, kClient, 11 );
    service.Send( kClient, XNetJobEvent::kSubmit, 0, 11 );
    EXPECT_EQ( service.Take( ending ), "assign 11" );
    service.Pass( 10'500, { kClient, node, other, ending } );
    EXPECT_EQ( service.Take( node ), "taken 1, taken 9" );
}

TEST( XNetJobDispatcherTest, RefusesOtherVersionsAndEvents )
{
    XNetJobDispatcher other( XAppVersion( "another application", 1, 0, 0 ) );
    EXPECT_ERROR( 3092, other.LogOnClient( 0, XAppVersion::XAppAndComputerInfo::GetCurrent(), 0 ) );
    EXPECT_EQ( other.GetStatus( 0 ).failures.size(), 1u );
    Service service;
    const std::uint32_t client = service.AddClient();
    const std::uint32_t node = service.AddNode();
    EXPECT_ERROR( 1013, service.Send( client, XNetJobEvent::kEnded, 0, 7 ) );
    EXPECT_ERROR( 1013, service.Send( node, XNetJobEvent::kSubmit, client, 7 ) );
    EXPECT_ERROR( 1013, service.AddNode( 0, { Service::Make( XNetJobEvent::kTaken, client, 7 ) } ) );
    service.Send( client, XNetJobEvent::kSubmit, 0, 7 );
    service.Send( client, XNetJobEvent::kStop, 0, 7 );
    service.dispatcher.LogOff( service.now, node );
    EXPECT_EQ( service.Take( client ), "failed 7" );
    // Of an earlier service: without an answer, the client would repeat the request at each logon.
    const std::uint32_t holder = service.AddNode( 0, { Service::Make( XNetJobEvent::kHolds, client, 8 ) } );
    service.Send( client, XNetJobEvent::kStop, 0, 8 );
    EXPECT_EQ( service.Take( client ), "failed 8" );
    EXPECT_EQ( service.Take( holder ), "taken 8" );
}

TEST( XNetJobDispatcherTest, PassesTheNewestNoticesOnAndCountsWhatHappened )
{
    Service service;
    const std::uint32_t client = service.AddClient();
    const std::uint32_t other = service.AddClient();
    const std::uint32_t node = service.AddNode();
    for ( const std::uint32_t job : { 7u, 8u, 9u } )
        service.Send( client, XNetJobEvent::kSubmit, 0, job );
    service.Send( other, XNetJobEvent::kSubmit, 0, 1 );
    EXPECT_EQ( service.Take( node, 4 ), "assign 7" ); // limited by bytes
    EXPECT_EQ( service.Take( node ), "assign 8" );
    for ( int i = 0; i < 3; ++i )
    {
        service.Send( node, XNetJobEvent::kStarted, client, 7 );
        service.Send( node, XNetJobEvent::kProgress, client, 7 );
        service.Send( node, XNetJobEvent::kStarted, client, 8 );
    }
    EXPECT_EQ( service.Take( client ), "" );
    service.Pass( 1500, { client, other, node } );
    EXPECT_EQ( service.Take( client ), "started 7, progress 7, started 8" );
    const auto position = XReadFromBytes<XNetJobQueuePositionChangedMessage>( service.position );
    EXPECT_EQ( position->GetNextJobID(), 9u );
    EXPECT_EQ( position->GetPosition(), 1u );
    EXPECT_EQ( position->GetWaitingJobs() + position->GetRunningJobs() + position->GetWorkers(), 4u );
    service.Send( node, XNetJobEvent::kProgress, client, 8 );
    service.Send( node, XNetJobEvent::kEnded, client, 8 );
    service.Pass( 500, { client, other, node } );
    EXPECT_EQ( service.Take( client ), "ended 8" );

    service.Send( node, XNetJobEvent::kAcceptsNoJobs, 0, 0 );
    service.Send( node, XNetJobEvent::kReturned, client, 7 );
    service.Take( node );
    service.Pass( 500, { client, other, node } );
    EXPECT_EQ( service.Take( node ), "" );
    service.Pass( 11'000, { client, other } );
    const XNetJobStatus status = service.dispatcher.GetStatus( service.now );
    EXPECT_EQ( status.completedJobs, 1u );
    EXPECT_EQ( status.clients.size(), 2u );
    EXPECT_EQ( status.nodes.size(), 0u );
    EXPECT_CONTAINS( status.failures.at( 0 ).text.GetConstCharPtr(), "lost: no sign of life" );
}

TEST( XNetJobDispatcherTest, TheStatusHasRatesMemoryAndTheLongestRunInConstantSpace )
{
    Service service;
    const std::uint32_t client = service.AddClient();
    const std::uint32_t node = service.AddNode();
    const auto run = [&]( std::uint32_t inJob )
    {
        service.Send( client, XNetJobEvent::kSubmit, 0, inJob );
        service.Send( node, XNetJobEvent::kStarted, client, inJob );
        service.Send( node, XNetJobEvent::kEnded, client, inJob );
    };
    const auto getStatus = [&] { return service.dispatcher.GetStatus( service.now ); };
    EXPECT_TRUE( getStatus().throughput.empty() );
    run( 1 );
    run( 2 );
    service.Pass( 5000, { client, node } );
    run( 3 );
    service.dispatcher.Receive( service.now, node, { { XNetJobEvent::kMemoryInUse, 0, 0, 0, 7 } } );
    service.dispatcher.Receive( service.now, node, { { XNetJobEvent::kMemoryBudget, 0, 0, 0, 8 } } );
    EXPECT_ERROR( 1013, service.Send( client, XNetJobEvent::kMemoryInUse, 0, 0 ) );
    service.Send( client, XNetJobEvent::kSubmit, 0, 4 );
    service.Send( node, XNetJobEvent::kStarted, client, 4 );
    service.Pass( 1000, { client, node } );
    const XNetJobStatus status = getStatus();
    EXPECT_EQ( status.jobsInTenSeconds + status.clients.at( 0 ).jobsInTenSeconds, 6u );
    EXPECT_EQ( status.throughput, ( XVector<std::uint64_t>{ 2 } ) );
    const XNetJobStatus::XNode& described = status.nodes.at( 0 );
    EXPECT_EQ( described.jobsInTenSeconds, 3u );
    EXPECT_EQ( described.memoryInUse * 10 + described.memoryBudget, 78u );
    EXPECT_EQ( described.currentJobID, 4u );
    EXPECT_EQ( described.currentClientID, client );
    EXPECT_EQ( XVersion( described.currentJobClass ), kClass );
    EXPECT_EQ( described.currentRunMS, 1000u );

    service.Pass( 9000, { client, node } );
    EXPECT_EQ( getStatus().jobsInTenSeconds, 0u );
    EXPECT_EQ( getStatus().throughput, ( XVector<std::uint64_t>{ 2, 1, 0 } ) );
    for ( int i = 0; i < 90; ++i )
        service.Pass( 9000, { client, node } );
    EXPECT_EQ( getStatus().throughput, XVector<std::uint64_t>( XNetJobStatus::kMostThroughputPeriods, 0 ) );
    run( 5 );
    service.Pass( 5000, { client, node } );
    EXPECT_EQ( getStatus().throughput.back(), 1u );
    EXPECT_EQ( getStatus().throughput.size(), XNetJobStatus::kMostThroughputPeriods );
}

namespace
{

/// A client or node whose connection may be cut at any time, with the batches on the way.
struct Peer
{
    using Key = std::pair<std::uint32_t, std::uint32_t>; // client and job

    void LogOn( Service& ioService )
    {
        XEvents reports;
        for ( const Key& key : waiting )
            reports.push_back( Service::Make( XNetJobEvent::kHolds, key.first, key.second ) );
        for ( const Key& key : ended )
            reports.push_back( Service::Make( XNetJobEvent::kEnded, key.first, key.second ) );
        outgoing.clear();
        id = isNode ? ioService.AddNode( id, reports ) : ioService.AddClient( id );
        for ( const std::uint32_t job : unfinished )
            Post( XNetJobEvent::kSubmit, { id, job } );
        isConnected = true;
    }
    void Post( XKind inKind, const Key& inKey )
    {
        outgoing.push_back( Service::Make( inKind, inKey.first, inKey.second ) );
    }
    void HandleAsClient( const XNetJobEvent& inEvent )
    {
        if ( inEvent.kind != XNetJobEvent::kEnded && inEvent.kind != XNetJobEvent::kFailed )
            return;
        unfinished.erase( inEvent.jobID );
        Post( XNetJobEvent::kTaken, { id, inEvent.jobID } );
    }
    void End( const Key& inKey )
    {
        ended.insert( inKey );
        Post( XNetJobEvent::kEnded, inKey );
    }
    void HandleAsNode( const XNetJobEvent& inEvent )
    {
        const Key key( inEvent.clientID, inEvent.jobID );
        const bool wasWaiting = std::erase( waiting, key ) > 0;
        if ( inEvent.kind == XNetJobEvent::kAssign && !ended.contains( key ) )
            waiting.push_back( key );
        else if ( inEvent.kind == XNetJobEvent::kTaken )
            ended.erase( key );
        else if ( inEvent.kind == XNetJobEvent::kStop && wasWaiting )
            End( key );
        else if ( inEvent.kind == XNetJobEvent::kRecall && wasWaiting )
            Post( XNetJobEvent::kReturned, key );
    }
    void Work()
    {
        if ( waiting.empty() )
            return;
        End( waiting.front() );
        waiting.pop_front();
    }

    bool isNode = false;
    std::uint32_t id = 0;
    bool isConnected = false;
    XEvents outgoing;
    std::set<std::uint32_t> unfinished; // of a client
    std::deque<Key> waiting;            // of a node
    std::set<Key> ended;
};

} // namespace

/// Connections, nodes and the service fail at random: every job of the clients ends, and nodes keep nothing.
TEST( XNetJobDispatcherTest, LosesNothingWhateverFails )
{
    for ( unsigned seed = 1; seed <= 30; ++seed )
    {
        std::mt19937 random( seed );
        bool isCalm = false;
        const auto fails = [&]( unsigned inOneIn ) { return !isCalm && random() % inOneIn == 0; };
        auto service = std::make_unique<Service>();
        std::array<Peer, 5> peers;
        peers[2].isNode = peers[3].isNode = peers[4].isNode = true;
        std::uint32_t lastJob = 0;
        const auto exchange = [&]( Peer& ioPeer )
        {
            if ( !ioPeer.isConnected )
                ioPeer.LogOn( *service );
            const bool isCut = fails( 20 );
            if ( !isCut || fails( 2 ) )
                service->dispatcher.Receive( service->now, ioPeer.id, std::exchange( ioPeer.outgoing, {} ) );
            const XEvents events = service->dispatcher.TakeEvents( ioPeer.id );
            if ( !isCut || fails( 2 ) )
                for ( const XNetJobEvent& event : events )
                    ioPeer.isNode ? ioPeer.HandleAsNode( event ) : ioPeer.HandleAsClient( event );
            if ( isCut )
                service->dispatcher.ConnectionHasEnded( service->now, ioPeer.id );
            ioPeer.isConnected = !isCut;
        };
        const auto step = [&]
        {
            service->now += 50 + random() % 200;
            for ( Peer& peer : peers )
            {
                if ( !peer.isNode && !isCalm )
                {
                    peer.unfinished.insert( ++lastJob );
                    peer.Post( XNetJobEvent::kSubmit, { peer.id, lastJob } ); // a logon submits it, too
                }
                peer.Work();
                if ( !fails( 5 ) )
                    exchange( peer );
            }
            service->dispatcher.Tick( service->now );
            if ( !fails( 100 ) )
                return;
            const auto now = service->now;
            service = std::make_unique<Service>();
            service->now = now;
            for ( Peer& peer : peers )
                peer.isConnected = false;
        };
        for ( int i = 0; i < 1300; ++i )
        {
            isCalm = i >= 300;
            step();
        }
        for ( const Peer& peer : peers )
            ASSERT_EQ( peer.unfinished.size() + peer.waiting.size() + peer.ended.size(), 0u )
                << "seed " << seed;
    }
}
