#include "RemoteCalls/TestBridge.h"

#include "Core/Times/XTimer.h"
#include "Threads/XMutex.h"

#include <vector>

namespace
{

/// A client that receives calls.
class ReceivingBridge : public TestBridge
{
public:
    explicit ReceivingBridge( XBridgeType inType ) : TestBridge( inType, MakeTestCipher() ) {}
    ~ReceivingBridge() override { StopBridge(); }

    std::uint32_t CallBackSelf( std::uint32_t inNumber ) override { return inNumber * 2; }

    WEvent hasAuthenticated;

private:
    void ReceiverAuthenticatedSelf() override { hasAuthenticated.Set(); }
};

/// A client that is disconnected when it is about to make one of its connections.
class LeavingClient : public ReceivingBridge
{
public:
    explicit LeavingClient( int inWhich )
        : ReceivingBridge( kBidirectionalClient ), itsConnectionsLeft( inWhich )
    {
    }
    ~LeavingClient() override { StopBridge(); }

private:
    void ConnectEndpoint(
        XNetEndpoint& ioEndpoint, const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) override
    {
        if ( --itsConnectionsLeft == 0 )
            ForceDisconnect();
        ReceivingBridge::ConnectEndpoint( ioEndpoint, inAddress, inTimeoutMS );
    }

    int itsConnectionsLeft;
};

/// An object of which a bridge must not keep any.
class CountedObject : public NamedObject
{
public:
    CountedObject() { ++sCount; }
    CountedObject( const CountedObject& ) = delete;
    ~CountedObject() override { --sCount; }
    static XVersion GetClassVersion() { return XVersion( 40003, 0 ); }
    static XVersion GetSuperClassVersion() { return NamedObject::GetClassVersion(); }
    XVersion GetVersion() const override { return GetClassVersion(); }

    static inline std::atomic<int> sCount = 0;
};

void SendReturn( XStream& ioStream, std::uint32_t inResult )
{
    ioStream.Write32( 0 );
    ioStream.Write32( inResult );
    ioStream.Flush();
}

/// Opens a conversation by hand, for the server, up to the client's request of a session.
void AnswerOpening( XNetEndpoint& ioEndpoint, XNetStream& ioStream )
{
    char preamble[4];
    ioEndpoint.ReceiveData( preamble, sizeof( preamble ), kPatience );
    ioStream.SetByteOrder( kMotorolaOrder );
    const auto read = [&]( int inCount )
    {
        std::uint32_t last = 0;
        for ( int i = 0; i < inCount; ++i )
            last = ioStream.Read32();
        return last;
    };
    read( 3 ); // call, version, type
    SendReturn( ioStream, 1001 );
    SendReturn( ioStream, XRPCBridge::TransformSentinel( read( 3 ) ) );
    const std::uint32_t order = read( 2 );
    SendReturn( ioStream, order );
    ioStream.SetByteOrder( static_cast<XByteOrder>( order ) );
    EXPECT_EQ( read( 1 ), 1004u );
}

/// A bridge to which a client connects while it is being deleted.
class VanishingBridge : public TestBridge
{
public:
    explicit VanishingBridge( std::uint32_t& outError ) : TestBridge( kServer ), itsError( outError ) {}
    ~VanishingBridge() override
    {
        itsError = ErrorOf( [this] { ConnectBidirectionalSession( session, new XNetEndpoint ); } );
        StopBridge();
    }

    const std::uint32_t session = RequestBidirectionalSessionSelf();

private:
    std::uint32_t& itsError;
};

/// A server that keeps the bridges it makes.
class KeepingServer
{
public:
    KeepingServer() : itsServer( "test" )
    {
        XServeBridges(
            itsServer, TestBridge::GetClassVersion(),
            [this]
            {
                auto bridge = XMakeRef<TestServerBridge>( &services, MakeTestCipher() );
                const XThreadLock lock( itsMutex );
                itsBridges.push_back( bridge );
                return XRefPtr<XRPCBridge>( bridge );
            } );
        itsServer.Start( 0 );
    }

