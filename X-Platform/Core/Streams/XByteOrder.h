#pragma once

#include "Ground/XTypes.h"

#include <bit>
#include <concepts>

/// Order of the bytes of multi-byte values in a stream.
enum XByteOrder : std::uint8_t
{
    kIntelOrder = 0,    ///< least significant byte first
    kMotorolaOrder = 1, ///< most significant byte first
};

/// The byte order of this machine.
inline constexpr XByteOrder kPlatformByteOrder =
    std::endian::native == std::endian::little ? kIntelOrder : kMotorolaOrder;

/// The value with its bytes reversed.
template<std::unsigned_integral T>
constexpr T XSwapBytes( T inValue )
{
    if constexpr ( sizeof( T ) == 2 )
        return __builtin_bswap16( inValue );
    else if constexpr ( sizeof( T ) == 4 )
        return __builtin_bswap32( inValue );
    else if constexpr ( sizeof( T ) == 8 )
        return __builtin_bswap64( inValue );
    else
        return inValue;
}

/// Copies `inCount` elements of `inWidth` bytes (1, 2, 4 or 8), reversing the bytes of each, with the widest
/// vectors that the processor supports. Source and destination must be identical or not overlap; they need
/// not be aligned.
KORVALE_API void XSwapCopy( void* outBytes, const void* inBytes, USize64 inCount, unsigned inWidth );
