#include "System/WRandomBytes.h"

#include <windows.h>

#include <bcrypt.h>

std::uint32_t WRandomBytes::Fill( void* outBytes, std::size_t inCount )
{
    const NTSTATUS status = BCryptGenRandom(
        nullptr, static_cast<PUCHAR>( outBytes ), static_cast<ULONG>( inCount ),
        BCRYPT_USE_SYSTEM_PREFERRED_RNG );
    return status == 0 ? 0 : ERROR_GEN_FAILURE;
}
