#include "Compression/XCompressor.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <algorithm>

XCompressor::~XCompressor() = default;

void XCompressor::Decompress( Bytes inBytes, std::span<std::uint8_t> outBytes ) const
{
    if ( DecompressInto( inBytes, outBytes ) != outBytes.size() )
        XThrow( kErrorStreamCorrupted );
}

/// Begins again with twice the room as long as the output does not fit: none of the formats has its size.
XVector<std::uint8_t> XCompressor::Decompress( Bytes inBytes, USize64 inMostBytes ) const
{
    constexpr USize64 kFirstRatio = 4;
    XVector<std::uint8_t> output;
    USize64 room = std::min( std::max<USize64>( inBytes.size(), 1 ) * kFirstRatio, inMostBytes );
    for ( ;; )
    {
        output.resize( room );
        if ( const auto size = DecompressInto( inBytes, output ) )
        {
            output.resize( *size );
            return output;
        }
        if ( room == inMostBytes )
            XThrow( kErrorStreamCorrupted );
        room = std::min( room * 2, inMostBytes );
    }
}
