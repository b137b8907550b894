#include "Network/TestConnection.h"
#include "Network/TestResponders.h"

#include "Servers/XNetServer.h"

namespace
{

constexpr XVersion kEchoPreamble{ 1301, 2 };
constexpr std::uint8_t kEchoBytes[] = { 0x00, 0x02, 0x05, 0x15 };

struct TestServer : XNetServer
{
    explicit TestServer( const XLimits& inLimits = { kPatience, 64 } ) : XNetServer( "test", inLimits )
    {
        RegisterResponder( kEchoPreamble, MakeEcho );
        Start( 0 );
    }
};

struct TestClient : XNetEndpoint
{
    explicit TestClient( const XNetServer& inServer )
    {
        Connect( XNetAddress::GetLoopBackAddress( inServer.GetPort() ), kPatience );
    }

    void Greet() { SendData( kEchoBytes, sizeof kEchoBytes, kPatience ); }

    char Say( char inByte ) { return ::Say( *this, inByte ); }
    std::uint32_t AwaitEnd() { return ::AwaitEnd( *this ); }
};

} // namespace

TEST( XNetServerTest, ServesByWhatThePreambleTells )
{
    TestServer server;
    TestClient client( server );
    client.Greet();
    EXPECT_EQ( client.Say( 'x' ), 'x' );
    EXPECT_EQ( server.GetUnauthenticatedCount(), 1u );
    EXPECT_EQ( client.Say( 'a' ), 'a' );
    EXPECT_EQ( server.GetUnauthenticatedCount(), 0u );
    TestClient stranger( server );
    stranger.SendData( "GET ", 4, kPatience );
    EXPECT_EQ( stranger.AwaitEnd(), 3100u );
    client.ForceDisconnect();
    EXPECT_TRUE( Await( [&] { return EchoResponder::sCount == 0; } ) );
    EXPECT_EQ( server.GetResponderCount(), 0u );
}

TEST( XNetServerTest, ServesAllConnectionsWithoutAPreamble )
{
    XNetServer server( "plain" );
    server.SetOnlyResponder( MakeEcho );
    server.Start( 0 );
    EXPECT_ERROR( 1006, server.Start( 0 ) );
    TestClient client( server );
    EXPECT_EQ( client.Say( 'x' ), 'x' );
    const std::int32_t port = server.GetPort();
    server.Stop();
    EXPECT_EQ( client.AwaitEnd(), 3100u );
    EXPECT_EQ( server.GetPort(), 0 );
    server.Start( port );
    EXPECT_EQ( TestClient( server ).Say( 'y' ), 'y' );
}

/// A fault of what makes responders, whatever it is, is the end of one connection.
TEST( XNetServerTest, SurvivesMakersThatFail )
{
    int count = 0;
    XNetServer server( "failing" );
    server.SetOnlyResponder(
        [&]() -> std::unique_ptr<XNetResponder>
        {
            switch ( count++ )
            {
            case 0:
                throw XException( 1013 );
            case 1:
                throw std::runtime_error( "no" );
            case 2:
                return nullptr;
            default:
                return MakeEcho();
            }
        } );
    server.Start( 0 );
    for ( int i = 0; i < 3; ++i )
        EXPECT_EQ( TestClient( server ).AwaitEnd(), 3100u );
    EXPECT_EQ( TestClient( server ).Say( 'x' ), 'x' );
}

