#include "RemoteCalls/TestBridge.h"

#include "RemoteCalls/XLPCBridge.h"
#include "Servers/XNamedPipeServer.h"

#include <random>

namespace
{

/// Either end: implements its methods itself.
class LocalBridge : public XLPCBridge
{
public:
    using XLPCBridge::XLPCBridge;
    ~LocalBridge() override { StopBridge(); }

    static XVersion GetClassVersion() { return XVersion( 40200, 0 ); }
    XVersion GetVersion() const override { return GetClassVersion(); }

    XREMOTE_METHOD_HERE( 2000, XString, Greet, XString )
    XString GreetSelf( XString inName ) { return IsServer() ? GreetBack( inName ) : inName; }
    XREMOTE_METHOD_ONCE_HERE( 2001, XString, GreetBack, XString )
    XString GreetBackSelf( XString inName ) { return "hello " + inName; }
};

} // namespace

TEST( XLPCBridgeTest, CallsOverAPipe )
{
    const XString name = XString( "korvale-rpc-" ) + XString( std::uint32_t( std::random_device()() ) );
    XNamedPipeServer server( name );
    XServeBridge<LocalBridge>( server, XRPCBridge::kServer );
    server.Start();
    const auto client = XMakeRef<LocalBridge>( XRPCBridge::kBidirectionalClient, name );
    client->ConnectToPipe( kPatience );
    EXPECT_EQ( client->Greet( "pipe" ), "hello pipe" );
    server.Stop();
    EXPECT_EQ( ErrorOf( [&] { client->Greet( "" ); } ), 3100u );
    EXPECT_EQ( ErrorOf( [&] { client->ConnectToPipe( 100 ); } ), 3106u );
    EXPECT_EQ( ErrorOf( [] { LocalBridge( XRPCBridge::kClient, "../x" ); } ), 1013u );
}
