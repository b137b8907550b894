#include "Commands/ServiceConnection.h"

#include "Options/CommandLine.h"
#include "RemoteCalls/XRPCBridge.h"
#include "Support/Failure.h"
#include "Support/NetworkPlace.h"

void DeclareService( const CommandOptions& inOptions, std::string& outPlace )
{
    inOptions.Add( "ADDRESS", outPlace, "Where the service listens" )
        .Takes( "HOST:PORT" )
        .Check( NetworkPlace::Check )
        .Required();
}

void ConnectToService( XRPCBridge& ioBridge, const std::string& inPlace )
{
    const auto connect = [&]
    {
        ioBridge.SetReturnTimeout( kServiceTimeoutMS );
        ioBridge.Connect( NetworkPlace( inPlace ).GetAddress(), kServiceTimeoutMS, true, true );
    };
    ConnectWithExplanation( connect );
}
