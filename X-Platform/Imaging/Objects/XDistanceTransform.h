#pragma once

#include "Images/WImageFile.h"
#include "Imaging/Objects/XLabelledObjects.h"
#include "WPlatform.h"

#include <cstddef>
#include <cstdint>

class XPixelMask;

/// The Euclidean distance from the centre of each set pixel to that of the nearest pixel of the page that is not set, as a
/// page of one channel of floats; 0 for pixels that are not set. Distances are exact before they are rounded to floats,
/// up to 65536; that also stands for larger ones, and for a page without such pixels. Takes time proportional to the
/// number of pixels. Throws 1013 for pages of more than 2^31 - 1 columns; an abort throws 1001.
KORVALE_IMAGING_API WImagePage XGetDistances( const XPixelMask& inMask );

/// The squares of these distances, at most 2^32 - 1, in whole numbers. `inComponents` are those of a mask, so the pixels
/// beside their runs are not set. Rows of `ioDistances`, which must be 0, are `inStride` elements apart.
KORVALE_IMAGING_API void XGetSquaredDistances(
    const XLabelledObjects& inComponents, const WImageFormat& inPage, std::size_t inStride,
    std::uint32_t* ioDistances );
