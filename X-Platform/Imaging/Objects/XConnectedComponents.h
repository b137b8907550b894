#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

/// Adjacent pixels of one object in a row: columns from `first` up to, but not including, `end`.
struct XPixelRun
{
    static constexpr std::uint32_t kNoObject = ( std::numeric_limits<std::uint32_t>::max )();

    std::uint32_t row;
    std::uint32_t first;
    std::uint32_t end;
    std::uint32_t object; ///< index of the object; kNoObject for components that are too small
};

/// Position and size of an object in pixels. The first pixel of a page is 0, 0.
struct KORVALE_IMAGING_API XObjectShape
{
    std::uint64_t sumX = 0;
    std::uint64_t sumY = 0;
    std::uint32_t pixelCount = 0;
    std::uint32_t verticalAdjacencies = 0; ///< vertically adjacent pairs of its pixels
    std::uint32_t runCount = 0;
    std::uint32_t left = ( std::numeric_limits<std::uint32_t>::max )();
    std::uint32_t top = ( std::numeric_limits<std::uint32_t>::max )();
    std::uint32_t right = 0; ///< the last column
    std::uint32_t bottom = 0;

    double GetCentroidX() const { return static_cast<double>( sumX ) / pixelCount; }
    double GetCentroidY() const { return static_cast<double>( sumY ) / pixelCount; }
    std::uint32_t GetBoundsX() const { return right - left + 1; }
    std::uint32_t GetBoundsY() const { return bottom - top + 1; }

    /// The number of pixel edges between the object and anything else, including the border of the page.
    std::uint64_t GetPerimeter() const
    {
        return 2 * ( std::uint64_t{ runCount } + pixelCount - verticalAdjacencies );
    }

    /// True if one of its pixels is at the border of a page of that size.
    bool TouchesBorder( std::uint32_t inWidth, std::uint32_t inHeight ) const
    {
        return left == 0 || top == 0 || right + 1 == inWidth || bottom + 1 == inHeight;
    }

    /// Merges the shape of another part of the object.
    void Add( const XObjectShape& inOther );
};

/// The objects of a page in raster order of their first pixel, and their runs in raster order.
struct XLabelledObjects
{
    std::vector<XObjectShape> shapes;
    std::vector<XPixelRun> runs;
};

class XPixelMask;

/// Which pixels are neighbours: those that share an edge, or those that share an edge or a corner.
enum class XConnectivity
{
    kEdges = 4,
    kEdgesAndCorners = 8
};

/// The connected components of the set pixels. Components of fewer than `inLeastPixels` pixels are ignored.
/// An abort throws 1001.
KORVALE_IMAGING_API XLabelledObjects XFindConnectedComponents(
    const XPixelMask& inMask, XConnectivity inConnectivity, std::uint64_t inLeastPixels = 1 );

/// Removes the objects for which `inIsRemoved` returns true; the others are renumbered.
KORVALE_IMAGING_API void
XRemoveObjects( XLabelledObjects& ioObjects, const std::function<bool( const XObjectShape& )>& inIsRemoved );

/// The connected components of the pixels whose sample in channel `inChannel` (counted from 0) is greater than the
/// threshold.
KORVALE_IMAGING_API XLabelledObjects XFindObjects(
    const WImagePage& inPage, std::uint32_t inChannel, double inThreshold, XConnectivity inConnectivity,
    std::uint64_t inLeastPixels = 1 );
