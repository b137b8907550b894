#include "RemoteCalls/TestBridge.h"

#include "Core/Times/XTimer.h"
#include "Services/XSessionLogManager.h"
#include "TestFolder.h"

namespace
{

/// A client that speaks the protocol by hand, without a cipher.
class RawClient
{
public:
    explicit RawClient( const TestServer& inServer, XVersion inPreamble = TestBridge::GetClassVersion() )
        : itsStream( itsEndpoint, kPatience, kPatience, 4096 )
    {
        itsEndpoint.Connect( inServer.GetAddress(), kPatience );
        itsStream.SetByteOrder( kMotorolaOrder );
        itsStream.WriteVersion( inPreamble );
    }

    /// Sends a call and returns the status of the return.
    std::uint32_t Call( std::uint32_t inWord, std::initializer_list<std::uint32_t> inArguments = {} )
    {
        Send( inWord, inArguments );
        return itsStream.Read32();
    }
    void Send( std::uint32_t inWord, std::initializer_list<std::uint32_t> inArguments = {} )
    {
        itsStream.Write32( inWord );
        for ( const std::uint32_t argument : inArguments )
            itsStream.Write32( argument );
        itsStream.Flush();
    }
    std::uint32_t Read() { return itsStream.Read32(); }
    XStream& GetStream() { return itsStream; }

    void Authenticate( std::uint32_t inType = 0 )
    {
        EXPECT_EQ( Call( 1000, { 1000, inType } ), 0u );
        EXPECT_EQ( Call( 1001, { XRPCBridge::TransformSentinel( Read() ), 3 } ), 0u );
        EXPECT_EQ( Read(), 4u );
    }

    /// Nothing more comes.
    void ExpectEnd()
    {
        EXPECT_EQ( ErrorOf( [&] { itsStream.Read8(); } ), 3100u );
    }

private:
    XNetEndpoint itsEndpoint;
    XNetStream itsStream;
};

class XRPCBridgeHandshakeTest : public testing::Test
{
protected:
    TestServer itsServer{ XRPCCipher() };
    TestServices& itsServices = itsServer.services;
};

} // namespace

TEST_F( XRPCBridgeHandshakeTest, TransformsSentinels )
{
    EXPECT_EQ( XRPCBridge::TransformSentinel( 1001 ), 1501u );
    EXPECT_EQ( XRPCBridge::TransformSentinel( 3 ), 4u );
    EXPECT_EQ( XRPCBridge::TransformSentinel( 0xFFFFFFFF ), 0x7FFFFFFEu );
}

TEST_F( XRPCBridgeHandshakeTest, ChecksVersionAndTypeAndGoesOn )
{
    RawClient client( itsServer );
    EXPECT_EQ( client.Call( 1000, { 999, 0 } ), 3093u );
    EXPECT_EQ( client.Call( 1000, { 1001, 0 } ), 3092u );
    EXPECT_EQ( client.Call( 1000, { 1001, 7 } ), 3092u );
    EXPECT_EQ( client.Call( 1000, { 1000, 7 } ), 3092u );
    client.Authenticate();
    EXPECT_EQ( client.Call( 1005 ), 0u );
    EXPECT_EQ( client.Call( 1000, { 999, 0 } ), 3093u );
    EXPECT_EQ( client.Call( 1005 ), 0u ); // still authenticated
    EXPECT_EQ( client.Call( 1003, { 2000 } ), 0u );
    EXPECT_EQ( client.GetStream().Read8(), 1u );
}

TEST_F( XRPCBridgeHandshakeTest, ServesNobodyWhoHasNotAuthenticated )
{
    RawClient client( itsServer );
    EXPECT_EQ( client.Call( 1005 ), 3094u );
    client.ExpectEnd();
    RawClient unknown( itsServer );
    EXPECT_EQ( unknown.Call( 7 ), 3094u );
    unknown.ExpectEnd();
    RawClient early( itsServer );
    EXPECT_EQ( early.Call( 1001, { 1, 1 } ), 3094u );
    early.ExpectEnd();
    RawClient initiated( itsServer );
    EXPECT_EQ( initiated.Call( 1000, { 1000, 0 } ), 0u );
    initiated.Read();
    initiated.Send( 2001 | XRPCBridge::kAsynchronousCall, { 9 } );
    initiated.ExpectEnd();
    EXPECT_EQ( itsServices.noted, 0u );
    RawClient otherClass( itsServer, XVersion( 40100, 2 ) );
    otherClass.ExpectEnd();
}

TEST_F( XRPCBridgeHandshakeTest, FailsWithoutTheKey )
{
    TestServer server; // with RC4
    TestBridge other(
        XRPCBridge::kClient, XRPCCipher( XEncryptedNetStream::kAlgorithmRC4, "another key, yes" ) );
    const std::uint32_t error = ErrorOf( [&] { other.Connect( server.GetAddress(), kPatience ); } );
    EXPECT_TRUE( error == 3094 || error == 3100 ) << error;
}

