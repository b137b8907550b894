#pragma once

#include "Images/WTIFFPackedBytes.h"
#include "WPlatform.h"

#include <memory>
#include <string>

/// Unpacks the strips and tiles of a TIFF file that are not compressed or are compressed by LZW, deflate or PackBits, one
/// after the other and each front to back, in memory that does not depend on their size. Failures throw WImageError or
/// WLastErrorException.
class WTIFFUnpacker
{
public:
    /// As tag 259 has it.
    enum Compression : std::uint64_t
    {
        kNone = 1,
        kLZW = 5,
        kDeflate = 8,
        kPackBits = 32773,
        kOldDeflate = 32946 ///< The same as kDeflate.
    };

    static KORVALE_IMAGING_API bool CanUnpack( std::uint64_t inCompression );

    /// For a compression that can be unpacked; the file must outlive the object.
    static std::unique_ptr<WTIFFUnpacker>
    Make( std::uint64_t inCompression, const WFile& inFile, bool inIsReversed );

    virtual ~WTIFFUnpacker() = default;
    WTIFFUnpacker( const WTIFFUnpacker& ) = delete;
    WTIFFUnpacker& operator=( const WTIFFUnpacker& ) = delete;

    /// Begins with the strip or tile whose packed bytes lie there.
    void Start( std::uint64_t inPosition, std::uint64_t inCount );

    /// Gives the next so many bytes. A strip or tile that has fewer left is refused.
    virtual void Unpack( std::byte* outBytes, std::size_t inCount ) = 0;

    /// Refuses a strip or tile whose end or checksum, where it has one, is wrong. To be called when at most so many bytes
    /// may be left of it, which are of no use.
    virtual void Finish( std::uint64_t inUnused );

protected:
    explicit WTIFFUnpacker( WTIFFPackedBytes inPacked ) : itsPacked( std::move( inPacked ) ) {}

    WTIFFPackedBytes itsPacked;

    virtual void Reset() {}

    /// Why the samples cannot be unpacked.
    [[noreturn]] static void Refuse( const std::string& inReason );

    /// For packed bytes that end before the samples do.
    [[noreturn]] static void RefuseTooShort();
};
