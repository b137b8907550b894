#include "System/WRandomBytes.h"

#include "System/WSystemError.h"

#include <cerrno>
#include <sys/random.h>

std::uint32_t WRandomBytes::Fill( void* outBytes, std::size_t inCount )
{
    auto* bytes = static_cast<std::uint8_t*>( outBytes );
    while ( inCount > 0 )
    {
        const ssize_t count = getrandom( bytes, inCount, 0 );
        if ( count < 0 && errno != EINTR )
            return WSystemError::FromErrno( errno );
        if ( count <= 0 )
            continue;
        bytes += count;
        inCount -= static_cast<std::size_t>( count );
    }
    return 0;
}
