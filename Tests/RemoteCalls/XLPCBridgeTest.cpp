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

XString MakePipeName()
{
    return XString( "korvale-rpc-" ) + XString( std::uint32_t( std::random_device()() ) );
}

/// The error of a call that may succeed, or 0.
template<class TCall>
std::uint32_t TryCall( TCall inCall )
{
    try
    {
        inCall();
        return 0;
    }
    catch ( const XException& error )
    {
        return error.GetErrorNumber();
    }
}

} // namespace

TEST( XLPCBridgeTest, CallsOverAPipe )
{
    const XString name = MakePipeName();
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

TEST( XLPCBridgeTest, EndsEveryCallInAStorm )
{
    const XString name = MakePipeName();
    XNamedPipeServer server( name );
    XServeBridge<LocalBridge>( server, XRPCBridge::kServer );
    server.Start();
    const auto client = XMakeRef<LocalBridge>( XRPCBridge::kBidirectionalClient, name );
    client->ConnectToPipe( kPatience, true );
    std::atomic<bool> isOver = false;
    std::atomic<std::uint32_t> successes = 0;
    const auto call = [&]
    {
        while ( !isOver )
        {
            XString result;
            const std::uint32_t error = TryCall( [&] { result = client->Greet( "pipe" ); } );
            EXPECT_TRUE( error == 0 ? result == "hello pipe" : error >= 3098 && error <= 3106 ) << error;
            successes += error == 0;
        }
    };
    const auto disturb = [&]
    {
        for ( int i = 0; i < 60; ++i )
        {
            if ( i % 4 == 0 )
            {
                server.Stop();
                server.Start();
            }
            else if ( i % 4 == 1 )
                client->AbortSenderRPCCall( 2000 );
            else
            {
                client->ForceDisconnect();
                TryCall( [&] { client->ConnectToPipe( kPatience, true ); } );
            }
            XThread::SleepCurrentThread( 5 );
        }
        isOver = true;
        client->ForceDisconnect();
    };
    RunTogether( call, call, call, disturb );
    EXPECT_GT( successes, 0u );
}
