#include "RemoteCalls/XRPCResponder.h"

#include <utility>

XRPCResponder::XRPCResponder( XRefPtr<XRPCBridge> inBridge )
    : XNetResponder( "remote calls" ), itsBridge( std::move( inBridge ) )
{
    XAssert( itsBridge );
}

XRPCResponder::~XRPCResponder()
{
    StopResponding();
}

void XRPCResponder::RespondSelf()
{
    itsBridge->Serve( GetEndpoint(), [this] { SetAuthenticated(); } );
}

XRPCSessionResponder::XRPCSessionResponder() : XNetResponder( "remote session" ) {}

XRPCSessionResponder::~XRPCSessionResponder()
{
    StopResponding();
}

/// The connection counts as unauthenticated until the bridge has opened its conversation.
void XRPCSessionResponder::RespondSelf()
{
    XNetEndpoint endpoint = GetEndpoint();
    std::uint8_t bytes[4];
    endpoint.ReceiveData( bytes, sizeof( bytes ), XRPCBridge::kHandshakeTimeoutMS );
    const std::uint32_t session = std::uint32_t( bytes[0] ) << 24 | std::uint32_t( bytes[1] ) << 16 |
        std::uint32_t( bytes[2] ) << 8 | bytes[3];
    XRPCBridge::ConnectBidirectionalSession( session, new XNetEndpoint( endpoint ) );
    DetachEndpoint();
}

void XServeBridges( XServer& ioServer, const XVersion& inVersion, XMakeRPCBridge inMakeBridge )
{
    const auto makeResponder = [make = std::move( inMakeBridge )]() -> std::unique_ptr<XNetResponder>
    { return std::make_unique<XRPCResponder>( make() ); };
    if ( inVersion.GetClassID() == kClassRPCBridge )
        return ioServer.SetOnlyResponder( makeResponder );
    ioServer.RegisterResponder( inVersion, makeResponder );
    ioServer.RegisterResponder(
        XVersion( kClassBidirectionalSession, 0 ), [] { return std::make_unique<XRPCSessionResponder>(); } );
}
