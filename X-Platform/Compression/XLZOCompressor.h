#pragma once

#include "Compression/XCompressor.h"

/// Compresses with LZO1X-1, several times as fast as zlib, to a block that ends with the mark of LZO1X and has no checksum:
/// damage is detected where it makes the block invalid, otherwise it changes the output.
class KORVALE_API XLZOCompressor : public XCompressor
{
public:
    /// No block has more bytes of output for each byte of it.
    static constexpr USize64 kMostRatio = 255;

    XVector<std::uint8_t> Compress( Bytes inBytes ) const override;

protected:
    std::optional<USize64> DecompressInto( Bytes inBytes, std::span<std::uint8_t> outBytes ) const override;
};
