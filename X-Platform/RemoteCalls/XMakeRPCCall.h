#pragma once

#include "Ground/XTypes.h"

class XRPCBridgeBase;

/// The scope of a call being sent: owns the sender of the bridge.
class KORVALE_API XMakeRPCCall
{
public:
    /// Waits for calls of other threads; a checkpoint of the calling thread. Throws 3098, 3099 and 3100 as
    /// described in XRPCBridgeBase.
    XMakeRPCCall( XRPCBridgeBase& ioBridge, std::uint32_t inCode, bool inWaitForReturn );
    XMakeRPCCall( const XMakeRPCCall& ) = delete;
    XMakeRPCCall& operator=( const XMakeRPCCall& ) = delete;
    ~XMakeRPCCall();

private:
    XRPCBridgeBase& itsBridge;
};
