#pragma once

#include "Ground/XTypes.h"

class XRPCBridgeBase;

/// A call that is being sent: has the sender of the bridge for a scope.
class KORVALE_API XMakeRPCCall
{
public:
    /// Waits for calls of other threads. A checkpoint of the calling thread. 3098, 3099, 3100 as in XRPCBridgeBase.
    XMakeRPCCall( XRPCBridgeBase& ioBridge, std::uint32_t inCode, bool inWaitForReturn );
    XMakeRPCCall( const XMakeRPCCall& ) = delete;
    XMakeRPCCall& operator=( const XMakeRPCCall& ) = delete;
    ~XMakeRPCCall();

private:
    XRPCBridgeBase& itsBridge;
};
