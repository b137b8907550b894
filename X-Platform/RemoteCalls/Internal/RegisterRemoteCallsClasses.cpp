#include "RemoteCalls/Internal/RegisterRemoteCallsClasses.h"

#include "Core/Streams/XClassRegistry.h"
#include "RemoteCalls/XLPCBridge.h"

void RegisterRemoteCallsClasses()
{
    XClassRegistry::RegisterAbstractClass<XRPCBridgeBase>( "Remote Call Protocol" );
    XClassRegistry::RegisterAbstractClass<XRPCBridge>( "Remote Call Bridge" );
    XClassRegistry::RegisterAbstractClass<XLPCBridge>( "Local Call Bridge" );
}
