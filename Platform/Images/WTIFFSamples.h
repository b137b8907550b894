#pragma once

#include "Images/WImageFile.h"
#include "Images/WTIFFDirectory.h"
#include "WPlatform.h"

/// The type of the samples of a page in a TIFF file, and their conversion to the type that the page has in memory:
///
/// | In the file | In memory |
/// | --- | --- |
/// | unsigned, up to 8 bits | 8-bit unsigned |
/// | unsigned, up to 16 bits | 16-bit unsigned |
/// | other whole numbers, up to 64 bits | 32-bit float; rejected beyond 2^24, where floats are not exact |
/// | float of 16 or 32 bits | 32-bit float |
/// | float of 64 bits | 32-bit float, rounded; rejected beyond its range |
class KORVALE_IMAGING_API WTIFFSamples
{
public:
    /// The values of tag 339.
    enum Format : std::uint64_t
    {
        kUnsigned = 1,
        kSigned = 2,
        kFloat = 3,
        kUndefined = 4
    };

    static constexpr std::uint64_t kLargestWhole = 1 << 24; ///< in a 32-bit float, with all below it

    /// Throws WImageError if the type is not supported, or the samples of a pixel differ in it.
    explicit WTIFFSamples( const WTIFFDirectory& inTags );

    WTIFFSamples( std::uint32_t inBits, Format inFormat ) : itsBits( inBits ), itsFormat( inFormat ) {}

    /// Such as "16-bit unsigned", also for types that are not supported.
    static std::string Describe( const WTIFFDirectory& inTags );

    std::uint32_t GetBits() const { return itsBits; }
    bool IsUnsigned() const { return itsFormat == kUnsigned; }
    bool IsFloat() const { return itsFormat == kFloat; }
    bool HasWholeBytes() const { return itsBits % 8 == 0; }

    /// The type in memory.
    WImageFormat::SampleType GetPageType() const;

    /// True if the samples need no conversion, except of their byte order.
    bool IsDirect() const;

    /// Inverts unsigned samples when they are converted; those that are not converted stay as they are.
    void SetInverted() { itsIsInverted = true; }

    /// The number of bytes of a stored row. Saturates.
    std::uint64_t GetRowSize( std::uint64_t inSamples ) const;

    /// The largest number of bytes in memory for a stored byte.
    std::uint32_t GetGrowth() const;

    /// Converts the samples of a block as stored, in the byte order of the machine, and copies those within the page.
    /// Like WImagePage::CopyBlock, which it calls. Throws WImageError for values that would not be kept.
    void CopyBlock(
        const WImagePage::Block& inBlock, std::optional<std::uint32_t> inChannel, WImagePage& ioPage ) const;

private:
    std::uint32_t itsBits;
    Format itsFormat;
    bool itsIsInverted = false;

    void ConvertRow( const std::byte* inRow, std::size_t inCount, std::byte* outRow ) const;
    template<class TTo>
    void UnpackBits( const std::byte* inRow, std::size_t inCount, TTo* outRow ) const;
    template<class TFrom>
    void ConvertWhole( const std::byte* inRow, std::size_t inCount, float* outRow ) const;
    void ConvertToFloats( const std::byte* inRow, std::size_t inCount, float* outRow ) const;
    [[noreturn]] void RefuseValue() const;
};