    XNetAddress GetAddress() const { return XNetAddress::GetLoopBackAddress( itsServer.GetPort() ); }
    XRefPtr<TestServerBridge> GetLastBridge()
    {
        const XThreadLock lock( itsMutex );
        return itsBridges.back();
    }
    XNetServer* operator->() { return &itsServer; }

    TestServices services;

private:
    XMutex itsMutex;
    std::vector<XRefPtr<TestServerBridge>> itsBridges;
    XNetServer itsServer;
};

class XRPCBridgeSessionsTest : public testing::Test
{
protected:
    XRefPtr<ReceivingBridge> MakeClient( XRPCBridge::XBridgeType inType, bool inUseAutoReconnect = false )
    {
        auto client = XMakeRef<ReceivingBridge>( inType );
        client->Connect( itsServer.GetAddress(), kPatience, true, false, inUseAutoReconnect );
        return client;
    }
    /// Ends all connections and listens on the same port again.
    void RestartServer()
    {
        const std::int32_t port = itsServer->GetPort();
        itsServer->Stop();
        itsServer->Start( port );
    }

    KeepingServer itsServer;
};

} // namespace

TEST_F( XRPCBridgeSessionsTest, CallsBothWays )
{
    const auto client = MakeClient( XRPCBridge::kBidirectionalClient );
    EXPECT_TRUE( client->CanSend() && client->CanRecv() );
    EXPECT_EQ( client->CallBack( 20 ), 41u ); // the server's method calls the client's
    const auto server = itsServer.GetLastBridge();
    EXPECT_EQ( server->GetBridgeType(), XRPCBridge::kBidirectionalServer );
    server->WaitForReceiverToConnect( kPatience );
    RunOnThreads(
        4,
        [&]( unsigned inThread )
        {
            for ( std::uint32_t i = 0; i < 50; ++i )
            {
                EXPECT_EQ( server->CallBack( i ), 2 * i );
                EXPECT_EQ( client->Divide( inThread, 2 ), inThread / 2.0 );
            }
        } );
    EXPECT_EQ( ErrorOf( [&] { server->Divide( 1, 1 ); } ), 3091u ); // which the client does not serve
    client->Disconnect();
    EXPECT_FALSE( client->CanRecv() );
    const std::uint32_t error = ErrorOf( [&] { server->CallBack( 1 ); } );
    EXPECT_TRUE( error == 3099 || error == 3100 ) << error; // by then it may not have noticed
}

TEST_F( XRPCBridgeSessionsTest, ReceivesOnly )
{
    const auto client = MakeClient( XRPCBridge::kReceiveOnlyClient );
    EXPECT_TRUE( !client->CanSend() && client->CanRecv() );
    EXPECT_EQ( client->GetState(), XRPCBridge::kAuthenticated );
    EXPECT_EQ( ErrorOf( [&] { client->CheckAlive(); } ), 3100u );
    const auto server = itsServer.GetLastBridge();
    server->WaitForReceiverToConnect( kPatience );
    EXPECT_EQ( server->GetBridgeType(), XRPCBridge::kReceiveOnlyServer );
    for ( std::uint32_t i = 0; i < 50; ++i )
        EXPECT_EQ( server->CallBack( i ), 2 * i );
    client->Disconnect();
    XTimer timer( kPatience );
    while ( server->CanSend() && !timer.HasExpired() ) // it looks once a second
        XThread::SleepCurrentThread( 10 );
    EXPECT_EQ( ErrorOf( [&] { server->CallBack( 1 ); } ), 3099u );
}