/// Those that are trusted from the start, and those that have been given away, are no strangers.
TEST( XNetServerTest, KnowsWhoIsNoStranger )
{
    WEvent goOn;
    const auto answer = []( XNetEndpoint& ioEndpoint, char inByte )
    {
        char question = 0;
        ioEndpoint.ReceiveData( &question, 1, kPatience );
        ioEndpoint.SendData( &inByte, 1, kPatience );
    };
    const auto detach = [&]( TestResponder& ioResponder )
    {
        XNetEndpoint endpoint = ioResponder.DetachEndpoint();
        EXPECT_ERROR( 3101, ioResponder.GetEndpoint() );
        answer( endpoint, 'D' );
        goOn.Wait( kPatience );
        answer( endpoint, 'E' );
    };
    const auto echo = []( TestResponder& ioResponder )
    {
        XNetEndpoint endpoint = ioResponder.GetEndpoint();
        for ( char byte = 0;; endpoint.SendData( &byte, 1, kPatience ) )
            endpoint.ReceiveData( &byte, 1, kNoTimeout );
    };
    std::atomic<int> count = 0;
    XNetServer server( "trusting", { kPatience, 1 } );
    server.SetOnlyResponder(
        [&]
        {
            const bool isFirst = ++count == 1;
            auto responder =
                std::make_unique<TestResponder>( isFirst ? TestResponder::Body( detach ) : echo );
            if ( !isFirst )
                responder->SetAuthenticated();
            return responder;
        } );
    server.Start( 0 );
    TestClient detached( server );
    EXPECT_EQ( detached.Say( 'x' ), 'D' );
    TestClient trusted( server );
    EXPECT_EQ( trusted.Say( 'x' ), 'x' );
    EXPECT_EQ( server.GetUnauthenticatedCount(), 0u );
    EXPECT_EQ( TestClient( server ).Say( 'y' ), 'y' );
    goOn.Set();
    EXPECT_EQ( detached.Say( 'x' ), 'E' ) << "ended for the sake of others";
    EXPECT_EQ( trusted.Say( 'z' ), 'z' );
}

TEST( XNetServerTest, EndsStrangersThatTakeTooLong )
{
    TestServer server( { 1000, 64 } ); // time enough for the one that is not a stranger
    TestClient known( server ), silent( server ), slow( server );
    known.Greet();
    EXPECT_EQ( known.Say( 'a' ), 'a' );
    slow.Greet();
    EXPECT_EQ( silent.AwaitEnd(), 3100u );
    EXPECT_EQ( slow.AwaitEnd(), 3100u );
    EXPECT_EQ( known.Say( 'x' ), 'x' );
}

TEST( XNetServerTest, DropsTheOldestOfTooManyStrangers )
{
    TestServer server( { kNoTimeout, 3 } );
    TestClient known( server );
    known.Greet();
    EXPECT_EQ( known.Say( 'a' ), 'a' );
    std::list<TestClient> strangers;
    for ( int i = 0; i < 4; ++i )
        strangers.emplace_back( server );
    EXPECT_EQ( strangers.front().AwaitEnd(), 3100u );
    EXPECT_TRUE( Await( [&] { return server.GetUnauthenticatedCount() == 3; } ) );
    strangers.back().Greet();
    EXPECT_EQ( strangers.back().Say( 'x' ), 'x' );
    EXPECT_EQ( known.Say( 'x' ), 'x' );
}

TEST( XNetServerTest, EndsAllConnectionsWhenItStops )
{
    TestServer server( { kPatience, 1000 } );
    std::list<TestClient> clients;
    for ( int i = 0; i < 60; ++i )
    {
        TestClient& client = clients.emplace_back( server );
        if ( i % 3 == 0 )
            continue; // waits for its greeting
        client.Greet();
        EXPECT_EQ( client.Say( i % 3 == 1 ? 'a' : 'x' ), i % 3 == 1 ? 'a' : 'x' );
    }
    server.Stop();
    EXPECT_EQ( EchoResponder::sCount, 0 );
    for ( TestClient& client : clients )
        EXPECT_EQ( client.AwaitEnd(), 3100u );
}

/// Strangers come and go on four threads while a conversation goes on and the server stops.
TEST( XNetServerTest, StopsInTheMidstOfAFlood )
{
    for ( int round = 0; round < 5; ++round )
    {
        TestServer server( { kPatience, 8 } );
        TestClient known( server );
        known.Greet();
        EXPECT_EQ( known.Say( 'a' ), 'a' );
        const XNetAddress address = XNetAddress::GetLoopBackAddress( server.GetPort() );
        std::atomic<int> connected = 0;
        const auto flood = [&]
        {
            for ( ;; ++connected )
            {
                XNetEndpoint endpoint;
                endpoint.Connect( address, kPatience );
                endpoint.SendData( kEchoBytes, connected % 5, kPatience );
            }
        };
        std::atomic<bool> isOver = false;
        const auto stop = [&]
        {
            while ( connected < 100 )
                EXPECT_EQ( known.Say( 'x' ), 'x' );
            server.Stop();
            isOver = true;
        };
        const auto floodOn = [&]
        {
            while ( !isOver )
                ErrorOrZero( flood );
        };
        RunTogether( stop, floodOn, floodOn, floodOn, floodOn );
        EXPECT_EQ( EchoResponder::sCount, 0 );
    }
}
