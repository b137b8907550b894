#include "Network/ConnectionStorm.h"
#include "Network/Linux/TestTLS.h"

#include "Network/TestResponders.h"
#include "Servers/XNetServer.h"

#include <openssl/ssl.h>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

using Contexts = std::shared_ptr<const WTLSContext>;

struct Errors
{
    std::uint32_t client = 0;
    std::uint32_t server = 0;
};

/// What both sides say when one connects and the other receives a byte.
Errors Introduce( const Contexts& inClient, const Contexts& inServer )
{
    TestListener listener( MakeTLSEndpoint( inServer ) );
    XNetEndpoint client = MakeTLSEndpoint( inClient );
    Errors errors;
    RunTogether(
        [&]
        {
            errors.client = ErrorOrZero( [&] { client.Connect( listener.GetAddress(), kPatience ); } );
            if ( errors.client == 0 )
                client.SendData( "x", 1, kPatience );
            EXPECT_TRUE( errors.client == 0 || client.GetState() == XNetEndpoint::kStateClosed );
        },
        [&]
        {
            const auto server = listener.Accept();
            char byte = 0;
            errors.server = ErrorOrZero( [&] { server->ReceiveAnyData( &byte, 1, kPatience ); } );
            EXPECT_TRUE( errors.server == 0 || server->GetState() == XNetEndpoint::kStateDisconnected );
        } );
    return errors;
}

/// A peer that somebody else has written: OpenSSL on a blocking socket, with the settings of the caller.
struct ForeignPeer
{
    explicit ForeignPeer( int inVersion ) : itsContext( SSL_CTX_new( TLS_method() ) )
    {
        SSL_CTX_set_max_proto_version( itsContext, inVersion );
    }
    ~ForeignPeer() { SSL_CTX_free( itsContext ); }

    void Connect( std::int32_t inPort )
    {
        const int descriptor = socket( AF_INET, SOCK_STREAM, 0 );
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
        address.sin_port = htons( static_cast<std::uint16_t>( inPort ) );
        connect( descriptor, reinterpret_cast<sockaddr*>( &address ), sizeof address );
        Converse( descriptor, SSL_connect );
    }
    void Serve( int inListener ) { Converse( accept( inListener, nullptr, nullptr ), SSL_accept ); }

private:
    void Converse( int inDescriptor, int ( *inShake )( SSL* ) )
    {
        SSL* const session = SSL_new( itsContext );
        SSL_set_fd( session, inDescriptor );
        char byte = 0;
        if ( inShake( session ) == 1 )
            SSL_read( session, &byte, 1 );
        SSL_free( session );
        close( inDescriptor );
    }

    SSL_CTX* itsContext;
};

} // namespace

