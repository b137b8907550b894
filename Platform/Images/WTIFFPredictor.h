#pragma once

#include "Images/WImageFile.h"
#include "Images/WTIFFDirectory.h"

/// Makes samples of the unpacked rows of strips or tiles: undoes the byte order of the file, and the differences that
/// make rows smaller when they are compressed (tag 317).
class WTIFFPredictor
{
public:
    /// For blocks of `inWidth` pixels of `inChannels` each. Throws WImageError for differences that are unknown or do not
    /// go with the samples.
    WTIFFPredictor(
        const WTIFFDirectory& inTags, bool inIsSwapped, WImageFormat::SampleType inType,
        std::uint64_t inWidth, std::uint32_t inChannels );

    /// Rows that lie one after the other.
    void Undo( std::byte* ioRows, std::uint64_t inRows );

private:
    enum Kind : std::uint64_t
    {
        kNone = 1,
        kHorizontal = 2,   ///< Each sample is less its left neighbour of the same channel.
        kFloatingPoint = 3 ///< The same with bytes, which lie apart by their place in the number.
    };

    const bool itsIsSwapped;
    const std::size_t itsSampleSize;
    const std::size_t itsSamples; ///< In a row.
    const std::uint32_t itsChannels;
    std::uint64_t itsKind = kNone;
    std::vector<std::byte> itsRow;

    template<class T>
    void UndoRow( std::byte* ioRow ) const;
    void UndoFloatingPoint( std::byte* ioRow );
};