TEST_F( XRPCBridgeSessionsTest, RefusesSessionsThatNobodyHasRequested )
{
    XNetEndpoint guess;
    guess.Connect( itsServer.GetAddress(), kPatience );
    guess.SendData( "\x00\x00\x05\x16\x12\x34\x56\x78", 8, kPatience );
    char byte = 0;
    EXPECT_EQ( ErrorOf( [&] { guess.ReceiveData( &byte, 1, kPatience ); } ), 3100u );
    EXPECT_EQ( ErrorOf( [] { XRPCBridge::ConnectBidirectionalSession( 1, new XNetEndpoint ); } ), 3097u );
    auto client = XMakeRef<TestBridge>( XRPCBridge::kClient, MakeTestCipher() );
    client->Connect( itsServer.GetAddress(), kPatience );
    const std::uint32_t session = client->RequestBidirectionalSession();
    EXPECT_NE( session, 0u );
    EXPECT_EQ( ErrorOf( [&] { client->RequestBidirectionalSession(); } ), 3096u );
    EXPECT_EQ( ErrorOf( [&] { client->RequestReceiveOnlySession(); } ), 3091u );
    EXPECT_EQ( // valid once, although nobody speaks on the connection
        ErrorOf( [&] { XRPCBridge::ConnectBidirectionalSession( session, new XNetEndpoint ); } ), 3100u );
    EXPECT_EQ(
        ErrorOf( [&] { XRPCBridge::ConnectBidirectionalSession( session, new XNetEndpoint ); } ), 3097u );
    client->Disconnect();
}

TEST_F( XRPCBridgeSessionsTest, ForgetsTheSessionsOfBridgesThatAreBeingDeleted )
{
    std::uint32_t error = 0;
    auto bridge = XMakeRef<VanishingBridge>( error );
    const std::uint32_t session = bridge->session;
    bridge.Reset();
    EXPECT_EQ( error, 3097u );
    EXPECT_EQ(
        ErrorOf( [&] { XRPCBridge::ConnectBidirectionalSession( session, new XNetEndpoint ); } ), 3097u );
}

/// An aborted call is neither counted nor run, and its arguments are not taken for the next call.
TEST_F( XRPCBridgeSessionsTest, AbortsCallsThatArrive )
{
    const auto client = MakeClient( XRPCBridge::kClient );
    const auto server = itsServer.GetLastBridge();
    const std::uint32_t received = XRPCBridge::GetTotalRPCCallsReceived();
    server->AbortReceiverRPCCall( 2000 );
    EXPECT_TRUE( client->Note_NoThrow( 7 ) ); // another call leaves the mark
    EXPECT_EQ( ErrorOf( [&] { client->Divide( 8, 4 ); } ), 3098u );
    EXPECT_EQ( client->Divide( 8, 4 ), 2 );
    server->AbortReceiverRPCCall( 2000 );
    server->ResetReceiverAbortRPCCall();
    EXPECT_EQ( client->Divide( 8, 4 ), 2 );
    EXPECT_EQ( XRPCBridge::GetTotalRPCCallsReceived(), received + 3 );
    client->Disconnect();
}

TEST_F( XRPCBridgeSessionsTest, LimitsTheBytesOfCallsAndReturns )
{
    const auto client = MakeClient( XRPCBridge::kClient );
    itsServer.GetLastBridge()->SetMostCallBytes( 4 + 4 + 800 + 8 );
    for ( int i = 0; i < 3; ++i )
        EXPECT_EQ( client->Scale( XVector<double>( 100, 1.5 ), 2 ).back(), 3 );
    EXPECT_EQ( ErrorOf( [&] { client->Scale( XVector<double>( 101, 1.5 ), 2 ); } ), 1005u );
    EXPECT_EQ( ErrorOf( [&] { client->CheckAlive(); } ), 3100u );
    const auto careful = MakeClient( XRPCBridge::kClient );
    careful->SetMostCallBytes( 4 + 4 + 800 );
    EXPECT_EQ( careful->Scale( XVector<double>( 100, 1.5 ), 2 ).back(), 3 );
    EXPECT_EQ( ErrorOf( [&] { careful->Scale( XVector<double>( 101, 1.5 ), 2 ); } ), 1005u );
    EXPECT_EQ( ErrorOf( [&] { careful->CheckAlive(); } ), 3100u );
}

