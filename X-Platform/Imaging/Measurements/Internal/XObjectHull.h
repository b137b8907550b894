#pragma once

#include "Imaging/Objects/XLabelledObjects.h"

#include <cstdint>
#include <span>
#include <vector>

/// The pixels whose centres are in the convex hull of the edges' midpoints of an object's pixels, and the convex hull of
/// the midpoints of their own edges.
class XObjectHull
{
public:
    XObjectHull( std::span<const XPixelRun> inRuns, const XObjectShape& inShape );

    /// The number of the pixels.
    std::uint64_t GetArea() const { return itsArea; }
    /// The greatest distance between two points of the hull.
    double GetMaxDiameter() const { return itsMaxDiameter; }
    /// The least distance between two parallel lines around the hull.
    double GetMinWidth() const { return itsMinWidth; }

private:
    std::uint64_t itsArea = 0;
    double itsMaxDiameter = 0;
    double itsMinWidth = 0;
};
