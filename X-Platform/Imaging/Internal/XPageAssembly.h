#pragma once

#include "Imaging/XImageReader.h"

#include <functional>

/// Puts a page together from stored pages: the channels of all of them side by side, the slices combined into one.
struct XPageAssembly
{
    const XImageSeries& series;
    std::uint32_t slices = 1; ///< to combine; 1 for kEach
    XSliceMode sliceMode = XSliceMode::kEach;

    /// Reads a stored page: for each slice those of its channels, `inIndex` counts them. It calls the allocator once.
    using XReadStored = std::function<WImagePage( std::uint32_t inIndex, const WImagePage::Allocator& )>;

    /// Calls `inAllocator` once, for the page and one stored page together: a thread that waits for memory must not
    /// hold any. Throws WImageError if the stored pages differ in size or type.
    WImagePage Read( const XReadStored& inRead, const WImagePage::Allocator& inAllocator ) const;
};
