#include "Network/TestConnection.h"

#include "Core/Streams/XMemStream.h"
#include "Core/Streams/XStreamVectors.h"
#include "Network/XSocketsTCPEndpointImp.h"

namespace
{

using State = XNetEndpoint;

std::string ReceiveText( XNetEndpoint& inEndpoint, std::uint32_t inCount )
{
    std::string text( inCount, ' ' );
    inEndpoint.ReceiveData( text.data(), inCount, kPatience );
    return text;
}

void SendText( XNetEndpoint& inEndpoint, const std::string& inText )
{
    inEndpoint.SendData( inText.data(), static_cast<std::uint32_t>( inText.size() ), kPatience );
}

/// Sends until the connection takes no more: 3105.
void FillUp( XNetEndpoint& inEndpoint )
{
    const std::vector<char> bytes( 65536 );
    for ( ;; )
        inEndpoint.SendData( bytes.data(), 65536, 0 );
}

/// An address that has no IP address but those of its adapters.
XNetAddress MakeAddress( std::initializer_list<std::uint32_t> inAdapters, std::int32_t inPort )
{
    XMemStream stream;
    stream.Write32( 0 );
    XWriteVector<std::uint32_t>( stream, inAdapters );
    stream.WriteString( "" );
    stream.Write32S( inPort );
    stream.SeekTo( 0 );
    XNetAddress address;
    address.ReadStreamSelf( stream );
    return address;
}

/// An address of this machine on which nobody listens.
XNetAddress GetDeafAddress()
{
    return TestListener().GetAddress();
}

} // namespace

TEST( XNetEndpointTest, MovesBytesBothWays )
{
    TestConnection connection;
    EXPECT_EQ( connection.client.GetState(), State::kStateConnected );
    EXPECT_EQ( connection.server->GetState(), State::kStateConnected );
    SendText( connection.client, "hello" );
    EXPECT_EQ( ReceiveText( *connection.server, 5 ), "hello" );

    std::vector<std::uint32_t> sent( 1'000'003 ), received( sent.size() );
    for ( std::size_t i = 0; i < sent.size(); ++i )
        sent[i] = static_cast<std::uint32_t>( i * 2654435761u );
    const auto size = static_cast<std::uint32_t>( sent.size() * 4 );
    RunTogether(
        [&] { connection.server->SendData( sent.data(), size, kPatience ); },
        [&] { connection.client.ReceiveData( received.data(), size, kPatience ); } );
    EXPECT_EQ( received, sent );
    EXPECT_EQ( connection.server->GetTotalBytesWritten(), size );
    EXPECT_EQ( connection.client.GetTotalBytesRead(), size );
    EXPECT_GT( connection.client.GetAvgBytesReadPerSec(), 0u );
    EXPECT_GT( connection.server->GetAvgBytesWrittenPerSec(), 0u );
    EXPECT_EQ( connection.client.GetTotalBytesWritten(), 5u );
}

