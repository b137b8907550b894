#include "RemoteCalls/TestBridge.h"

#include "Messaging/XListener.h"
#include "Messaging/XRemoteNotifyMessage.h"

#include <vector>

namespace
{

class XRemoteNotifyMessageTest : public testing::Test, public XListener
{
protected:
    XRemoteNotifyMessageTest() : itsServer( "test" )
    {
        itsBridge = XMakeRef<TestServerBridge>( &itsServices, MakeTestCipher() );
        Subscribe( *itsBridge );
        XServeBridges(
            itsServer, TestBridge::GetClassVersion(), [this] { return XRefPtr<XRPCBridge>( itsBridge ); } );
        itsServer.Start( 0 );
        itsClient = XMakeRef<TestBridge>( XRPCBridge::kClient, MakeTestCipher() );
        itsClient->Connect( XNetAddress::GetLoopBackAddress( itsServer.GetPort() ), kPatience );
    }
    ~XRemoteNotifyMessageTest() override { StopListening(); }

    void HandleMessage( const XMessage& inMessage ) override
    {
        EXPECT_TRUE( XThread::IsMainThread() );
        EXPECT_EQ( inMessage.GetSpeaker(), itsBridge.Get() );
        itsIDs.push_back( dynamic_cast<const XRemoteMessage&>( inMessage ).GetID() );
        const auto* const notification = dynamic_cast<const XRemoteNotifyMessage*>( &inMessage );
        itsValues.push_back( notification ? notification->GetValue() : 0 );
    }

    TestServices itsServices;
    XRefPtr<TestServerBridge> itsBridge;
    XNetServer itsServer;
    XRefPtr<TestBridge> itsClient;
    std::vector<std::uint32_t> itsIDs;
    std::vector<std::int64_t> itsValues;
};

} // namespace

TEST_F( XRemoteNotifyMessageTest, ReachOrdinaryListenersCoalesced )
{
    for ( std::int64_t value = 1; value <= 3; ++value )
    {
        itsClient->SpeakRemoteMessage( XRemoteNotifyMessage( nullptr, 7, value ) );
        itsClient->SpeakRemoteMessage_NoWaitForReturn( XRemoteNotifyMessage( nullptr, 8, -value ) );
        itsClient->SpeakRemoteMessage( XRemoteMessage( nullptr, 7 ) );
    }
    itsClient->CheckAlive();
    EXPECT_TRUE( itsIDs.empty() ); // until the main thread comes to it
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( itsIDs, ( std::vector<std::uint32_t>{ 7, 7, 8 } ) );
    EXPECT_EQ( itsValues, ( std::vector<std::int64_t>{ 0, 3, -3 } ) );
}
