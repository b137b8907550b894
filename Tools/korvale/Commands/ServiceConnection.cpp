#include "Commands/ServiceConnection.h"

#include "Core/Errors/XException.h"
#include "RemoteCalls/XRPCBridge.h"
#include "Support/Failure.h"
#include "Support/NetworkPlace.h"

#include <stdexcept>

/// A peer with other keys or options only closes the connection.
void ConnectToService( XRPCBridge& ioBridge, const std::string& inPlace )
{
    try
    {
        ioBridge.SetReturnTimeout( kServiceTimeoutMS );
        ioBridge.Connect( NetworkPlace( inPlace ).GetAddress(), kServiceTimeoutMS, true, true );
    }
    catch ( const XException& error )
    {
        const auto number = error.GetErrorNumber();
        if ( number != kErrorAuthenticationFailed && number != kErrorDisconnected )
            throw;
        throw std::runtime_error(
            DescribeCurrentException().text + "; the keys, ciphers or ports of both ends may differ" );
    }
}
