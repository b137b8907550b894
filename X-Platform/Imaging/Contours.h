#pragma once

#include "Imaging/ConnectedComponents.h"
#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// A corner of pixels: the first pixel of a page lies between 0, 0 and 1, 1.
struct PixelCorner
{
    std::uint32_t x;
    std::uint32_t y;

    bool operator==( const PixelCorner& ) const = default;
};

/// The corners at which a closed line along the edges of pixels turns, in order. The last one is followed by the first.
using ContourLoop = std::vector<PixelCorner>;

/// The lines around each object, along the edges between its pixels and what is not the object: clockwise around it, and
/// counter-clockwise around its holes. Where pixels of an object touch at a corner only, the lines touch there too and
/// do not cross.
KORVALE_IMAGING_API std::vector<std::vector<ContourLoop>> TraceContours( const LabelledObjects& inFound );
