#pragma once

#include "Compression/XCompressor.h"
#include "Core/Streams/XStream.h"

/// Compresses to one zlib stream (RFC 1950), whose checksum detects damage.
class KORVALE_API XZlibCompressor : public XCompressor
{
public:
    explicit XZlibCompressor( XStream::XCompressionLevel inLevel = XStream::kNormalCompression )
        : itsLevel( inLevel )
    {
    }

    XVector<std::uint8_t> Compress( Bytes inBytes ) const override;

protected:
    std::optional<USize64> DecompressInto( Bytes inBytes, std::span<std::uint8_t> outBytes ) const override;

private:
    XStream::XCompressionLevel itsLevel;
};
