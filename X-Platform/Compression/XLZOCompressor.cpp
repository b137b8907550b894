#include "Compression/XLZOCompressor.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <memory>

#include <lzo/lzo1x.h>

namespace
{
/// The library checks once that it was compiled for the same types as this source.
void PrepareLZO()
{
    static const bool sIsPrepared = lzo_init() == LZO_E_OK;
    XAssert( sIsPrepared );
}

/// What incompressible bytes become at most.
USize64 CountMostLZOBytes( USize64 inCount )
{
    return inCount + inCount / 16 + 64 + 3;
}
} // namespace

XVector<std::uint8_t> XLZOCompressor::Compress( Bytes inBytes ) const
{
    PrepareLZO();
    const auto memory = std::make_unique<std::uint8_t[]>( LZO1X_1_MEM_COMPRESS );
    XVector<std::uint8_t> output( CountMostLZOBytes( inBytes.size() ) );
    lzo_uint size = output.size();
    const int result = lzo1x_1_compress( inBytes.data(), inBytes.size(), output.data(), &size, memory.get() );
    XAssert( result == LZO_E_OK );
    output.resize( size );
    return output;
}

std::optional<USize64> XLZOCompressor::DecompressInto( Bytes inBytes, std::span<std::uint8_t> outBytes ) const
{
    PrepareLZO();
    lzo_uint size = outBytes.size();
    const int result =
        lzo1x_decompress_safe( inBytes.data(), inBytes.size(), outBytes.data(), &size, nullptr );
    if ( result == LZO_E_OUTPUT_OVERRUN )
        return std::nullopt;
    if ( result != LZO_E_OK )
        XThrow( kErrorStreamCorrupted );
    return size;
}
