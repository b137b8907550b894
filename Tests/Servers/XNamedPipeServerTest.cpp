#include "Network/TestConnection.h"
#include "Network/TestResponders.h"

#include "Core/Errors/WLastErrorException.h"
#include "Network/XEncryptedNetStream.h"
#include "Network/XPipeEndpointImp.h"
#include "Servers/XNamedPipeServer.h"
#include "Time/WClock.h"

namespace
{

XString MakePipeName()
{
    static std::atomic<std::uint64_t> sCount = 0;
    return XString( "korvale-test-" ) + std::uint64_t( WClock::GetSystemMicroSeconds() ) + "-" +
        std::uint64_t( ++sCount );
}

struct PipeServer : XNamedPipeServer
{
    PipeServer() : XNamedPipeServer( MakePipeName() )
    {
        SetOnlyResponder( MakeEcho );
        Start();
    }
};

/// Two endpoints that a pipe connects.
struct PipeConnection
{
    PipeConnection()
    {
        const XString name = MakePipeName();
        XNetEndpoint listener = XPipeEndpointImp::BindTo( name );
        client = XPipeEndpointImp::ConnectTo( name, kPatience );
        server.reset( listener.Listen() );
    }

    XNetEndpoint client;
    std::unique_ptr<XNetEndpoint> server;
};

} // namespace

TEST( XNamedPipeServerTest, ServesConnectionsUntilItStops )
{
    PipeServer server;
    XNetEndpoint first = XPipeEndpointImp::ConnectTo( server.GetPipeName(), kPatience );
    XNetEndpoint second = XPipeEndpointImp::ConnectTo( server.GetPipeName(), kPatience );
    EXPECT_EQ( Say( first, 'x' ), 'x' );
    EXPECT_EQ( Say( second, 'a' ), 'a' );
    EXPECT_EQ( server.GetUnauthenticatedCount(), 1u );
    server.Stop();
    EXPECT_EQ( AwaitEnd( first ), 3100u );
    EXPECT_EQ( AwaitEnd( second ), 3100u );
    EXPECT_ERROR( 3106, XPipeEndpointImp::ConnectTo( server.GetPipeName(), kPatience ) );
    server.Start();
    second = XPipeEndpointImp::ConnectTo( server.GetPipeName(), kPatience );
    EXPECT_EQ( Say( second, 'y' ), 'y' );
}

TEST( XNamedPipeServerTest, LeavesANameToWhoListensOnIt )
{
    PipeServer server;
    XNamedPipeServer other( server.GetPipeName() );
    const std::string text = TextOfError( [&] { other.Start(); } );
    EXPECT_CONTAINS( text, "(10048)" );
    EXPECT_CONTAINS( text, server.GetPipeName().GetConstCharPtr() );
    XNetEndpoint client = XPipeEndpointImp::ConnectTo( server.GetPipeName(), kPatience );
    EXPECT_EQ( Say( client, 'x' ), 'x' );
}

TEST( XNamedPipeServerTest, RefusesNamesThatCouldLeaveTheFolder )
{
    for ( const char* name : { "", ".", "..", ".hidden", "a/b", "a\\b", "a b", "\xE4" } )
        EXPECT_ERROR( 1013, XNamedPipeServer server{ XString( name ) } ) << name;
    EXPECT_ERROR( 1013, XPipeEndpointImp imp( XString( std::string( 65, 'a' ) ) ) );
}

TEST( XNamedPipeServerTest, CarriesMoreThanThePipeHolds )
{
    PipeConnection connection;
    constexpr USize kCount = 3'000'000;
    char key[] = "sixteen bytes ok";
    std::thread sender(
        [&]
        {
            XEncryptedNetStream stream(
                *connection.server, key, XEncryptedNetStream::kAlgorithmRC4, kPatience, kPatience, 4096 );
            for ( std::uint32_t i = 0; i < kCount / 4; ++i )
                stream.Write32( i );
            stream.Flush();
            connection.server->Disconnect( kPatience );
        } );
    XEncryptedNetStream stream(
        connection.client, key, XEncryptedNetStream::kAlgorithmRC4, kPatience, kPatience, 4096 );
    for ( std::uint32_t i = 0; i < kCount / 4; ++i )
        ASSERT_EQ( stream.Read32(), i );
    EXPECT_ERROR( 3100, stream.Read8() );
    connection.client.ForceDisconnect();
    sender.join();
}

TEST( XNamedPipeServerTest, PeeksAndWaitsAsSocketsDo )
{
    PipeConnection connection;
    char bytes[8] = {};
    EXPECT_ERROR( 3105, connection.client.ReceiveAnyData( bytes, 1, 0 ) );
    EXPECT_ERROR( 3105, connection.client.ReceiveAnyData( bytes, 1, 20 ) );
    std::thread sender(
        [&]
        {
            connection.server->SendData( "ab", 2, kPatience );
            connection.server->SendData( "cd", 2, kPatience );
        } );
    connection.client.PeekData( bytes, 4, kPatience );
    EXPECT_EQ( std::string( bytes, 4 ), "abcd" );
    EXPECT_EQ( connection.client.GetWaitingBytes(), 4u );
    sender.join();
    connection.client.ReceiveData( bytes, 4, kPatience );
    EXPECT_EQ( std::string( bytes, 4 ), "abcd" );
    EXPECT_ERROR( 3105, connection.client.PeekData( bytes, 4, 20 ) );
}

/// A receive, a full send and an accept end when another thread ends the connection, and obey a stop.
TEST( XNamedPipeServerTest, EndsWaitsAtOnce )
{
    for ( const bool isStopped : { false, true } )
        for ( const bool isSending : { false, true } )
        {
            PipeConnection connection;
            std::atomic<std::uint64_t> sent = 0;
            TestThread thread(
                [&]() -> std::int32_t
                {
                    std::vector<char> bytes( 65536 );
                    for ( ;; )
                        if ( isSending )
                            connection.client.SendData( bytes.data(), 65536, kNoTimeout ), ++sent;
                        else
                            connection.client.ReceiveAnyData( bytes.data(), 1, kNoTimeout );
                } );
            thread.StartThread();
            for ( std::uint64_t before = 1; before != sent; XThread::SleepCurrentThread( 20 ) )
                before = sent; // until the pipe is full
            if ( isStopped )
                thread.AsyncStopThread();
            else
                connection.client.ForceDisconnect();
            EXPECT_FALSE( thread.SleepUntilTerminate( kPatience ) );
        }
    XNetEndpoint listener = XPipeEndpointImp::BindTo( MakePipeName() );
    std::thread acceptor( [&] { EXPECT_ERROR( 3100, delete listener.Listen() ); } );
    while ( listener.GetState() != XNetEndpoint::kStateAccepting )
        std::this_thread::yield();
    listener.Unbind();
    acceptor.join();
}
