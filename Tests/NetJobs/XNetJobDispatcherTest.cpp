#include "NetJobs/Internal/XNetJobDispatcher.h"

#include "Services/XAppAndComputerInfo.h"
#include "Testing.h"

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <utility>

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
    /// The events for a peer as "kind job", in order.
    std::string Take( std::uint32_t inID )
    {
        std::string text;
        for ( const XNetJobEvent& event : dispatcher.TakeEvents( inID ) )
        {
            constexpr const char* kNames[] = { "submit", "submit suspended", "assign",  "stop",     "suspend",
                                               "resume", "recall",           "started", "returned", "holds",
                                               "ended",  "failed",           "taken" };
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
    EXPECT_EQ( ErrorOf( [&] { service.dispatcher.Receive( service.now, silent, {} ); } ), 3100u );

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
    service.Pass( 10'500, { kClient, node, other } );
    EXPECT_EQ( service.Take( node ), "taken 1, taken 9" );
}

TEST( XNetJobDispatcherTest, RefusesOtherVersionsAndEvents )
{
    XNetJobDispatcher other( XAppVersion( "another application", 1, 0, 0 ) );
    EXPECT_EQ(
        ErrorOf( [&] { other.LogOnClient( 0, XAppVersion::XAppAndComputerInfo::GetCurrent(), 0 ); } ),
        3092u );
    Service service;
    const std::uint32_t client = service.AddClient();
    const std::uint32_t node = service.AddNode();
    EXPECT_EQ( ErrorOf( [&] { service.Send( client, XNetJobEvent::kEnded, 0, 7 ); } ), 1013u );
    EXPECT_EQ( ErrorOf( [&] { service.Send( node, XNetJobEvent::kSubmit, client, 7 ); } ), 1013u );
    EXPECT_EQ(
        ErrorOf( [&] { service.AddNode( 0, { Service::Make( XNetJobEvent::kTaken, client, 7 ) } ); } ),
        1013u );
    service.Send( client, XNetJobEvent::kSubmit, 0, 7 );
    service.Send( client, XNetJobEvent::kStop, 0, 7 );
    service.dispatcher.LogOff( service.now, node );
    EXPECT_EQ( service.Take( client ), "failed 7" );
}

namespace
{

/// A peer whose connection may be cut at any time, with the batches on the way.
struct Peer
{
    std::uint32_t id = 0;
    bool isConnected = false;
    XEvents outgoing;
};

struct TestClient : Peer
{
    std::map<std::uint32_t, int> jobs; // ends of each

    void LogOn( Service& ioService )
    {
        id = ioService.AddClient( id );
        outgoing.clear();
        for ( const auto& [job, ends] : jobs )
            if ( ends == 0 )
                outgoing.push_back( Service::Make( XNetJobEvent::kSubmit, id, job ) );
    }
    void Handle( const XNetJobEvent& inEvent )
    {
        int& ends = jobs[inEvent.jobID];
        ends = std::max( ends, 1 );
        outgoing.push_back( Service::Make( XNetJobEvent::kTaken, id, inEvent.jobID ) );
    }
};

struct TestNode : Peer
{
    std::deque<XNetJobEvent> waiting;
    std::map<std::pair<std::uint32_t, std::uint32_t>, XNetJobEvent> ended;

    void LogOn( Service& ioService )
    {
        XEvents reports;
        for ( const XNetJobEvent& event : waiting )
            reports.push_back( Service::Make( XNetJobEvent::kHolds, event.clientID, event.jobID ) );
        for ( const auto& [key, event] : ended )
            reports.push_back( event );
        outgoing.clear();
        id = ioService.AddNode( id, reports );
    }
    bool Forget( const XNetJobEvent& inEvent )
    {
        const auto isSame = [&]( const XNetJobEvent& inOther )
        { return inOther.clientID == inEvent.clientID && inOther.jobID == inEvent.jobID; };
        return std::erase_if( waiting, isSame ) > 0;
    }
    void End( const XNetJobEvent& inEvent )
    {
        const XNetJobEvent end = Service::Make( XNetJobEvent::kEnded, inEvent.clientID, inEvent.jobID );
        ended[{ inEvent.clientID, inEvent.jobID }] = end;
        outgoing.push_back( end );
    }
    void Handle( const XNetJobEvent& inEvent )
    {
        if ( inEvent.kind == XNetJobEvent::kAssign )
        {
            Forget( inEvent );
            if ( !ended.contains( { inEvent.clientID, inEvent.jobID } ) )
                waiting.push_back( inEvent );
        }
        else if ( inEvent.kind == XNetJobEvent::kTaken )
        {
            Forget( inEvent );
            ended.erase( { inEvent.clientID, inEvent.jobID } );
        }
        else if ( Forget( inEvent ) && inEvent.kind == XNetJobEvent::kStop )
            End( inEvent );
        else if ( inEvent.kind == XNetJobEvent::kRecall )
            outgoing.push_back( Service::Make( XNetJobEvent::kReturned, inEvent.clientID, inEvent.jobID ) );
    }
    void Work()
    {
        if ( waiting.empty() )
            return;
        const XNetJobEvent job = waiting.front();
        waiting.pop_front();
        End( job );
    }
};

} // namespace

/// Connections, nodes and the service fail at random: every job of the clients ends, and nodes keep nothing.
TEST( XNetJobDispatcherTest, LosesNothingWhateverFails )
{
    for ( unsigned seed = 1; seed <= 30; ++seed )
    {
        std::mt19937 random( seed );
        const auto isDrawn = [&]( unsigned inOneIn ) { return random() % inOneIn == 0; };
        auto service = std::make_unique<Service>();
        std::array<TestClient, 2> clients;
        std::array<TestNode, 3> nodes;
        std::uint32_t nextJob = 0;
        const auto exchange = [&]( auto& ioPeer, bool inIsCalm )
        {
            if ( !ioPeer.isConnected )
            {
                ioPeer.LogOn( *service );
                ioPeer.isConnected = true;
            }
            const bool isCut = !inIsCalm && isDrawn( 20 );
            if ( !isCut || isDrawn( 2 ) )
                service->dispatcher.Receive( service->now, ioPeer.id, std::exchange( ioPeer.outgoing, {} ) );
            const XEvents events = service->dispatcher.TakeEvents( ioPeer.id );
            if ( !isCut || isDrawn( 2 ) )
                for ( const XNetJobEvent& event : events )
                    ioPeer.Handle( event );
            if ( isCut )
            {
                service->dispatcher.ConnectionHasEnded( service->now, ioPeer.id );
                ioPeer.isConnected = false;
            }
        };
        const auto step = [&]( bool inIsCalm )
        {
            service->now += 50 + random() % 200;
            for ( TestClient& client : clients )
            {
                if ( !inIsCalm )
                    client.jobs[nextJob++] = 0;
                if ( !inIsCalm && client.isConnected )
                    client.outgoing.push_back(
                        Service::Make( XNetJobEvent::kSubmit, client.id, nextJob - 1 ) );
                if ( inIsCalm || !isDrawn( 5 ) )
                    exchange( client, inIsCalm );
            }
            for ( TestNode& node : nodes )
            {
                node.Work();
                if ( inIsCalm || !isDrawn( 5 ) )
                    exchange( node, inIsCalm );
            }
            service->dispatcher.Tick( service->now );
            if ( !inIsCalm && isDrawn( 100 ) ) // the service fails
            {
                const auto now = service->now;
                service = std::make_unique<Service>();
                service->now = now;
                for ( TestClient& client : clients )
                    client.isConnected = false;
                for ( TestNode& node : nodes )
                    node.isConnected = false;
            }
        };
        for ( int i = 0; i < 300; ++i )
            step( false );
        for ( int i = 0; i < 1000; ++i )
            step( true );
        for ( const TestClient& client : clients )
            for ( const auto& [job, ends] : client.jobs )
                ASSERT_EQ( ends, 1 ) << "job " << job << ", seed " << seed;
        for ( const TestNode& node : nodes )
            ASSERT_EQ( node.waiting.size() + node.ended.size(), 0u ) << "seed " << seed;
    }
}
