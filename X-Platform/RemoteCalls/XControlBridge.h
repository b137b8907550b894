#pragma once

#include "RemoteCalls/XRPCBridge.h"

/// A bridge between a control service and those that it serves. The service answers on its main port, by the preamble of
/// this class.
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
