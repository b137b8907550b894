#pragma once

#include "Imaging/Objects/XLabelledObjects.h"
#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// A corner between pixels: the first pixel of a page extends from 0, 0 to 1, 1.
struct XPixelCorner
{
    std::uint32_t x;
    std::uint32_t y;

    bool operator==( const XPixelCorner& ) const = default;
};

/// A closed line along pixel edges: the corners at which it turns, in order.
using XContourLoop = std::vector<XPixelCorner>;

/// The contours of each object, along its pixel edges: clockwise around its parts, counter-clockwise around
/// their holes. Contours of objects that touch share those edges. Where pixels of an object touch only at a corner, contours touch there and do not cross. An
/// abort throws 1001.
KORVALE_IMAGING_API std::vector<std::vector<XContourLoop>>
XTraceContours( const XLabelledObjects& inObjects );
