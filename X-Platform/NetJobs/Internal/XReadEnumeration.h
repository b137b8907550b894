#pragma once

#include "Core/Streams/XStream.h"

#include <type_traits>

/// Reads an enumeration of 32 bits that begins at 0. A value above the last one is 1005.
template<class TEnumeration>
TEnumeration XReadEnumeration( XStream& inStream, TEnumeration inLast )
{
    static_assert( std::is_same_v<std::underlying_type_t<TEnumeration>, std::uint32_t> );
    const std::uint32_t value = inStream.Read32();
    if ( value > inLast )
        XThrow( kErrorStreamCorrupted );
    return static_cast<TEnumeration>( value );
}
