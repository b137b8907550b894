#pragma once

#include "Ground/XTypes.h"

#include <optional>
#include <span>

/// Compresses bytes in memory. The compressed bytes have neither the size nor a mark of the method: who stores them stores
/// both.
///
/// Threads: any number at a time.
/// Errors: 1005 for compressed bytes that are damaged, end early or are followed by others, and for more output than was
/// accepted; 1012; 1013 for more than 4 GiB where the compression library counts in 32 bits.
class KORVALE_API XCompressor
{
public:
    using Bytes = std::span<const std::uint8_t>;

    XCompressor() = default;
    XCompressor( const XCompressor& ) = default;
    XCompressor& operator=( const XCompressor& ) = default;
    virtual ~XCompressor();

    /// Incompressible bytes become a few more.
    virtual XVector<std::uint8_t> Compress( Bytes inBytes ) const = 0;

    /// Throws 1005 if the output has another size than `outBytes`, which then holds unspecified bytes.
    void Decompress( Bytes inBytes, std::span<std::uint8_t> outBytes ) const;

    /// For output of unknown size. Throws 1005 if it is more than `inMostBytes`. The memory that it allocates grows
    /// with the input and the output, not with the limit.
    XVector<std::uint8_t> Decompress( Bytes inBytes, USize64 inMostBytes ) const;

protected:
    /// Returns the size of the output, or nothing if it does not fit.
    virtual std::optional<USize64>
    DecompressInto( Bytes inBytes, std::span<std::uint8_t> outBytes ) const = 0;
};
