#include "WUUID.h"

#include <cstring>
#include <rpc.h>

std::uint32_t WUUID::Create( WUUID& outUUID )
{
    static_assert( sizeof( UUID ) == sizeof( WUUID ) );
    UUID uuid{};
    const RPC_STATUS status = UuidCreate( &uuid );
    if ( status == RPC_S_OK )
        std::memcpy( &outUUID, &uuid, sizeof( uuid ) );
    return static_cast<std::uint32_t>( status );
}
