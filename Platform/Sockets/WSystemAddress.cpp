#include "Sockets/WSystemAddress.h"

#include "Sockets/Internal/WSocketHeaders.h"

void WSystemAddress::Set( sockaddr_in& outAddress, std::uint32_t inIP, std::uint16_t inPort )
{
    outAddress = {};
    outAddress.sin_family = AF_INET;
    outAddress.sin_port = htons( inPort );
    outAddress.sin_addr.s_addr = htonl( inIP );
}

std::uint32_t WSystemAddress::GetIP( const sockaddr_in& inAddress )
{
    return ntohl( inAddress.sin_addr.s_addr );
}

std::uint16_t WSystemAddress::GetPort( const sockaddr_in& inAddress )
{
    return ntohs( inAddress.sin_port );
}
