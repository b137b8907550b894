#pragma once

#include "Imaging/XPageMemory.h"
#include "Memory/XMappedFileMemoryHandle.h"
#include "Plots/XOverlaySketch.h"

#include <vector>

/// An overlay that is to be drawn later: the numbers of its objects are known only when all pages before it are measured.
/// Until then it may be purged.
/// Threads: one at a time.
class CachedOverlay
{
public:
    /// The thread holds none of the working memory, here and in `Take`.
    void Keep( XOverlaySketch inSketch, XPageMemory& ioMemory );

    /// Gives it up. Throws 1020 if it was lost on its way to the disk or back.
    XOverlaySketch Take( XPageMemory& ioMemory );

private:
    XOverlaySketch itsSketch; ///< Without the parts that take up memory.
    std::vector<std::size_t> itsPartSizes;
    XMappedFileMemoryHandle itsBytes;
};
