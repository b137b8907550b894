#include "System/WUUID.h"

#include <bit>
#include <rpc.h>

std::uint32_t WUUID::Create( WUUID& outUUID )
{
    UUID uuid{};
    const RPC_STATUS status = UuidCreate( &uuid );
    if ( status == RPC_S_OK )
        outUUID = std::bit_cast<WUUID>( uuid );
    return static_cast<std::uint32_t>( status );
}