TEST_F( XRPCBridgeSessionsTest, RepeatsCallsOverNewConnections )
{
    const auto client = MakeClient( XRPCBridge::kClient, true );
    EXPECT_EQ( client->Count(), 1u );
    RestartServer();
    EXPECT_EQ( client->Count(), 2u );
    RestartServer();
    EXPECT_EQ( ErrorOf( [&] { client->CountOnce(); } ), 3100u );
    EXPECT_EQ( client->CountOnce(), 3u ); // it had not run, and the connection is there again
    client->SetUseAutoReconnect( false );
    RestartServer();
    EXPECT_EQ( ErrorOf( [&] { client->Count(); } ), 3100u );
    EXPECT_EQ( ErrorOf( [&] { client->Count(); } ), 3100u );
    client->SetUseAutoReconnect( true );
    EXPECT_EQ( client->Count(), 4u );
    client->Disconnect();
    EXPECT_EQ( ErrorOf( [&] { client->Count(); } ), 3100u );
}

TEST_F( XRPCBridgeSessionsTest, WaitsForTheServerToComeBack )
{
    const auto client = MakeClient( XRPCBridge::kClient, true );
    const std::int32_t port = itsServer->GetPort();
    itsServer->Stop();
    TestThread caller(
        [&]
        {
            EXPECT_EQ( client->Count(), 1u );
            return 0;
        } );
    caller.StartThread();
    EXPECT_TRUE( caller.SleepUntilTerminate( 300 ) );
    itsServer->Start( port );
    caller.WaitForTerminate( kPatience );
    itsServer->Stop();
    TestThread given( // up on
        [&]
        {
            EXPECT_EQ( ErrorOf( [&] { client->Count(); } ), 3100u );
            return 0;
        } );
    given.StartThread();
    EXPECT_TRUE( given.SleepUntilTerminate( 100 ) );
    client->ForceDisconnect();
    given.WaitForTerminate( kPatience );
}

/// A server that asks for a second connection, for which its queue has no room.
TEST_F( XRPCBridgeSessionsTest, EndsAnAttemptToConnectForTheOtherDirection )
{
    XNetEndpoint listener;
    listener.Bind( 0, 0 );
    const XNetAddress address = XNetAddress::GetLoopBackAddress( listener.GetLocalPort() );
    std::vector<XNetEndpoint> queued( 2 );
    WEvent isFull;
    const auto client = XMakeRef<TestBridge>( XRPCBridge::kBidirectionalClient, XRPCCipher() );
    const auto serve = [&]
    {
        const std::unique_ptr<XNetEndpoint> endpoint( listener.Listen() );
        XNetStream stream( *endpoint, kPatience, kPatience, 4096 );
        AnswerOpening( *endpoint, stream );
        for ( XNetEndpoint& each : queued )
            try
            {
                each.Connect( address, 200 );
            }
            catch ( const XException& ) // full already
            {
            }
        SendReturn( stream, 5 );
        isFull.Set();
        EXPECT_EQ( ErrorOf( [&] { stream.Read8(); } ), 3100u );
    };
    RunTogether(
        serve, [&] { EXPECT_EQ( ErrorOf( [&] { client->Connect( address, kPatience ); } ), 3100u ); },
        [&]
        {
            isFull.Wait( kPatience );
            XThread::SleepCurrentThread( 50 ); // until it connects: before that, it ends anyway
            client->ForceDisconnect();
        } );
}

