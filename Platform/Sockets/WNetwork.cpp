#include "Sockets/WNetwork.h"

#include "Sockets/Internal/WSocketHeaders.h"

#include <cstring>
#include <memory>

std::uint32_t WNetwork::LookUpHost( const std::string& inName, Host& outHost )
{
    // Some systems look up an empty name as this machine, and all of them ignore the text after a NUL.
    if ( inName.empty() || inName.find( '\0' ) != std::string::npos )
        return kErrorHostNotFound;
    WStartSockets();
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_CANONNAME;
    addrinfo* found = nullptr;
    if ( const int result = getaddrinfo( inName.c_str(), nullptr, &hints, &found ); result != 0 )
        return ToErrorCode( result );
    const std::unique_ptr<addrinfo, void ( * )( addrinfo* )> owner(
        found, []( addrinfo* inInfo ) { freeaddrinfo( inInfo ); } );
    outHost = {};
    if ( found->ai_canonname )
        outHost.name = found->ai_canonname;
    for ( const addrinfo* info = found; info; info = info->ai_next )
    {
        sockaddr_in address;
        std::memcpy( &address, info->ai_addr, sizeof( address ) );
        outHost.addresses.push_back( ntohl( address.sin_addr.s_addr ) );
    }
    return 0;
}

std::string WNetwork::LookUpName( std::uint32_t inAddress )
{
    WStartSockets();
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl( inAddress );
    char name[1025] = {};
    const int result = getnameinfo(
        reinterpret_cast<const sockaddr*>( &address ), sizeof( address ), name, sizeof( name ), nullptr, 0,
        NI_NAMEREQD );
    return result == 0 ? name : std::string();
}

std::string WNetwork::GetLocalName()
{
    WStartSockets();
    char name[1024] = {};
    return gethostname( name, sizeof( name ) - 1 ) == 0 ? name : std::string();
}
