#pragma once

#include "RemoteCalls/XRPCBridge.h"

/// A bridge between processes of one user on one machine, over a pipe with a name (XPipeEndpointImp): the same calls without a
/// cipher; who may connect to the pipe may call. Served by an XNamedPipeServer (XServeBridge).
///
/// `ConnectToPipe` takes the place of `Connect`, whose address counts for nothing here.
class KORVALE_API XLPCBridge : public XRPCBridge
{
public:
    /// The bridge of a client to a pipe. 1013 for a name that is not valid.
    XLPCBridge( XBridgeType inType, const XString& inPipeName );
    /// The bridge of a server.
    explicit XLPCBridge( XBridgeType inType );
    ~XLPCBridge() override;

    /// As `Connect`. 3106 where nobody listens, or somebody else's process does.
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
