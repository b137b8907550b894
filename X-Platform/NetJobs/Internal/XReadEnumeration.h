#pragma once

#include "Core/Streams/XStream.h"

#include <type_traits>

/// Reads a 32-bit enumeration whose values run from 0 to `inLast`. Throws 1005 for a larger value.
template<class TEnumeration>
TEnumeration XReadEnumeration( XStream& inStream, TEnumeration inLast )
{
    static_assert( std::is_same_v<std::underlying_type_t<TEnumeration>, std::uint32_t> );
    const std::uint32_t value = inStream.Read32();
    if ( value > inLast )
        XThrow( kErrorStreamCorrupted );
    return static_cast<TEnumeration>( value );
}
