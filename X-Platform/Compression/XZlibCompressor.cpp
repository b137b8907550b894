#include "Compression/XZlibCompressor.h"

#include "Ground/XErrorNumbers.h"

#include <limits>

#include <zlib.h>

namespace
{
uLong ToZlibCount( USize64 inCount )
{
    if ( inCount > std::numeric_limits<uLong>::max() )
        XThrow( kErrorBadParameters );
    return static_cast<uLong>( inCount );
}
} // namespace

XVector<std::uint8_t> XZlibCompressor::Compress( Bytes inBytes ) const
{
    const uLong count = ToZlibCount( inBytes.size() );
    uLong size = compressBound( count );
    if ( size < count )
        XThrow( kErrorBadParameters );
    XVector<std::uint8_t> output( size );
    if ( compress2( output.data(), &size, inBytes.data(), count, static_cast<int>( itsLevel ) ) != Z_OK )
        XThrow( kErrorOutOfMemory );
    output.resize( size );
    return output;
}

std::optional<USize64>
XZlibCompressor::DecompressInto( Bytes inBytes, std::span<std::uint8_t> outBytes ) const
{
    uLong size = ToZlibCount( outBytes.size() );
    uLong count = ToZlibCount( inBytes.size() );
    const int result = uncompress2( outBytes.data(), &size, inBytes.data(), &count );
    if ( result == Z_MEM_ERROR )
        XThrow( kErrorOutOfMemory );
    if ( result == Z_BUF_ERROR )
        return std::nullopt;
    if ( result != Z_OK || count != inBytes.size() )
        XThrow( kErrorStreamCorrupted );
    return size;
}
