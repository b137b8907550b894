#include "RemoteCalls/TestBridge.h"

#include "Network/Linux/TestTLS.h"

namespace
{

class XRPCBridgeTLSTest : public testing::Test, protected TestContexts
{
protected:
    XRPCBridgeTLSTest() : itsServer( "tls" )
    {
        XServeBridge<TestServerBridge>( itsServer, &itsServices, XRPCCipher() );
        itsServer.UseTLS( TestContexts::server );
        itsServer.Start( 0 );
    }

    class Client : public TestBridge
    {
    public:
        Client( XBridgeType inType, const std::shared_ptr<const WTLSContext>& inContext )
            : TestBridge( inType, XRPCCipher() )
        {
            UseTLS( inContext );
        }
        ~Client() override { StopBridge(); }
        std::uint32_t CallBackSelf( std::uint32_t inNumber ) override { return inNumber * 2; }
    };

    XNetAddress GetAddress() const { return XNetAddress::GetLoopBackAddress( itsServer.GetPort() ); }

    TestServices itsServices;
    XNetServer itsServer;
};

} // namespace

TEST_F( XRPCBridgeTLSTest, CallsInBothDirectionsAndReconnects )
{
    Client bridge( XRPCBridge::kBidirectionalClient, TestContexts::client );
    bridge.Connect( GetAddress(), kPatience, true, false, true );
    const std::int32_t port = itsServer.GetPort();
    for ( int i = 0; i < 3; ++i )
    {
        itsServices.noted = 0;
        EXPECT_EQ( bridge.CallBack( 4 ), 9u );
        EXPECT_EQ( bridge.Scale( XVector<double>( 100'000, 1.5 ), 2 ).back(), 3 );
        for ( std::uint32_t number = 1; number <= 100; ++number )
            bridge.Note_NoWaitForReturn( number );
        bridge.CheckAlive();
        EXPECT_EQ( itsServices.noted, 100u );
        itsServer.Stop();
        itsServer.Start( port );
    }
    bridge.Disconnect();
    Client receiver( XRPCBridge::kReceiveOnlyClient, TestContexts::client );
    receiver.Connect( GetAddress(), kPatience );
    EXPECT_TRUE( receiver.CanRecv() );
}

TEST_F( XRPCBridgeTLSTest, LetsNobodyInWithoutACertificate )
{
    Client without( XRPCBridge::kClient, nullptr );
    EXPECT_NE( ErrorOf( [&] { without.Connect( GetAddress(), kPatience ); } ), 0u );
    Client other( XRPCBridge::kClient, TestContexts().client ); // another authority's
    EXPECT_NE( ErrorOf( [&] { other.Connect( GetAddress(), kPatience ); } ), 0u );
    EXPECT_FALSE( without.CanSend() || other.CanSend() );
    Client( XRPCBridge::kClient, TestContexts::client ).Connect( GetAddress(), kPatience );
}
