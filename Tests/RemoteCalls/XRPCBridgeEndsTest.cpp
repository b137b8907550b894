#include "RemoteCalls/TestBridge.h"

#include "Threads/XMutex.h"

// What bridges tell and leave behind when conversations and calls end, and what they refuse of a server.

namespace
{

/// A client that counts its hooks.
class CountingBridge : public TestBridge
{
public:
    explicit CountingBridge( XBridgeType inType, const XRPCCipher& inCipher = MakeTestCipher() )
        : TestBridge( inType, inCipher )
    {
    }
    ~CountingBridge() override { StopBridge(); }

    bool IsSenderFree() const { return GetSenderMutex().GetOwner() == 0; }

    std::atomic<int> authentications = 0;
    std::atomic<int> receiverEnds = 0;
    std::atomic<int> senderEnds = 0;

private:
    void ReceiverAuthenticatedSelf() override { ++authentications; }
    void ReceiverDisconnectedSelf() override { ++receiverEnds; }
    void SenderDisconnectedSelf() override { ++senderEnds; }
};

/// A server whose clients lose their connection by a call, before its return.
class LeavingBridge : public TestServerBridge
{
public:
    using TestServerBridge::TestServerBridge;
    ~LeavingBridge() override { StopBridge(); }

    std::uint32_t CountSelf() override
    {
        const std::uint32_t count = TestServerBridge::CountSelf();
        ForceDisconnect();
        return count;
    }
};

/// A server whose session numbers are wrong.
class MisleadingBridge : public TestServerBridge
{
public:
    using TestServerBridge::TestServerBridge;
    ~MisleadingBridge() override { StopBridge(); }

    std::uint32_t RequestBidirectionalSessionSelf() override { return 5; }
};

/// What a server by hand answers to the opening of a client, and to the call after it, a while later.
struct Answers
{
    std::uint32_t status = 0;
    std::uint32_t deviation = 0; // from the answer to the challenge
    std::uint32_t order = kMotorolaOrder;
    std::uint32_t lastStatus = 3091;
};

void Answer( TestListener& ioListener, const Answers& inAnswers )
{
    const auto endpoint = ioListener.Accept();
    XNetStream stream( *endpoint, kPatience, kPatience, 4096 );
    stream.SetByteOrder( kMotorolaOrder );
    const auto read = [&]( int inCount )
    {
        std::uint32_t last = 0;
        for ( int i = 0; i < inCount; ++i )
            last = stream.Read32();
        return last;
    };
    const auto answer = [&]( std::uint32_t inStatus, std::uint32_t inResult )
    {
        stream.Write32( inStatus );
        stream.Write32( inResult );
        stream.Flush();
    };
    read( 4 ); // preamble, call, version, type
    answer( inAnswers.status, 1001 );
    answer( 0, XRPCBridge::TransformSentinel( read( 3 ) ) + inAnswers.deviation );
    read( 2 );
    answer( 0, inAnswers.order );
    read( 1 );
    XThread::SleepCurrentThread( 50 );
    answer( inAnswers.lastStatus, 0 );
}

/// The error of a client that connects to such a server, and has little time for returns.
std::uint32_t ErrorOfConnecting( const Answers& inAnswers, XRPCBridge::XBridgeType inType )
{
    TestListener listener;
    const auto client = XMakeRef<TestBridge>( inType, XRPCCipher() );
    client->SetReturnTimeout( 1 );
    std::uint32_t error = 0;
    RunTogether(
        [&]
        {
            try
            {
                Answer( listener, inAnswers );
            }
            catch ( const XException& ) // the client has gone
            {
            }
        },
        [&] { error = ErrorOf( [&] { client->Connect( listener.GetAddress(), kPatience ); } ); } );
    return error;
}

class XRPCBridgeEndsTest : public testing::Test
{
protected:
    XRPCBridgeEndsTest() : itsServer( "test" )
    {
        XServeBridges(
            itsServer, TestBridge::GetClassVersion(),
            [this]
            {
                auto bridge = XMakeRef<TestServerBridge>( &itsServices, MakeTestCipher() );
                bridge->NegotiateByteOrderSelf( kIntelOrder ); // as in one that ended before its answer
                const XThreadLock lock( itsMutex );
                itsBridge = bridge;
                return XRefPtr<XRPCBridge>( bridge );
            } );
        itsServer.Start( 0 );
        itsAddress = XNetAddress::GetLoopBackAddress( itsServer.GetPort() );
    }

    template<class TBridge = TestBridge>
    XRefPtr<TBridge> MakeClient( bool inUseAutoReconnect = false, std::uint32_t inTimeoutMS = kPatience )
    {
        auto client = XMakeRef<TBridge>( XRPCBridge::kClient, MakeTestCipher() );
        client->Connect( itsAddress, inTimeoutMS, true, false, inUseAutoReconnect );
        return client;
    }
    XRefPtr<TestServerBridge> GetLastBridge()
    {
        const XThreadLock lock( itsMutex );
        return itsBridge;
    }

    TestServices itsServices;
    XMutex itsMutex;
    XRefPtr<TestServerBridge> itsBridge;
    XNetServer itsServer;
    XNetAddress itsAddress;
};

} // namespace

TEST_F( XRPCBridgeEndsTest, RefusesServersThatAnswerWrongly )
{
    for ( const auto type : { XRPCBridge::kReceiveOnlyClient, XRPCBridge::kBidirectionalClient } )
    {
        EXPECT_EQ( ErrorOfConnecting( { .status = 5 }, type ), 3094u );
        EXPECT_EQ( ErrorOfConnecting( { .status = 3092 }, type ), 3092u );
        EXPECT_EQ( ErrorOfConnecting( { .deviation = 1 }, type ), 3094u );
        EXPECT_EQ( ErrorOfConnecting( { .order = 2 }, type ), 1005u );
        EXPECT_EQ( ErrorOfConnecting( {}, type ), 3091u ); // however late, within the time of a step
    }
}

