#include "Network/TestConnection.h"

#include "Linux/TestProcess.h"
#include "Network/TestResponders.h"
#include "Network/XNetStream.h"
#include "Servers/XNetResponder.h"
#include "Servers/XNetServer.h"
#include "Services/XSessionLogManager.h"
#include "TestFolder.h"

#include <arpa/inet.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

// Peers that do not behave, which is why they are sockets of the system.

namespace
{

/// A connection whose other end is a blocking socket in the hands of the test.
struct RawConnection
{
    RawConnection() : peer( socket( AF_INET, SOCK_STREAM, 0 ) )
    {
        TestListener listener;
        const sockaddr_in address = ToSystem( listener.GetAddress() );
        EXPECT_EQ( connect( peer, reinterpret_cast<const sockaddr*>( &address ), sizeof address ), 0 );
        endpoint = listener.Accept();
    }
    ~RawConnection() { Close(); }

    static sockaddr_in ToSystem( const XNetAddress& inAddress )
    {
        sockaddr_in address;
        inAddress.GetSockAddress( address );
        return address;
    }

    void Close()
    {
        if ( peer >= 0 )
            close( peer );
        peer = -1;
    }

    /// Closes so that the other side sees a reset.
    void Reset()
    {
        const linger atOnce{ 1, 0 };
        setsockopt( peer, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce );
        Close();
    }

    int peer;
    std::unique_ptr<XNetEndpoint> endpoint;
};

/// Sends without an end, as long as the peer takes it.
std::unique_ptr<XNetResponder> MakeSending()
{
    return std::make_unique<TestResponder>(
        []( TestResponder& ioResponder )
        {
            ioResponder.SetAuthenticated();
            XNetEndpoint endpoint = ioResponder.GetEndpoint();
            for ( const std::vector<char> block( 65536 );; )
                endpoint.SendData( block.data(), 65536, kNoTimeout );
        } );
}

/// Receives bytes and never authenticates.
std::unique_ptr<XNetResponder> MakeListening()
{
    return std::make_unique<TestResponder>(
        []( TestResponder& ioResponder )
        {
            XNetEndpoint endpoint = ioResponder.GetEndpoint();
            for ( char byte = 0;; )
                endpoint.ReceiveData( &byte, 1, kNoTimeout );
        } );
}

/// What a command prints is of no interest.
bool Shell( const std::string& inCommand )
{
    return std::system( ( inCommand + " >/dev/null 2>&1" ).c_str() ) == 0;
}

} // namespace

