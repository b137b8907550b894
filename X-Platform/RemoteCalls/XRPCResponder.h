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

/// Gives the second connection of a bidirectional client to the bridge that serves its first one.
class KORVALE_API XRPCSessionResponder : public XNetResponder
{
public:
    XRPCSessionResponder();
    ~XRPCSessionResponder() override;

private:
    void RespondSelf() override;
};

/// Makes the bridge that is to serve a connection, a new one for each. Called on threads of the server, several at a time.
using XMakeRPCBridge = std::function<XRefPtr<XRPCBridge>()>;

/// Has a server answer connections whose clients are bridges of the class `inVersion` with bridges that `inMakeBridge`
/// makes, of a server's type, and second connections of bidirectional clients. XRPCBridge itself, which sends no preamble,
/// is the only kind that its server can have, and cannot be bidirectional. Before the server starts.
KORVALE_API void XServeBridges( XServer& ioServer, const XVersion& inVersion, XMakeRPCBridge inMakeBridge );

/// The same with bridges of a class, made of copies of the arguments:
///
///     XServeBridge<CalculatorServer>( server, XRPCBridge::kServer, cipher );
template<class TBridge, class... XArguments>
void XServeBridge( XServer& ioServer, XArguments... inArguments )
{
    XServeBridges(
        ioServer, TBridge::GetClassVersion(),
        [inArguments...] { return XRefPtr<XRPCBridge>( new TBridge( inArguments... ) ); } );
}