/// A reader and a writer on each side at a time; blocks of all sizes.
TEST( XTLSEndpointImpTest, MovesBytesBothWaysAtOnce )
{
    TestTLSConnection connection;
    std::vector<std::uint32_t> sent( 700'001 ), atServer( sent.size() ), atClient( sent.size() );
    for ( std::size_t i = 0; i < sent.size(); ++i )
        sent[i] = static_cast<std::uint32_t>( i * 2654435761u );
    const auto size = static_cast<std::uint32_t>( sent.size() * 4 );
    const auto send = [&]( XNetEndpoint& ioEndpoint )
    {
        const auto* bytes = reinterpret_cast<const char*>( sent.data() );
        for ( std::uint32_t done = 0, step = 1; done < size; done += step, step = step * 3 % 100'003 )
            ioEndpoint.SendData( bytes + done, step = std::min( step, size - done ), kPatience );
    };
    RunTogether(
        [&] { send( connection.client ); }, [&] { send( *connection.server ); },
        [&] { connection.client.ReceiveData( atClient.data(), size, kPatience ); },
        [&] { connection.server->ReceiveData( atServer.data(), size, kPatience ); } );
    EXPECT_EQ( atServer, sent );
    EXPECT_EQ( atClient, sent );
    EXPECT_EQ( connection.client.GetTotalBytesWritten(), size );
    EXPECT_EQ( connection.client.GetTotalBytesRead(), size );
}

TEST( XTLSEndpointImpTest, PeeksAcrossRecords )
{
    TestTLSConnection connection;
    char bytes[4] = {};
    connection.client.SendData( "ab", 2, kPatience );
    EXPECT_ERROR( 3105, connection.server->PeekData( bytes, 4, 20 ) );
    connection.client.SendData( "cd\r\nrest", 8, kPatience );
    connection.server->PeekData( bytes, 4, kPatience );
    EXPECT_EQ( std::string( bytes, 4 ), "abcd" );
    EXPECT_EQ( connection.server->GetWaitingBytes(), 10u );
    EXPECT_EQ( connection.server->ReceiveLine( "\r\n", kPatience ), "abcd" );
    EXPECT_ERROR( 3105, connection.client.Disconnect( 1 ) );
    EXPECT_ERROR( 3100, connection.server->PeekData( bytes, 5, kPatience ) );
}

TEST( XTLSEndpointImpTest, RejectsEachWrongCertificateForItsOwnReason )
{
    const TestAuthority authority, other;
    const Contexts client = authority.MakeContext( "client", "server" );
    const Contexts server = authority.MakeContext( "server", "client" );
    const auto expect = []( const Errors& inErrors, std::uint32_t inClient, std::uint32_t inServer )
    {
        EXPECT_EQ( inErrors.client, inClient );
        EXPECT_EQ( inErrors.server, inServer );
    };
    expect( Introduce( client, server ), 0, 0 );
    expect( Introduce( client, authority.MakeContext( "client", "client" ) ), 3125, 3127 );
    expect( Introduce( authority.MakeContext( "server", "server" ), server ), 3127, 3125 );
    expect( Introduce( client, other.MakeContext( "server", "client" ) ), 3124, 3127 );
    expect( Introduce( client, authority.MakeContext( "server", "client", { -60, -1 } ) ), 3126, 3127 );
    expect( Introduce( client, authority.MakeContext( "server", "client", { 60, 100 } ) ), 3126, 3127 );
    expect( Introduce( authority.MakeContext( "client", "server", { -60, -1 } ), server ), 3127, 3126 );

    // One that shows the right authority beside the wrong one's certificate.
    const WCertificates::Certificate own =
        WCertificates::Make( other.Get(), "client", TestAuthority::kValid );
    const auto impostor = std::make_shared<WTLSContext>(
        WTLSContext::Settings{ own.text, own.privateKey, authority.Get().text, "server" } );
    expect( Introduce( impostor, server ), 3127, 3124 );

    EXPECT_ERROR( 1005, WTLSContext( { own.text, authority.Get().privateKey, own.text, "x" } ) );
    EXPECT_ERROR( 1005, WTLSContext( { own.text, "no key", own.text, "x" } ) );
}

TEST( XTLSEndpointImpTest, RejectsPeersThatOfferTooLittle )
{
    const TestContexts contexts;
    const auto serve = [&]( auto inPeer )
    {
        TestListener listener( MakeTLSEndpoint( contexts.server ) );
        std::thread peer( inPeer, listener.GetAddress().GetPort() );
        const auto server = listener.Accept();
        char byte = 0;
        const std::uint32_t error = ErrorOf( [&] { server->ReceiveAnyData( &byte, 1, kPatience ); } );
        peer.join();
        return error;
    };
    EXPECT_EQ(
        serve( []( std::int32_t inPort ) { ForeignPeer( TLS1_2_VERSION ).Connect( inPort ); } ), 3122u );
    EXPECT_EQ(
        serve( []( std::int32_t inPort ) { ForeignPeer( TLS1_3_VERSION ).Connect( inPort ); } ), 3123u );
    const auto sayHello = []( std::int32_t inPort )
    {
        XNetEndpoint endpoint;
        endpoint.Connect( XNetAddress::GetLoopBackAddress( inPort ), kPatience );
        endpoint.SendData( "GET / HTTP/1.1\r\n\r\n", 18, kPatience );
        char byte = 0;
        ErrorOrZero( [&] { endpoint.ReceiveAnyData( &byte, 1, kPatience ); } );
    };
    EXPECT_EQ( serve( sayHello ), 3121u );

    const int listener = socket( AF_INET, SOCK_STREAM, 0 );
    listen( listener, 1 );
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname( listener, reinterpret_cast<sockaddr*>( &address ), &size );
    std::thread peer( [&] { ForeignPeer( TLS1_2_VERSION ).Serve( listener ); } );
    XNetEndpoint client = MakeTLSEndpoint( contexts.client );
    EXPECT_ERROR(
        3122u, client.Connect( XNetAddress::GetLoopBackAddress( ntohs( address.sin_port ) ), kPatience ) );
    peer.join();
    close( listener );
}

/// A server that accepts connections and says nothing.
TEST( XTLSEndpointImpTest, EndsAHandshakeThatTakesTooLong )
{
    const TestContexts contexts;
    TestListener silent;
    XNetEndpoint client = MakeTLSEndpoint( contexts.client );
    const XTimer timer;
    EXPECT_ERROR( 3105, client.Connect( silent.GetAddress(), 50 ) );
    EXPECT_GE( timer.GetElapsedMS(), 50 );
    EXPECT_EQ( client.GetState(), XNetEndpoint::kStateClosed );
    EXPECT_EQ( AbortConnecting( client, silent.GetAddress() ), 1001u );
    delete silent->Listen();
    TestThread thread( [&] { client.ConnectWithProgress( silent.GetAddress(), kNoTimeout ); } );
    thread.StartThread();
    delete silent->Listen();
    const std::unique_ptr<XNetEndpoint> peer( silent->Listen() ); // connected now
    client.ForceDisconnect();
    EXPECT_EQ( thread.Finish(), 3100 );
    thread.StartThread();
    const std::unique_ptr<XNetEndpoint> other( silent->Listen() );
    thread.SuspendThread();
    thread.ResumeThread();
    thread.StopThread( 5 );
    EXPECT_EQ( thread.GetThreadReturnCode(), 5 );
    EXPECT_EQ( client.GetState(), XNetEndpoint::kStateClosed );
}

TEST( XTLSEndpointImpTest, EndsWaitsFromOtherThreads )
{
    for ( const bool isSending : { false, true } )
    {
        TestTLSConnection connection;
        TestThread thread(
            [&]() -> std::int32_t
            {
                std::vector<char> block( 65536 );
                for ( ;; )
                    if ( isSending )
                        connection.client.SendData( block.data(), 65536, kNoTimeout );
                    else
                        connection.client.ReceiveAnyData( block.data(), 1, kNoTimeout );
            } );
        thread.StartThread();
        thread.SuspendThread();
        thread.ResumeThread();
        thread.StopThread( 7 );
        EXPECT_EQ( thread.GetThreadReturnCode(), 7 );
        thread.StartThread(); // goes on
        connection.client.ForceDisconnect();
        EXPECT_EQ( thread.Finish(), 3100 );
    }
}

TEST( XTLSEndpointImpTest, ADisconnectionLeavesNoBytesToAReceiver )
{
    for ( int round = 0; round < 20; ++round )
    {
        TestTLSConnection connection;
        EXPECT_EQ( ReceiveBesideADisconnection( connection.client, *connection.server ), 3100 );
    }
}

/// The system's end of a connection goes with it, and not with the endpoint.
TEST( XTLSEndpointImpTest, ClosesAConnectionThatHasEnded )
{
    TestTLSConnection connection;
    char byte = 0; // a wait opens what this thread needs for waiting
    EXPECT_ERROR( 3105, connection.server->ReceiveAnyData( &byte, 1, 1 ) );
    const std::ptrdiff_t before = CountDescriptors();
    connection.client.ForceDisconnect();
    EXPECT_ERROR( 3100, connection.server->ReceiveAnyData( &byte, 1, kPatience ) );
    EXPECT_EQ( CountDescriptors(), before - 2 );
    TestListener silent;
    const std::ptrdiff_t unconnected = CountDescriptors();
    EXPECT_ERROR( 3105, connection.client.Connect( silent.GetAddress(), 20 ) );
    EXPECT_EQ( CountDescriptors(), unconnected );
}

TEST( XTLSEndpointImpTest, IsServedBesideStrangers )
{
    const TestContexts contexts;
    XNetServer server( "test", { kPatience, 2 } );
    server.SetOnlyResponder( MakeEcho );
    server.UseTLS( contexts.server );
    server.Start( 0 );
    const XNetAddress address = XNetAddress::GetLoopBackAddress( server.GetPort() );
    XNetEndpoint client = MakeTLSEndpoint( contexts.client );
    client.Connect( address, kPatience );
    EXPECT_EQ( Say( client, 'a' ), 'a' ); // is no stranger any more
    XNetEndpoint strangers[4];
    for ( XNetEndpoint& stranger : strangers )
        stranger.Connect( address, kPatience );
    EXPECT_EQ( Say( client, 'x' ), 'x' );
    EXPECT_EQ( AwaitEnd( strangers[0] ), 3100u );
}

TEST( XTLSEndpointImpTest, EndsFromEverySide )
{
    const TestContexts contexts;
    EndConnectionsFromEverySide(
        [&] { return MakeTLSEndpoint( contexts.server ); },
        [&] { return MakeTLSEndpoint( contexts.client ); }, 30 );
}

/// A reader and a writer both come upon the handshake of an accepted connection; the peer says nothing before it hears.
TEST( XTLSEndpointImpTest, SharesAHandshakeBetweenReaderAndWriter )
{
    const TestContexts contexts;
    TestListener listener( MakeTLSEndpoint( contexts.server ) );
    for ( int round = 0; round < 20; ++round )
    {
        XNetEndpoint client = MakeTLSEndpoint( contexts.client );
        std::unique_ptr<XNetEndpoint> server;
        WEvent isAccepted;
        char received = 0, answered = 0;
        RunTogether(
            [&]
            {
                client.Connect( listener.GetAddress(), kPatience );
                client.ReceiveData( &received, 1, kPatience );
                client.SendData( "b", 1, kPatience );
            },
            [&]
            {
                server = listener.Accept();
                isAccepted.Set();
                server->ReceiveData( &answered, 1, kPatience );
            },
            [&]
            {
                isAccepted.Wait();
                server->SendData( "a", 1, kPatience );
            } );
        EXPECT_EQ( received, 'a' );
        EXPECT_EQ( answered, 'b' );
    }
}
