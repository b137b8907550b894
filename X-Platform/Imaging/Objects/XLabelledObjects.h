#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <unordered_map>
#include <vector>

/// Adjacent pixels of one object in a row: columns from `first` up to, but not including, `end`.
struct XPixelRun
{
    static constexpr std::uint32_t kNoObject = ( std::numeric_limits<std::uint32_t>::max )();

    std::uint32_t row;
    std::uint32_t first;
    std::uint32_t end;
    std::uint32_t object; ///< index of the object; kNoObject for pixels of objects that are ignored
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
    std::uint32_t firstX = 0; ///< the column of its first pixel in raster order, which is in row `top`

    double GetCentroidX() const { return static_cast<double>( sumX ) / pixelCount; }
    double GetCentroidY() const { return static_cast<double>( sumY ) / pixelCount; }
    std::uint32_t GetBoundsX() const { return right - left + 1; }
    std::uint32_t GetBoundsY() const { return bottom - top + 1; }

    /// The number of pixel edges between the object and anything else, including other objects and the border of the
    /// page.
    std::uint64_t GetPerimeter() const
    {
        return 2 * ( std::uint64_t{ runCount } + pixelCount - verticalAdjacencies );
    }

    /// True if one of its pixels is at the border of a page of that size.
    bool TouchesBorder( std::uint32_t inWidth, std::uint32_t inHeight ) const
    {
        return left == 0 || top == 0 || right + 1 == inWidth || bottom + 1 == inHeight;
    }

    /// Adds a run, which follows those added before in raster order, and that number of its pixels below pixels of the
    /// object.
    void AddRun( const XPixelRun& inRun, std::uint32_t inVerticalAdjacencies );

    /// Merges the shape of another part of the object.
    void Add( const XObjectShape& inOther );
};

/// The objects of a page in raster order of their first pixel, and their runs in raster order.
///
/// An object is the set of pixels whose runs carry its index, and nothing else: objects share no pixel, but they may
/// touch along edges and at corners (parts of a split object, label images), and the pixels of an object need not be
/// connected (label images). Runs of an object never adjoin each other in a row. What follows the borders of objects
/// (contours, perimeters, components inside objects) therefore compares the indices of runs and never only whether a
/// pixel belongs to any object. No two objects of a page have the same first pixel, so it identifies them.
struct XLabelledObjects
{
    std::vector<XObjectShape> shapes;
    std::vector<XPixelRun> runs;
};

/// Removes the objects for which `inIsRemoved` returns true; the others are renumbered.
KORVALE_IMAGING_API void
XRemoveObjects( XLabelledObjects& ioObjects, const std::function<bool( const XObjectShape& )>& inIsRemoved );

/// Collects the objects of a page of labels: the pixels of equal labels other than 0, connected or not.
class KORVALE_IMAGING_API XLabelCollector
{
public:
    /// Adds the labels of the next row.
    void AddRow( std::span<const std::uint32_t> inLabels );

    /// The objects of the rows added.
    XLabelledObjects TakeObjects() { return std::move( itsObjects ); }

private:
    XLabelledObjects itsObjects;
    std::unordered_map<std::uint32_t, std::uint32_t> itsNumbers; // of the objects, by their labels
    std::size_t itsRowStart = 0;                                 // the first run of the row above
    std::uint32_t itsRow = 0;

    std::uint32_t GetObject( std::uint32_t inLabel );
    void AddShapes( std::size_t inFirst );
};
