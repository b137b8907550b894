#pragma once

#include "Imaging/Pages/XPageMemory.h"
#include "Memory/XMappedFileMemoryHandle.h"
#include "Plots/XOverlaySketch.h"

#include <vector>

/// An overlay to be drawn later, because the numbers of its objects are known only when all preceding pages
/// have been measured. It may be purged meanwhile.
/// Threads: one at a time.
class CachedOverlay
{
public:
    /// The calling thread must not hold page memory, here and in `Take`, after which another one may be kept.
    void Keep( XOverlaySketch inSketch, XPageMemory& ioMemory );

    /// Returns the overlay and releases it here. Throws 1020 if it was lost on disk.
    XOverlaySketch Take( XPageMemory& ioMemory );

    /// The size of the page, while the overlay is kept.
    std::uint32_t GetWidth() const { return itsSketch.width; }
    std::uint32_t GetHeight() const { return itsSketch.height; }

private:
    XOverlaySketch itsSketch; // without the parts that need much memory
    std::vector<std::size_t> itsPartSizes;
    XMappedFileMemoryHandle itsBytes;
};
