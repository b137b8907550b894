#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <string>

/// Appends the number's bytes, least significant byte first.
template<std::integral T>
void AppendLittleEndian( std::string& ioBytes, T inNumber )
{
    char bytes[sizeof( T )];
    for ( std::size_t i = 0; i < sizeof( T ); ++i )
        bytes[i] = static_cast<char>( static_cast<std::uint64_t>( inNumber ) >> 8 * i );
    ioBytes.append( bytes, sizeof( T ) );
}

inline void AppendLittleEndian( std::string& ioBytes, double inNumber )
{
    AppendLittleEndian( ioBytes, std::bit_cast<std::uint64_t>( inNumber ) );
}