TEST( XNetEndpointTest, PeeksWithoutTaking )
{
    TestConnection connection;
    SendText( connection.client, "ab" );
    char bytes[4] = {};
    EXPECT_EQ( connection.server->PeekAnyData( bytes, 1, kPatience ), 1u );
    EXPECT_ERROR( 3105, connection.server->PeekData( bytes, 4, 20 ) );
    TestThread sender( [&] { SendText( connection.client, "cd" ); } );
    sender.StartThread();
    connection.server->PeekData( bytes, 4, kPatience );
    EXPECT_EQ( std::string( bytes, 4 ), "abcd" );
    EXPECT_EQ( connection.server->GetWaitingBytes(), 4u );
    EXPECT_EQ( ReceiveText( *connection.server, 4 ), "abcd" );

    const std::string many( 100'000, 'm' ); // more than one transfer
    std::string peeked( many.size(), ' ' );
    SendText( connection.client, many );
    connection.server->PeekData( peeked.data(), 100'000, kPatience );
    EXPECT_EQ( peeked, many );
}

/// The wait of one ends with fewer bytes than the other's.
TEST( XNetEndpointTest, LetsTwoThreadsPeek )
{
    TestConnection connection;
    TestThread patient(
        [&]
        {
            char bytes[8];
            connection.server->PeekData( bytes, 8, kPatience );
        } );
    SendText( connection.client, "12" );
    patient.StartThread();
    XThread::SleepCurrentThread( 20 ); // with less it might not wait yet
    char bytes[4];
    EXPECT_ERROR( 3105, connection.server->PeekData( bytes, 4, 20 ) );
    XThread::SleepCurrentThread( 20 ); // nor have noticed
    SendText( connection.client, "345678" );
    EXPECT_EQ( patient.Finish(), 0 );
}

TEST( XNetEndpointTest, ReceivesLinesUpToTheTerminator )
{
    TestConnection connection;
    SendText( connection.client, std::string( "a\rb\0c\r\n\r\nrest", 13 ) );
    const XString line = connection.server->ReceiveLine( "\r\n", kPatience );
    EXPECT_EQ( line.GetStringView(), std::string_view( "a\rb\0c", 5 ) );
    EXPECT_EQ( connection.server->ReceiveLine( "\r\n", kPatience ), "" );
    EXPECT_ERROR( 3105, connection.server->ReceiveLine( "\r\n", 20 ) );
    EXPECT_ERROR( 1013, connection.server->ReceiveLine( "", 0 ) );
    SendText( connection.client, "all there\n" );
    char byte = 0;
    connection.server->PeekAnyData( &byte, 1, kPatience );
    EXPECT_EQ( connection.server->ReceiveLine( "\n", 0 ), "all there" );
}

/// A peer that sends faster than the line is read, and never ends it.
TEST( XNetEndpointTest, GivesALineNoMoreThanItsTime )
{
    TestConnection connection;
    TestThread flood(
        [&]() -> std::int32_t
        {
            for ( const std::vector<char> block( 65536 );; )
                connection.client.SendData( block.data(), 65536, kNoTimeout );
        } );
    flood.StartThread();
    EXPECT_ERROR( 3105, connection.server->ReceiveLine( "\n", 50 ) );
    EXPECT_EQ( connection.server->GetState(), State::kStateConnected );
}

TEST( XNetEndpointTest, KeepsTimeouts )
{
    TestConnection connection;
    char byte = 0;
    EXPECT_ERROR( 3105, connection.server->ReceiveAnyData( &byte, 1, 0 ) );
    const XTimer timer;
    EXPECT_ERROR( 3105, connection.server->ReceiveAnyData( &byte, 1, 30 ) );
    EXPECT_GE( timer.GetElapsedMS(), 30 );
    EXPECT_ERROR( 3105, FillUp( connection.client ) );
    EXPECT_EQ( connection.client.GetState(), State::kStateConnected );
    EXPECT_ERROR( 3105, connection.client.Disconnect( 1 ) );
    EXPECT_EQ( connection.client.GetState(), State::kStateDisconnected );
}

TEST( XNetEndpointTest, TellsWhyItDoesNotConnect )
{
    XNetEndpoint endpoint;
    EXPECT_EQ( endpoint.GetState(), State::kStateClosed );
    EXPECT_ERROR( 3104, endpoint.Connect( XNetAddress( 0u, 80 ), kPatience ) );
    EXPECT_ERROR( 3104, endpoint.Connect( XNetAddress( "no-such-host.invalid", 80 ), kPatience ) );
    EXPECT_ERROR( 1013, endpoint.Connect( XNetAddress( 0x7F000001, 65536 ), kPatience ) );
    EXPECT_ERROR( 3106, endpoint.Connect( GetDeafAddress(), kPatience ) );
    EXPECT_ERROR( 3106, endpoint.ConnectWithProgress( GetDeafAddress(), kPatience ) );
    EXPECT_EQ( endpoint.GetState(), State::kStateClosed );
    EXPECT_ERROR( 3100, endpoint.SendData( "a", 1, 0 ) );
    EXPECT_EQ( endpoint.GetState(), State::kStateClosed );

    TestConnection connection;
    EXPECT_ERROR( 1006, connection.client.Connect( GetDeafAddress(), 0 ) );
    EXPECT_ERROR( 1006, endpoint.Listen() );
}

/// The first adapter's address is one of this machine on which nobody listens at that port; the second takes connections.
TEST( XNetEndpointTest, TriesAdaptersInOrder )
{
    TestListener listener;
    const auto makeAddress = [&]( std::initializer_list<std::uint32_t> inAdapters )
    { return MakeAddress( inAdapters, listener.GetAddress().GetPort() ); };
    constexpr std::uint32_t kDeaf = 0xFFFFFFFF; // to which no connection can be made
    constexpr std::uint32_t kLoopBack = 0x7F000001;
    XNetEndpoint endpoint;
    endpoint.Connect( makeAddress( { kDeaf, kLoopBack } ), kPatience );
    EXPECT_EQ( endpoint.GetRemoteAddress().GetIPAddress( false ), kLoopBack );
    XNetEndpoint other;
    EXPECT_ERROR( 3104, other.Connect( makeAddress( { kLoopBack } ), kPatience, false ) );
    listener->Unbind();
    EXPECT_ERROR( 3106, other.Connect( makeAddress( { kDeaf, kLoopBack } ), kPatience ) );
}

/// Another thread may end an attempt while no address is being tried.
TEST( XNetEndpointTest, TriesNoFurtherAddressOnceDisconnected )
{
    struct DisconnectedImp : XSocketsTCPEndpointImp
    {
        void Connect( const XNetAddress&, std::uint32_t ) override
        {
            ++itsAttempts;
            itsEndpoint->ForceDisconnect();
            XThrow( kErrorConnectionRefused );
        }
        XNetEndpoint* itsEndpoint = nullptr;
        int itsAttempts = 0;
    };
    auto owner = std::make_unique<DisconnectedImp>();
    DisconnectedImp& imp = *owner;
    XNetEndpoint endpoint( std::move( owner ) );
    imp.itsEndpoint = &endpoint;
    EXPECT_ERROR( 3100, endpoint.Connect( MakeAddress( { 1, 2, 3 }, 80 ), kPatience ) );
    EXPECT_EQ( imp.itsAttempts, 1 );
}

TEST( XNetEndpointTest, NamesThePortInUse )
{
    TestListener listener;
    const std::int32_t port = listener.GetAddress().GetPort();
    XNetEndpoint other;
    EXPECT_ERROR( 10048, other.Bind( port ) );
    EXPECT_CONTAINS( TextOfError( [&] { other.Bind( port ); } ), "port " + std::to_string( port ) );
    EXPECT_EQ( other.GetState(), State::kStateClosed );
    listener->Unbind();
    other.Bind( port );
    EXPECT_EQ( other.GetState(), State::kStateDisconnected );
    EXPECT_EQ( other.GetLocalAddress().GetPort(), port );
}

TEST( XNetEndpointTest, ListensOnOneAdapterAlone )
{
    XNetEndpoint listener;
    listener.Bind( XNetAddress::GetLoopBackAddress( 0 ) );
    const XNetAddress address = listener.GetLocalAddress();
    EXPECT_EQ( address.GetIPAddress( false ), 0x7F000001u );
    XNetEndpoint client;
    client.Connect( address, kPatience );
    client.ForceDisconnect();
    EXPECT_EQ( // another address of the loop-back interface
        ErrorOf( [&] { client.Connect( XNetAddress( 0x7F000002, address.GetPort() ), kPatience ); } ),
        3106u );
    XNetEndpoint unknown;
    EXPECT_NE( ErrorOf( [&] { unknown.Bind( XNetAddress( "no-such-host.invalid", 0 ) ); } ), 0u );
    EXPECT_EQ( unknown.GetState(), State::kStateClosed ); // and not on all
}

TEST( XNetEndpointTest, NoticesThatThePeerHasGone )
{
    TestConnection connection;
    SendText( connection.client, "last" );
    connection.client.ForceDisconnect();
    EXPECT_EQ( connection.client.GetState(), State::kStateDisconnected );
    EXPECT_EQ( ReceiveText( *connection.server, 4 ), "last" );
    char byte = 0;
    EXPECT_ERROR( 3100, connection.server->ReceiveAnyData( &byte, 1, kPatience ) );
    EXPECT_EQ( connection.server->GetState(), State::kStateDisconnected );
    EXPECT_EQ( connection.server->GetTotalBytesRead(), 0u );
}

TEST( XNetEndpointTest, DisconnectsWhenThePeerHasReadAll )
{
    TestConnection connection;
    SendText( connection.client, "to be read" );
    SendText( *connection.server, "to be lost" );
    TestThread client( [&] { connection.client.Disconnect( kPatience ); } );
    client.StartThread();
    EXPECT_EQ( ReceiveText( *connection.server, 10 ), "to be read" );
    AwaitDisconnecting( connection.client );
    connection.server->Disconnect( kPatience );
    EXPECT_EQ( client.Finish(), 0 );
    EXPECT_EQ( connection.client.GetState(), State::kStateDisconnected );
}

/// Every wait ends at once when another thread disconnects, is asked to stop, or to suspend.
struct XNetEndpointWaitTest : testing::TestWithParam<int>
{
    enum
    {
        kReceive,
        kSend,
        kPeek,
        kDisconnect,
        kListen,
        kWaits
    };

    /// Waits on `itsEndpoint` in the way of the parameter.
    std::int32_t Wait()
    {
        char bytes[8];
        switch ( GetParam() )
        {
        case kReceive:
            itsEndpoint->ReceiveAnyData( bytes, 8, kNoTimeout );
            break;
        case kSend:
            for ( const std::vector<char> block( 65536 );; )
                itsEndpoint->SendData( block.data(), 65536, kNoTimeout );
        case kPeek:
            SendText( *itsConnection.server, "x" );
            itsEndpoint->PeekData( bytes, 8, kNoTimeout );
            break;
        case kDisconnect:
            itsEndpoint->Disconnect( kNoTimeout );
            break;
        default:
            delete itsEndpoint->Listen();
        }
        return 0;
    }

    /// Gives the thread the time to sleep: what it does then has to work before, too.
    static void LetItWait() { XThread::SleepCurrentThread( 20 ); }

    TestConnection itsConnection;
    TestListener itsListener;
    XNetEndpoint* itsEndpoint = GetParam() == kListen ? &*itsListener : &itsConnection.client;
    TestThread itsThread{ [this] { return Wait(); } };
};

TEST_P( XNetEndpointWaitTest, EndsWhenAnotherThreadDisconnects )
{
    itsThread.StartThread();
    LetItWait();
    const XTimer timer;
    itsEndpoint->ForceDisconnect();
    itsThread.WaitForTerminate( kPatience );
    EXPECT_LT( timer.GetElapsedMS(), 5000 );
    EXPECT_EQ( itsThread.GetThreadReturnCode(), GetParam() == kDisconnect ? 0 : 3100 );
    EXPECT_EQ( itsEndpoint->GetState(), State::kStateDisconnected );
}

TEST_P( XNetEndpointWaitTest, EndsWhenItsThreadIsToStop )
{
    itsThread.StartThread();
    LetItWait();
    itsThread.SuspendThread();
    EXPECT_TRUE( itsThread.IsThreadSuspended() );
    itsThread.ResumeThread();
    itsThread.StopThread( 7 );
    EXPECT_EQ( itsThread.GetThreadReturnCode(), 7 );
}

/// A send that the peer never takes keeps others waiting, but neither from being stopped nor beyond their time.
TEST( XNetEndpointTest, EndsWaitsForATurn )
{
    TestConnection connection;
    const auto send = [&]() -> std::int32_t
    {
        for ( const std::vector<char> block( 65536 );; )
            connection.client.SendData( block.data(), 65536, kNoTimeout );
    };
    TestThread first( send ), second( send );
    first.StartThread();
    second.StartThread();
    XThread::SleepCurrentThread( 50 ); // with less they might not wait yet
    second.StopThread( 9 );
    EXPECT_EQ( second.GetThreadReturnCode(), 9 );
    EXPECT_ERROR( 3105, connection.client.Disconnect( 20 ) );
    EXPECT_EQ( first.Finish(), 3100 );
}

TEST( XNetEndpointTest, ADisconnectionThatIsStoppedLeavesNobodyWaiting )
{
    TestConnection connection;
    TestThread receiver(
        [&]() -> std::int32_t
        {
            char byte = 0;
            return static_cast<std::int32_t>( connection.client.ReceiveAnyData( &byte, 1, kNoTimeout ) );
        } );
    TestThread closer( [&] { connection.client.Disconnect( kNoTimeout ); } );
    receiver.StartThread();
    XThread::SleepCurrentThread( 20 ); // so that the receiver has the connection
    closer.StartThread();
    AwaitDisconnecting( connection.client );
    closer.StopThread( 4 );
    EXPECT_EQ( receiver.Finish(), 3100 );
}

TEST( XNetEndpointTest, ADisconnectionLeavesNoBytesToAReceiver )
{
    for ( int round = 0; round < 20; ++round )
    {
        TestConnection connection;
        EXPECT_EQ( ReceiveBesideADisconnection( connection.client, *connection.server ), 3100 );
    }
}

/// An endpoint that listens, or is about to connect, has no connection to receive from.
TEST( XNetEndpointTest, ReceivesFromConnectionsOnly )
{
    TestListener listener;
    char byte = 0;
    EXPECT_ERROR( 3100, listener->ReceiveAnyData( &byte, 1, 0 ) );
    EXPECT_ERROR( 3100, listener->SendData( &byte, 1, 0 ) );
    XNetEndpoint client;
    client.Connect( listener.GetAddress(), kPatience ); // listens still
}

INSTANTIATE_TEST_SUITE_P( XNetEndpointTest, XNetEndpointWaitTest, testing::Range( 0, 5 ) );

TEST( XNetEndpointTest, EndsAConnectionAttempt )
{
    // A listener whose queue is full answers no further attempts.
    XNetEndpoint listener;
    listener.Bind( 0, 0 );
    const XNetAddress address = XNetAddress::GetLoopBackAddress( listener.GetLocalPort() );
    std::vector<XNetEndpoint> queued( 2 );
    std::uint32_t number = 0;
    for ( XNetEndpoint& endpoint : queued )
        number = ErrorOrZero( [&] { endpoint.Connect( address, 200 ); } );
    XNetEndpoint endpoint;
    EXPECT_ERROR( 3105, endpoint.Connect( address, 50 ) ) << number;
    EXPECT_ERROR( 3105, endpoint.Connect( address, 0 ) );
    EXPECT_ERROR( 3105, endpoint.ConnectWithProgress( address, 0 ) );
    EXPECT_EQ( AbortConnecting( endpoint, address ), 1001u );
    EXPECT_EQ( endpoint.GetState(), State::kStateClosed );
    TestThread thread( [&] { endpoint.ConnectWithProgress( address, kNoTimeout ); } );
    thread.StartThread();
    XThread::SleepCurrentThread( 20 );
    endpoint.ForceDisconnect();
    EXPECT_EQ( thread.Finish(), 3100 );
    thread.StartThread();
    XThread::SleepCurrentThread( 20 );
    thread.StopThread( 5 );
    EXPECT_EQ( thread.GetThreadReturnCode(), 5 );
    EXPECT_EQ( endpoint.GetState(), State::kStateClosed );
}

/// A thread that finds something to receive each time is asked to stop, too.
TEST( XNetEndpointTest, StopsWithoutHavingToWait )
{
    TestConnection connection;
    SendText( connection.client, "x" );
    TestThread thread(
        [&]() -> std::int32_t
        {
            for ( char byte = 0;; )
                connection.server->PeekAnyData( &byte, 1, kPatience );
        } );
    thread.StartThread();
    thread.StopThread( 9 );
    EXPECT_EQ( thread.GetThreadReturnCode(), 9 );
}

TEST( XNetEndpointTest, SharesItsConnectionWhenAssigned )
{
    TestConnection connection;
    XNetEndpoint copy;
    copy = connection.client;
    SendText( copy, "one" );
    copy = XNetEndpoint();
    SendText( connection.client, "two" );
    EXPECT_EQ( ReceiveText( *connection.server, 6 ), "onetwo" );
}

TEST( XNetEndpointTest, RemembersItsKeepAliveTime )
{
    TestConnection connection;
    EXPECT_EQ( connection.client.GetKeepAliveTimeMS(), kNoTimeout );
    for ( const std::uint32_t time : { 0u, 1u, 1500u, 0xFFFFFFFEu, kNoTimeout } )
    {
        connection.client.SetKeepAliveTimeMS( time );
        EXPECT_EQ( connection.client.GetKeepAliveTimeMS(), time );
    }
    XNetEndpoint closed;
    EXPECT_ERROR( 3100, closed.SetKeepAliveTimeMS( 1 ) );

    TestListener listener; // whose options the system gives to the connections
    listener->SetKeepAliveTimeMS( 5000 );
    closed.Connect( listener.GetAddress(), kPatience );
    EXPECT_EQ( listener.Accept()->GetKeepAliveTimeMS(), 5000u );
}

TEST( XNetEndpointTest, KnowsTheAddressesOfAConnection )
{
    TestListener listener;
    XNetEndpoint client;
    client.Connect( listener.GetAddress(), kPatience );
    const auto server = listener.Accept();
    const XNetAddress local = XNetAddress::GetLocalAddress( 0 );
    EXPECT_EQ( client.GetRemoteAddress().GetIPAddress( false ), 0x7F000001u );
    EXPECT_EQ( client.GetRemoteAddress().GetPort(), listener.GetAddress().GetPort() );
    EXPECT_EQ( server->GetRemoteAddress().GetIPAddress( false ), local.GetIPAddress( false ) );
    EXPECT_EQ( server->GetRemoteAddress().GetHostName( false ), local.GetHostName( false ) );
    EXPECT_NE( server->GetRemoteAddress().GetPort(), 0 );
    EXPECT_EQ( listener->GetLocalAddress().GetHostName( false ), local.GetHostName( false ) );
}
