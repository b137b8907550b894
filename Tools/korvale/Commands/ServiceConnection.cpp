#include "Commands/ServiceConnection.h"

#include "RemoteCalls/XRPCBridge.h"
#include "Support/Failure.h"
#include "Support/NetworkPlace.h"

void ConnectToService( XRPCBridge& ioBridge, const std::string& inPlace )
{
    const auto connect = [&]
    {
        ioBridge.SetReturnTimeout( kServiceTimeoutMS );
        ioBridge.Connect( NetworkPlace( inPlace ).GetAddress(), kServiceTimeoutMS, true, true );
    };
    ConnectWithExplanation( connect );
}
