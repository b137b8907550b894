#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <span>
#include <vector>

/// A binary mask of a page, one bit per pixel: the first pixel of a word is its lowest bit. Each row starts a
/// new word.
class KORVALE_IMAGING_API XPixelMask
{
public:
    static constexpr std::uint32_t kWordBits = 64;

    /// A mask with no pixel set.
    XPixelMask( std::uint32_t inWidth, std::uint32_t inHeight );

    std::uint32_t GetWidth() const { return itsWidth; }
    std::uint32_t GetHeight() const { return itsHeight; }

    std::span<std::uint64_t> GetRow( std::uint32_t inRow )
    {
        return { itsWords.data() + inRow * itsWordsPerRow, itsWordsPerRow };
    }
    std::span<const std::uint64_t> GetRow( std::uint32_t inRow ) const
    {
        return { itsWords.data() + inRow * itsWordsPerRow, itsWordsPerRow };
    }

    /// The number of runs; a run consists of adjacent set pixels of a row.
    std::size_t CountRuns() const;

private:
    std::uint32_t itsWidth;
    std::uint32_t itsHeight;
    std::size_t itsWordsPerRow;
    std::vector<std::uint64_t> itsWords;
};

/// The mask of the pixels whose sample in channel `inChannel` (counted from 0) is greater than the threshold. An abort
/// throws 1001.
KORVALE_IMAGING_API XPixelMask
XMarkPixels( const WImagePage& inPage, std::uint32_t inChannel, double inThreshold );
