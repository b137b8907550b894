#pragma once

#include "Core/Storables/XRefPtr.h"
#include "RemoteCalls/XRPCBridge.h"
#include "Servers/XNetResponder.h"
#include "Servers/XServer.h"

/// Serves a connection with a bridge, on the responder's thread.
class KORVALE_API XRPCResponder : public XNetResponder
{
public:
    explicit XRPCResponder( XRefPtr<XRPCBridge> inBridge );
    ~XRPCResponder() override;

private:
    void RespondSelf() override;

    const XRefPtr<XRPCBridge> itsBridge;
};

/// Passes the second connection of a bidirectional client to the bridge that serves its first one.
class KORVALE_API XRPCSessionResponder : public XNetResponder
{
public:
    XRPCSessionResponder();
    ~XRPCSessionResponder() override;

private:
    void RespondSelf() override;
};

/// Creates a new bridge for each connection. Called on threads of the server, several at a time.
using XMakeRPCBridge = std::function<XRefPtr<XRPCBridge>()>;

/// Registers bridges of a server type, created by `inMakeBridge`, for clients of the class `inVersion`; also
/// accepts the second connections of bidirectional clients. Call it before the server starts. XRPCBridge
/// itself sends no preamble: it must be the only class of its server, and cannot be bidirectional.
KORVALE_API void XServeBridges( XServer& ioServer, const XVersion& inVersion, XMakeRPCBridge inMakeBridge );

/// Registers bridges of the class TBridge, constructed from copies of the arguments:
///
///     XServeBridge<CalculatorServer>( server, XRPCBridge::kServer, cipher );
template<class TBridge, class... XArguments>
void XServeBridge( XServer& ioServer, XArguments... inArguments )
{
    XServeBridges(
        ioServer, TBridge::GetClassVersion(),
        [inArguments...] { return XRefPtr<XRPCBridge>( new TBridge( inArguments... ) ); } );
}
