#pragma once

#include "Images/WTIFFDirectory.h"
#include "Images/WTIFFPackedBytes.h"
#include "WPlatform.h"

#include <memory>
#include <string>

/// Unpacks strips and tiles of a TIFF file, uncompressed or compressed with LZW, deflate or PackBits, one
/// after the other and each sequentially, in memory that does not depend on their size. Failures throw
/// WImageError or WLastErrorException.
class WTIFFUnpacker
{
public:
    /// The values of tag 259.
    enum Compression : std::uint64_t
    {
        kNone = 1,
        kLZW = 5,
        kDeflate = 8,
        kPackBits = 32773,
        kOldDeflate = 32946 ///< the same as kDeflate
    };

    /// Of a page; kNone where its directory does not tell.
    static std::uint64_t GetCompression( const WTIFFDirectory& inTags );

    static KORVALE_IMAGING_API bool CanUnpack( std::uint64_t inCompression );

    /// Creates the unpacker for a supported compression; the file must outlive it.
    static std::unique_ptr<WTIFFUnpacker>
    Make( std::uint64_t inCompression, const WFile& inFile, bool inIsReversed );

    virtual ~WTIFFUnpacker() = default;
    WTIFFUnpacker( const WTIFFUnpacker& ) = delete;
    WTIFFUnpacker& operator=( const WTIFFUnpacker& ) = delete;

    /// Starts with the strip or tile whose packed bytes are at `inPosition`.
    void Start( std::uint64_t inPosition, std::uint64_t inCount );

    /// Unpacks the next `inCount` bytes. Throws if the strip or tile has fewer left.
    virtual void Unpack( std::byte* outBytes, std::size_t inCount ) = 0;

    /// Throws if the end or the checksum of the strip or tile, if it has one, is wrong. Call it when at most
    /// `inUnused` bytes of it are left that are not needed.
    virtual void Finish( std::uint64_t inUnused );

protected:
    explicit WTIFFUnpacker( WTIFFPackedBytes inPacked ) : itsPacked( std::move( inPacked ) ) {}

    WTIFFPackedBytes itsPacked;

    virtual void Reset() {}

    /// Throws the reason why the samples cannot be unpacked.
    [[noreturn]] static void Refuse( const std::string& inReason );

    /// Throws if the packed bytes end too early.
    [[noreturn]] static void RefuseTooShort();
};
