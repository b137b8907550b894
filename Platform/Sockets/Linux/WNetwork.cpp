#include "Sockets/WNetwork.h"

#include "Sockets/Internal/WSocketHeaders.h"
#include "System/WSystemError.h"

#include <cerrno>
#include <fstream>
#include <net/route.h>
#include <sstream>

void WStartSockets() {}

std::uint32_t WNetwork::ToErrorCode( int inResult )
{
    switch ( inResult )
    {
    case EAI_AGAIN:
        return kErrorTryAgain;
    case EAI_FAIL:
        return kErrorNoRecovery;
    case EAI_NODATA:
        return kErrorNoAddress;
    case EAI_MEMORY:
        return WSystemError::kNotEnoughMemory;
    case EAI_SYSTEM:
        return WSystemError::FromErrno( errno );
    default:
        return kErrorHostNotFound;
    }
}

bool WNetwork::IsConnectedToInternet()
{
    std::ifstream routes( "/proc/net/route" );
    std::string line;
    std::getline( routes, line ); // the heading
    while ( std::getline( routes, line ) )
    {
        std::istringstream fields( line );
        std::string interface, destination, gateway;
        unsigned flags = 0;
        if ( fields >> interface >> destination >> gateway >> std::hex >> flags &&
             destination == "00000000" && ( flags & RTF_UP ) && !( flags & RTF_REJECT ) )
            return true;
    }
    return false;
}