/// The time of a transfer limits the wait for the next bytes; that of a stranger all of its time.
TEST( XNetEndpointPeersTest, SlowOnesGetNoMoreTimeThanOthers )
{
    RawConnection connection;
    std::atomic<bool> isOver = false;
    std::thread drip(
        [&]
        {
            for ( ; !isOver; std::this_thread::sleep_for( std::chrono::milliseconds( 20 ) ) )
                send( connection.peer, "x", 1, MSG_NOSIGNAL );
        } );
    XNetStream stream( *connection.endpoint, kPatience, 10'000, 4096 );
    EXPECT_EQ( stream.Read32(), 0x78787878u );
    EXPECT_ERROR( 3105, connection.endpoint->ReceiveLine( "end", 200 ) );
    isOver = true;
    drip.join();

    XNetServer server( "test", { 300, 64 } );
    server.SetOnlyResponder( MakeListening );
    server.Start( 0 );
    XNetEndpoint stranger;
    stranger.Connect( XNetAddress::GetLoopBackAddress( server.GetPort() ), kPatience );
    const XTimer timer( kPatience );
    const auto drop = [&]
    {
        for ( char byte = 'x'; !timer.HasExpired(); )
        {
            stranger.SendData( &byte, 1, kPatience );
            if ( ErrorOf( [&] { stranger.ReceiveAnyData( &byte, 1, 20 ); } ) == 3100 )
                XThrow( 3100 );
        }
    };
    EXPECT_EQ( ErrorOf( drop ), 3100u );
    EXPECT_TRUE( Await( [&] { return server.GetResponderCount() == 0; } ) );
}

/// What a peer never reads ends sends by their time, whatever that is, and does not keep a server from stopping.
TEST( XNetEndpointPeersTest, OnesThatNeverReadBlockOnlyTheirSender )
{
    RawConnection connection;
    const std::vector<char> block( 1 << 20 );
    const auto send = [&]( std::uint32_t inTimeoutMS )
    {
        for ( ;; )
            connection.endpoint->SendData( block.data(), 1 << 20, inTimeoutMS );
    };
    for ( const std::uint32_t timeout : { 0u, 1u, 30u } )
        EXPECT_ERROR( 3105, send( timeout ) );
    TestThread endless( [&] { send( kNoTimeout ); } );
    endless.StartThread();
    connection.Reset();
    EXPECT_EQ( endless.Finish(), 3100 );

    XNetServer server( "test" );
    server.SetOnlyResponder( MakeSending );
    server.Start( 0 );
    XNetEndpoint client;
    client.Connect( XNetAddress::GetLoopBackAddress( server.GetPort() ), kPatience );
    char byte = 0;
    client.ReceiveData( &byte, 1, kPatience );
    server.Stop();
    EXPECT_EQ( server.GetResponderCount(), 0u );
}

TEST( XNetEndpointPeersTest, AResetEndsReceivesAndSends )
{
    for ( const bool isSending : { false, true } )
    {
        RawConnection connection;
        send( connection.peer, "lost", 4, MSG_NOSIGNAL );
        connection.Reset();
        char bytes[4096] = {};
        const auto use = [&]
        {
            for ( ;; )
                if ( isSending )
                    connection.endpoint->SendData( bytes, sizeof bytes, kPatience );
                else
                    connection.endpoint->ReceiveAnyData( bytes, sizeof bytes, kPatience );
        };
        EXPECT_EQ( ErrorOf( use ), 3100u );
        EXPECT_EQ( connection.endpoint->GetState(), XNetEndpoint::kStateDisconnected );
        EXPECT_EQ( ErrorOf( use ), 3100u );
    }
}

/// One that will send no more can be sent an answer.
TEST( XNetEndpointPeersTest, AHalfClosedConnectionCarriesTheAnswer )
{
    RawConnection connection;
    send( connection.peer, "question", 8, MSG_NOSIGNAL );
    shutdown( connection.peer, SHUT_WR );
    char bytes[8];
    connection.endpoint->ReceiveData( bytes, 8, kPatience );
    const std::string answer( 100'000, 'a' );
    std::string received( answer.size(), ' ' );
    std::thread peer( [&] { recv( connection.peer, received.data(), received.size(), MSG_WAITALL ); } );
    connection.endpoint->SendData( answer.data(), 100'000, kPatience );
    peer.join();
    EXPECT_EQ( received, answer );
    EXPECT_ERROR( 3100, connection.endpoint->ReceiveAnyData( bytes, 1, kPatience ) );
}

/// Where the process has no descriptors left, the log is told once a minute, not at each try.
TEST( XNetEndpointPeersTest, AnAcceptorWithoutDescriptorsLogsOnce )
{
#if defined( KORVALE_SANITIZED ) && defined( __clang__ )
    GTEST_SKIP() << "the checks of the undefined-behaviour sanitizer take descriptors themselves";
#endif
    const TestFolder folder;
    XSessionLogManager::XOptions options;
    options.path = folder / "session.log";
    XSessionLogManager log( options );
    XSessionLogManager::Log( kLogInformation, "has its file open" );
    log.Flush( kPatience );
    XNetServer server( "flooded" );
    server.SetOnlyResponder( MakeSending );
    server.Start( 0 );
    std::list<RawConnection> before( 1 ); // makes what threads need for waiting
    std::ifstream reader( folder / "session.log" );
    const auto readLog = [&]
    {
        log.Flush( kPatience );
        reader.clear();
        reader.seekg( 0 );
        return std::string( std::istreambuf_iterator<char>( reader ), {} );
    };
    const int strangers[] = {
        socket( AF_INET, SOCK_STREAM, 0 ), socket( AF_INET, SOCK_STREAM, 0 ),
        socket( AF_INET, SOCK_STREAM, 0 ) };
    std::optional<ProcessLimit> none( std::in_place, RLIMIT_NOFILE, GetNextDescriptor() );
    const sockaddr_in address =
        RawConnection::ToSystem( XNetAddress::GetLoopBackAddress( server.GetPort() ) );
    for ( const int stranger : strangers )
        connect( stranger, reinterpret_cast<const sockaddr*>( &address ), sizeof address );
    const std::string pauses = "flooded: accepting connections pauses";
    EXPECT_TRUE( Await( [&] { return readLog().find( pauses ) != std::string::npos; } ) );
    XThread::SleepCurrentThread( 300 ); // several tries: with fewer the test is weaker
    none.reset();
    for ( const int stranger :
          strangers ) // which the system may have dropped when it could not hand them over
        close( stranger );
    const int late = socket( AF_INET, SOCK_STREAM, 0 );
    connect( late, reinterpret_cast<const sockaddr*>( &address ), sizeof address );
    const timeval patience{ kPatience / 1000, 0 };
    setsockopt( late, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience );
    char byte = 0;
    EXPECT_EQ( recv( late, &byte, 1, 0 ), 1 );
    close( late );
    const std::string text = readLog();
    EXPECT_EQ( text.find( pauses ), text.rfind( pauses ) ) << text;
}

/// A wait that cannot begin does not change when later ones end.
TEST( XNetEndpointPeersTest, APeekWithoutDescriptorsLeavesTheConnectionAsItIs )
{
#if defined( KORVALE_SANITIZED ) && defined( __clang__ )
    GTEST_SKIP() << "the checks of the undefined-behaviour sanitizer take descriptors themselves";
#endif
    RawConnection connection;
    char bytes[8] = {};
    send( connection.peer, "x", 1, MSG_NOSIGNAL );
    connection.endpoint->PeekData( bytes, 1, kPatience );
    std::uint32_t error = 0;
    TestThread thread( // which has not waited yet
        [&]
        {
            const ProcessLimit few( RLIMIT_NOFILE, 100 );
            std::vector<int> taken;
            while ( taken.empty() || taken.back() >= 0 )
                taken.push_back( dup( connection.peer ) );
            error = ErrorOf( [&] { connection.endpoint->PeekData( bytes, 8, kPatience ); } );
            for ( const int descriptor : taken )
                close( descriptor );
        } );
    thread.StartThread();
    thread.WaitForTerminate( kPatience );
    EXPECT_EQ( error, 4u );
    std::thread sender(
        [&]
        {
            XThread::SleepCurrentThread( 20 ); // so that there is something to wait for
            send( connection.peer, "y", 1, MSG_NOSIGNAL );
        } );
    const XTimer timer;
    connection.endpoint->ReceiveData( bytes, 2, 5000 );
    EXPECT_LT( timer.GetElapsedMS(), 5000 ); // a last look would find it
    sender.join();
}

/// Two namespaces of the system's network, joined by a link that is cut.
TEST( XNetEndpointPeersTest, KeepAliveNoticesALinkThatIsDown )
{
    Halt halt;
    WEvent isDone;
    std::string name;
    std::atomic<std::int32_t> port = 0;
    std::atomic<bool> hasNamespaces = true;
    std::uint32_t error = 0, next = 0;
    std::thread server(
        [&]
        {
            hasNamespaces = unshare( CLONE_NEWNET ) == 0;
            name = std::to_string( gettid() );
            halt.Stop();
            if ( !hasNamespaces )
                return;
            Shell( "ip addr add 10.99.0.1/24 dev kvtest1 && ip link set kvtest1 up" );
            TestListener listener;
            port = listener.GetAddress().GetPort();
            const auto connection = listener.Accept();
            connection->SetKeepAliveTimeMS( 1000 );
            char byte = 0;
            connection->ReceiveData( &byte, 1, kPatience );
            Shell( "ip link set kvtest1 down" );
            error = ErrorOf( [&] { connection->ReceiveAnyData( &byte, 1, kNoTimeout ); } );
            next = ErrorOf( [&] { connection->ReceiveAnyData( &byte, 1, kNoTimeout ); } );
            isDone.Set();
        } );
    std::thread client(
        [&]
        {
            halt.AwaitStop();
            hasNamespaces = hasNamespaces && unshare( CLONE_NEWNET ) == 0 &&
                Shell( "ip link add kvtest0 type veth peer name kvtest1 netns " + name +
                       " && ip addr add 10.99.0.2/24 dev kvtest0 && ip link set kvtest0 up" );
            halt.GoOn();
            if ( !hasNamespaces || !Await( [&] { return port != 0; } ) )
                return;
            XNetEndpoint endpoint;
            endpoint.Connect( XNetAddress( 0x0A630001, port ), kPatience );
            endpoint.SendData( "x", 1, kPatience );
            isDone.Wait();
        } );
    server.join();
    client.join();
    if ( !hasNamespaces )
        GTEST_SKIP() << "needs the right to make network namespaces";
    EXPECT_EQ( error, 3105u );
    EXPECT_EQ( next, 3100u );
}

/// In a network whose only free port is the one to connect to, the system gives that one to the connection too.
TEST( XNetEndpointPeersTest, NoConnectionIsMadeWithItself )
{
    bool hasNamespace = false;
    std::thread thread(
        [&]
        {
            constexpr std::int32_t kPort = 40'000;
            std::ofstream range;
            if ( unshare( CLONE_NEWNET ) == 0 && Shell( "ip link set lo up" ) )
                range.open( "/proc/sys/net/ipv4/ip_local_port_range" );
            hasNamespace = static_cast<bool>( range << kPort << ' ' << kPort + 1 << std::flush );
            XNetEndpoint endpoint;
            const auto connect = [&]
            { endpoint.Connect( XNetAddress::GetLoopBackAddress( kPort ), kPatience ); };
            EXPECT_EQ( hasNamespace ? ErrorOf( connect ) : 3106u, 3106u );
        } );
    thread.join();
    if ( !hasNamespace )
        GTEST_SKIP() << "needs the right to make network namespaces";
}

/// The end of a connection is no wait for bytes that will not come. (The emulator that runs the tests of the other system
/// does not tell it while there are bytes left.)
TEST( XNetEndpointPeersTest, TheEndOfOneEndsAPeekForMoreThanItsLastBytes )
{
    TestConnection connection;
    connection.client.SendData( "e", 1, kPatience );
    connection.client.ForceDisconnect();
    char bytes[4];
    EXPECT_ERROR( 3100, connection.server->PeekData( bytes, 4, kPatience ) );
}
