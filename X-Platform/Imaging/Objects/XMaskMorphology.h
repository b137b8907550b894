#pragma once

#include "Imaging/Thresholds/XPixelMask.h"
#include "WPlatform.h"

/// Changes to a mask, applied in the order of the fields. Discs are those of XErodeChannel; only pixels of the page count.
struct KORVALE_IMAGING_API XMaskCleaning
{
    std::uint32_t openRadius = 0;  ///< removes what a disc does not fit into; 0: nothing
    std::uint32_t closeRadius = 0; ///< fills gaps that a disc does not fit into; 0: none
    bool fillsHoles = false; ///< fills background that no path by edges connects with the border of the page

    bool IsEmpty() const { return openRadius == 0 && closeRadius == 0 && !fillsHoles; }
};

/// Cleans a mask. Throws 1013 for a radius above kXMostDiscRadius; an abort throws 1001.
KORVALE_IMAGING_API XPixelMask XCleanMask( XPixelMask inMask, const XMaskCleaning& inCleaning );

/// Opening by a disc of at least 1: the union of all discs that fit into the mask.
KORVALE_IMAGING_API XPixelMask XOpenMask( const XPixelMask& inMask, std::uint32_t inRadius );

/// Closing by a disc of at least 1: the complement of the opening of the complement.
KORVALE_IMAGING_API XPixelMask XCloseMask( const XPixelMask& inMask, std::uint32_t inRadius );

/// Sets the pixels of holes: background that is not connected by edges with the border of the page.
KORVALE_IMAGING_API void XFillHoles( XPixelMask& ioMask );
