#pragma once

#include "Images/WTIFFDirectory.h"
#include "Images/WTIFFSamples.h"

/// Restores the samples of unpacked rows of strips or tiles: reverses the byte order of the file, and the
/// differencing that improves compression (tag 317).
class WTIFFPredictor
{
public:
    /// For blocks of `inWidth` pixels with `inChannels` channels. Throws WImageError if the predictor is
    /// unknown or does not apply to the type of the samples.
    WTIFFPredictor(
        const WTIFFDirectory& inTags, bool inIsSwapped, const WTIFFSamples& inStored, std::uint64_t inWidth,
        std::uint32_t inChannels );

    /// Restores consecutive rows.
    void Undo( std::byte* ioRows, std::uint64_t inRows );

private:
    enum Kind : std::uint64_t
    {
        kNone = 1,
        kHorizontal = 2,   // each sample is stored minus its left neighbour of the same channel
        kFloatingPoint = 3 // the same for bytes, which are grouped by their position in the number
    };

    const bool itsIsSwapped;
    const std::size_t itsSampleSize; // 0 if samples do not fill bytes
    const std::size_t itsSamples;    // in a row
    const std::size_t itsRowSize;
    const std::uint32_t itsChannels;
    std::uint64_t itsKind = kNone;
    std::vector<std::byte> itsRow;

    template<class T>
    void UndoRow( std::byte* ioRow );
    void SwapTriples( std::byte* ioRow ) const;
    template<class T>
    void UndoFloatingPoint( std::byte* ioRow );
};
