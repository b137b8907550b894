#pragma once

#include "RemoteCalls/XRPCBridge.h"

/// A bridge between a control service and its clients and nodes. The preamble of this class selects it on the
/// main port of the service.
class KORVALE_API XControlBridge : public XRPCBridge
{
public:
    using XRPCBridge::XRPCBridge;
    ~XControlBridge() override;

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;
};