TEST_F( XRPCBridgeEndsTest, RefusesServersThatDoNotCallBack )
{
    XNetServer server( "misleading" );
    XServeBridge<MisleadingBridge>( server, &itsServices, MakeTestCipher() );
    server.Start( 0 );
    const auto client = XMakeRef<CountingBridge>( XRPCBridge::kBidirectionalClient );
    const auto address = XNetAddress::GetLoopBackAddress( server.GetPort() );
    EXPECT_ERROR( 3105, client->Connect( address, kPatience ) );
    EXPECT_EQ( client->receiverEnds, 1 );
    EXPECT_FALSE( client->CanSend() || client->CanRecv() );
}

TEST_F( XRPCBridgeEndsTest, TellsEachEndOnce )
{
    const auto receiver = XMakeRef<CountingBridge>( XRPCBridge::kReceiveOnlyClient );
    for ( int i = 1; i <= 40; ++i )
    {
        receiver->Connect( itsAddress, kPatience );
        receiver->Disconnect();
        EXPECT_EQ( receiver->authentications, i );
        EXPECT_EQ( receiver->receiverEnds, i );
    }
    const auto sender = MakeClient<CountingBridge>( true, 200 );
    itsServer.Stop();
    for ( int i = 0; i < 2; ++i )
    {
        EXPECT_EQ( ErrorOf( [&] { sender->CheckAlive(); } ), 3100u );
        EXPECT_EQ( sender->senderEnds, 1 );
        EXPECT_TRUE( sender->IsSenderFree() );
    }
}

TEST_F( XRPCBridgeEndsTest, EndsThePresentConversationWhenItConnects )
{
    const auto client = MakeClient();
    RunTogether(
        [&] { EXPECT_EQ( ErrorOf( [&] { client->Block(); } ), 3100u ); },
        [&]
        {
            itsServices.isBlocked.Wait( kPatience );
            client->Connect( itsAddress, kPatience );
            EXPECT_EQ( client->Divide( 1, 2 ), 0.5 );
            itsServices.mayGoOn.Set();
        } );
    itsServices.mayGoOn.Clear();
    client->SetReturnTimeout( 50 );
    client->Connect( itsAddress, kPatience );
    EXPECT_EQ( ErrorOf( [&] { client->Block(); } ), 3105u );
    itsServices.mayGoOn.Set();
    const std::int32_t port = itsServer.GetPort();
    itsServer.Stop();
    EXPECT_EQ( ErrorOf( [&] { client->Connect( itsAddress, 200, true, false, true ); } ), 3106u );
    itsServer.Start( port );
    EXPECT_EQ( ErrorOf( [&] { client->CheckAlive(); } ), 3100u ); // nothing connects by itself
}

TEST_F( XRPCBridgeEndsTest, RepeatsOnlyWhatWasLostAndOnlySoOften )
{
    const auto careful = MakeClient( true );
    careful->SetMostCallBytes( 4 + 4 + 80 );
    EXPECT_EQ( ErrorOf( [&] { careful->Scale( XVector<double>( 11, 1.5 ), 2 ); } ), 1005u );
    EXPECT_EQ( careful->Scale( XVector<double>( 10, 1.5 ), 2 ).back(), 3 ); // over a new connection
    XNetServer server( "leaving" );
    XServeBridge<LeavingBridge>( server, &itsServices, MakeTestCipher() );
    server.Start( 0 );
    careful->Connect( XNetAddress::GetLoopBackAddress( server.GetPort() ), kPatience, true, false, true );
    EXPECT_EQ( ErrorOf( [&] { careful->Count(); } ), 3100u );
    EXPECT_EQ( itsServices.count, 5u );
    careful->Disconnect();
}

TEST_F( XRPCBridgeEndsTest, AbortsCallsWhereTheyArriveAndWhileTheyReconnect )
{
    const auto client = MakeClient( true );
    const auto server = GetLastBridge();
    EXPECT_EQ( ErrorOf( [&] { server->Serve( XNetEndpoint(), {} ); } ), 1013u ); // while it serves another
    server->AbortReceiverRPCCall( 2000 );
    client->CheckAlive();
    EXPECT_EQ( ErrorOf( [&] { client->Divide( 1, 2 ); } ), 3098u );
    EXPECT_EQ( client->Divide( 1, 2 ), 0.5 );
    const std::int32_t port = itsServer.GetPort();
    itsServer.Stop();
    RunTogether(
        [&] { EXPECT_EQ( ErrorOf( [&] { client->CheckAlive(); } ), 3098u ); },
        [&]
        {
            EXPECT_TRUE( Await( [&] { return !client->CanSend(); } ) ); // the call reconnects
            client->AbortSenderRPCCall( XRPCBridge::kCheckAlive );
        } );
    itsServer.Start( port );
    client->CheckAlive(); // which the abort does not meet
}

TEST_F( XRPCBridgeEndsTest, ForgetsSessionsAfterTheirTime )
{
    const auto client = MakeClient();
    const std::uint32_t session = client->RequestBidirectionalSession();
    XThread::SleepCurrentThread( XRPCBridge::kSessionTimeoutMS );
    EXPECT_EQ(
        ErrorOf( [&] { XRPCBridge::ConnectBidirectionalSession( session, new XNetEndpoint ); } ), 3097u );
    EXPECT_NE( client->RequestBidirectionalSession(), 0u );
}
