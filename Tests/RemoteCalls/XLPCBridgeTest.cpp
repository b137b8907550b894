#include "RemoteCalls/TestBridge.h"

#include "RemoteCalls/XLPCBridge.h"
#include "Servers/XNamedPipeServer.h"

#include <random>

namespace
{

class LocalBridge : public XLPCBridge
{
public:
    using XLPCBridge::XLPCBridge;
    ~LocalBridge() override { StopBridge(); }

    static XVersion GetClassVersion() { return XVersion( 40200, 0 ); }
    XVersion GetVersion() const override { return GetClassVersion(); }

    XREMOTE_METHOD( 2000, XString, Greet, XString )
    XREMOTE_METHOD( 2001, XString, GreetBack, XString )
};

/// Either end.
class LocalPeer : public LocalBridge
{
public:
    using LocalBridge::LocalBridge;
    ~LocalPeer() override { StopBridge(); }

    XString GreetSelf( XString inName ) override { return IsServer() ? GreetBack( inName ) : inName; }
    XString GreetBackSelf( XString inName ) override { return "hello " + inName; }
};

} // namespace

TEST( XLPCBridgeTest, CallsOverAPipe )
{
    const XString name = XString( "korvale-rpc-" ) + XString( std::uint32_t( std::random_device()() ) );
    XNamedPipeServer server( name );
    XServeBridge<LocalPeer>( server, XRPCBridge::kServer );
    server.Start();
    const auto client = XMakeRef<LocalPeer>( XRPCBridge::kBidirectionalClient, name );
    client->ConnectToPipe( kPatience );
    EXPECT_EQ( client->Greet( "pipe" ), "hello pipe" );
    server.Stop();
    EXPECT_EQ( ErrorOf( [&] { client->Greet( "" ); } ), 3100u );
    EXPECT_EQ( ErrorOf( [&] { client->ConnectToPipe( 100 ); } ), 3106u );
    EXPECT_EQ( ErrorOf( [] { LocalBridge( XRPCBridge::kClient, "../x" ); } ), 1013u );
}
