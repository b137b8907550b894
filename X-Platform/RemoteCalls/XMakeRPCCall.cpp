#include "RemoteCalls/XMakeRPCCall.h"

#include "RemoteCalls/XRPCBridgeBase.h"

XMakeRPCCall::XMakeRPCCall( XRPCBridgeBase& ioBridge, std::uint32_t inCode, bool inWaitForReturn )
    : itsBridge( ioBridge )
{
    itsBridge.BeginRPCCall( inCode, inWaitForReturn );
}

XMakeRPCCall::~XMakeRPCCall()
{
    itsBridge.EndRPCCall();
}