TEST_F( XRPCBridgeHandshakeTest, LogsWrongSentinelsAndUnknownCalls )
{
    const TestFolder folder;
    XSessionLogManager::XOptions options;
    options.path = folder / "log";
    XSessionLogManager log( options );
    RawClient wrong( itsServer );
    EXPECT_EQ( wrong.Call( 1000, { 1000, 0 } ), 0u );
    wrong.Send( 1001, { XRPCBridge::TransformSentinel( wrong.Read() ) + 1, 3 } );
    wrong.ExpectEnd();
    RawClient unknown( itsServer );
    unknown.Authenticate();
    EXPECT_EQ( unknown.Call( 1234567 ), 3091u );
    unknown.ExpectEnd();
    RawClient asynchronous( itsServer );
    asynchronous.Authenticate();
    asynchronous.Send( 1234567 | XRPCBridge::kAsynchronousCall );
    asynchronous.ExpectEnd();
    itsServer->Stop();
    log.Flush();
    const std::string text = folder.Read( "log" );
    EXPECT_NE( text.find( "The RPC sender at " ), std::string::npos );
    EXPECT_NE( text.find( " was disconnected due to an incorrect security sentinel." ), std::string::npos );
    EXPECT_NE(
        text.find( "An RPC sender tried to make an unknown RPC call with code: 1234567" ),
        std::string::npos );
    EXPECT_NE(
        text.find( "An RPC sender tried to make an unknown asynchronous RPC call with code: 1234567" ),
        std::string::npos );
}

TEST_F( XRPCBridgeHandshakeTest, SwitchesTheOrderAfterTheAnswer )
{
    RawClient client( itsServer );
    client.Authenticate();
    EXPECT_EQ( client.Call( 1002, { 2 } ), 1005u );
    EXPECT_EQ( client.Call( 1002, { 0 } ), 0u );
    EXPECT_EQ( client.Read(), 0u );
    client.GetStream().SetByteOrder( kIntelOrder );
    client.GetStream().Write32( 2001 | XRPCBridge::kAsynchronousCall );
    client.GetStream().Write32( 0x01020304 );
    EXPECT_EQ( client.Call( 1005 ), 0u );
    EXPECT_EQ( itsServices.noted, 0x01020304u );
}

/// Peers that leave at every point of the opening, and after it, one after the other and side by side.
TEST_F( XRPCBridgeHandshakeTest, SurvivesAbandonedHandshakes )
{
    RawClient watcher( itsServer );
    watcher.Authenticate();
    const auto abandon = [&]( unsigned inPoint )
    {
        XNetEndpoint endpoint;
        endpoint.Connect( itsServer.GetAddress(), kPatience );
        const std::uint8_t bytes[] = { 0, 3,    0x9C, 0xA4, 0, 0, 3, 0xE8, 0, 0,
                                       3, 0xE8, 0,    0,    0, 0, 0, 0,    3, 0xE9 };
        if ( const unsigned count = inPoint % ( sizeof( bytes ) + 1 ) )
            endpoint.SendData( bytes, count, kPatience );
        if ( inPoint % 2 == 0 )
            endpoint.ForceDisconnect();
    };
    RunOnThreads(
        4,
        [&]( unsigned inThread )
        {
            for ( unsigned i = 0; i < 2500; ++i )
                abandon( i + inThread );
        } );
    EXPECT_EQ( watcher.Call( 1005 ), 0u );
    for ( const XTimer timer( kPatience ); itsServer->GetResponderCount() > 1 && !timer.HasExpired(); )
        XThread::YieldCurrentThread();
    EXPECT_EQ( itsServer->GetResponderCount(), 1u );
    RawClient( itsServer ).Authenticate();
}

/// Each is answered, as far as it can be, and ends its own connection only.
TEST_F( XRPCBridgeHandshakeTest, SurvivesWhatItsPeersSend )
{
    RawClient watcher( itsServer );
    watcher.Authenticate();
    RawClient noBool( itsServer ); // 2002 begins with one
    noBool.Authenticate();
    EXPECT_EQ( noBool.Call( 2002, { 0x07000000 } ), 1005u );
    noBool.ExpectEnd();
    RawClient noObject( itsServer );
    noObject.Authenticate();
    EXPECT_EQ( noObject.Call( 2008, { 65535 } ), 1003u );
    noObject.ExpectEnd();
    RawClient noRow( itsServer ); // a column without rows, but with a run
    noRow.Authenticate();
    EXPECT_EQ( noRow.Call( 2007, { 1457, 1453, 1452, 1452, 1, 0, 0, 0, 0, 0, 0, 1457, 0, 1, 0 } ), 1005u );
    noRow.ExpectEnd();
    {
        RawClient cut( itsServer );
        cut.Authenticate();
        cut.Send( 2004, { 0xFFFFFFFF, 1, 2 } ); // more doubles than come
    }
    RawClient talkative( itsServer ); // is answered although it is still sending
    talkative.Authenticate();
    talkative.GetStream().Write32( 1234567 );
    talkative.GetStream().WriteFiller( 1024 * 1024 );
    EXPECT_EQ( talkative.Read(), 3091u );
    talkative.ExpectEnd();
    RawClient notAsked( itsServer ); // a return that nobody waits for is a call without a slot
    notAsked.Authenticate();
    EXPECT_EQ( notAsked.Call( 0, { 0 } ), 3091u );
    notAsked.ExpectEnd();
    EXPECT_EQ( watcher.Call( 2008, { 0 } ), 0u );
    EXPECT_EQ( watcher.Read(), 0u );
}