/// The server never opens its side of the conversation.
TEST_F( XRPCBridgeSessionsTest, AbortsACallThatWaitsForTheServer )
{
    const auto client = MakeClient( XRPCBridge::kBidirectionalClient );
    const std::int32_t port = itsServer->GetPort();
    {
        const XMakeRPCCall call( *client, 2000, true );
        client->AbortSenderRPCCall( 2000 ); // so that the next call reconnects
    }
    itsServer->Stop();
    XNetEndpoint listener;
    listener.Bind( port );
    WEvent hasEnded;
    const auto serve = [&]
    {
        const std::unique_ptr<XNetEndpoint> endpoint( listener.Listen() );
        XEncryptedNetStream stream(
            *endpoint, kTestKey, XEncryptedNetStream::kAlgorithmRC4, kPatience, kPatience, 4096 );
        AnswerOpening( *endpoint, stream );
        SendReturn( stream, 5 );
        const std::unique_ptr<XNetEndpoint> reverse( listener.Listen() );
        client->AbortSenderRPCCall( XRPCBridge::kCheckAlive );
        EXPECT_EQ( hasEnded.Wait( XRPCBridge::kHandshakeTimeoutMS / 2 ), kWaitSucceeded );
    };
    RunTogether(
        serve,
        [&]
        {
            EXPECT_ERROR( 3098, client->CheckAlive() );
            hasEnded.Set();
        } );
}

TEST_F( XRPCBridgeSessionsTest, MakesNoConnectionOnceItIsDisconnected )
{
    for ( const int which : { 1, 2 } )
    {
        const auto client = XMakeRef<LeavingClient>( which );
        const std::uint32_t sent = XRPCBridge::GetTotalRPCCallsSent();
        EXPECT_ERROR( 3100, client->Connect( itsServer.GetAddress(), kPatience ) );
        EXPECT_TRUE( which == 2 || XRPCBridge::GetTotalRPCCallsSent() == sent );
        EXPECT_FALSE( client->CanSend() || client->CanRecv() );
    }
}

TEST_F( XRPCBridgeSessionsTest, LosesTheSenderOfAServerByALateAbort )
{
    const auto client = MakeClient( XRPCBridge::kBidirectionalClient );
    const auto server = itsServer.GetLastBridge();
    server->WaitForReceiverToConnect( kPatience );
    {
        const XMakeRPCCall call( *server, 2012, true );
        server->AbortSenderRPCCall( 2012 );
    }
    EXPECT_EQ( server->GetSenderState(), XRPCBridge::kNotConnected );
    EXPECT_ERROR( 3099, server->CallBack( 1 ) );
}

/// Neither of a call that ran nor of one that was aborted.
TEST_F( XRPCBridgeSessionsTest, KeepsNothingOfACall )
{
    XClassRegistry::RegisterClass<NamedObject>( "Named" );
    XClassRegistry::RegisterClass<CountedObject>( "Counted" );
    const auto client = MakeClient( XRPCBridge::kClient );
    EXPECT_TRUE( client->Pass( std::make_unique<CountedObject>(), true ) );
    client->Share( XMakeRef<CountedObject>() );
    EXPECT_TRUE( Await( [] { return CountedObject::sCount == 0; } ) );
    itsServer.GetLastBridge()->AbortReceiverRPCCall( 2007 );
    EXPECT_ERROR( 3098, client->Pass( std::make_unique<CountedObject>(), true ) );
    EXPECT_TRUE( Await( [] { return CountedObject::sCount == 0; } ) );
}

TEST_F( XRPCBridgeSessionsTest, ReceivesAgainByItself )
{
    const auto both = MakeClient( XRPCBridge::kBidirectionalClient, true );
    const auto receiver = MakeClient( XRPCBridge::kReceiveOnlyClient, true );
    const auto without = MakeClient( XRPCBridge::kReceiveOnlyClient );
    for ( int i = 0; i < 3; ++i )
    {
        both->hasAuthenticated.Clear();
        receiver->hasAuthenticated.Clear();
        RestartServer();
        both->hasAuthenticated.Wait( kPatience );
        receiver->hasAuthenticated.Wait( kPatience );
        EXPECT_EQ( both->CallBack( 4 ), 9u );
    }
    EXPECT_FALSE( without->CanRecv() );
    both->Disconnect();
    receiver->ForceDisconnect();
}
