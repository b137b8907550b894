#pragma once

#include "RemoteCalls/XRPCBridge.h"

/// A bridge between processes of one user on one machine, over a named pipe (XPipeEndpointImp), without a
/// cipher: the permissions of the pipe decide who may call. Served by an XNamedPipeServer (XServeBridge).
///
/// Use `ConnectToPipe` instead of `Connect`, whose address is ignored.
class KORVALE_API XLPCBridge : public XRPCBridge
{
public:
    /// A client's bridge to the pipe. Throws 1013 if the name is invalid.
    XLPCBridge( XBridgeType inType, const XString& inPipeName );
    /// A server's bridge.
    explicit XLPCBridge( XBridgeType inType );
    ~XLPCBridge() override;

    /// Connects as `Connect` does. 3106 if the pipe has no listener, or one of another user.
    void ConnectToPipe( std::uint32_t inTimeoutMS, bool inUseAutoReconnect = false );

    XString GetPipeName() const { return itsPipeName; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    XNetEndpoint MakeEndpoint() const override;

private:
    const XString itsPipeName;
};
