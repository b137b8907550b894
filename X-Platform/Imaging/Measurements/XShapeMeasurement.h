#pragma once

#include "Imaging/Objects/XLabelledObjects.h"
#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// The shape of an object: lengths in pixels, angles in radians. Ellipses have the same second moments as the object;
/// convex values are those of the pixels whose centres are in the convex hull of the edges' midpoints of all its pixels.
struct KORVALE_IMAGING_API XShapeMeasurement
{
    double majorAxis = 0; ///< of the ellipse
    double minorAxis = 0;
    double eccentricity = 0; ///< of the ellipse: 0 for a circle
    double orientation =
        0; ///< from the vertical axis to the major one, from -pi/2 to pi/2; pi/4 for round objects
    double maxFeret = 0;  ///< greatest distance between midpoints of convex pixels' edges
    double minFeret = 0;  ///< least distance between parallel lines around these midpoints
    double perimeter = 0; ///< by the formula of Crofton, with four directions
    std::uint64_t convexArea = 0;
    std::uint64_t holes = 0; ///< background that is not connected by edges with that outside

    double GetSolidity( const XObjectShape& inShape ) const;
    double GetCircularity( const XObjectShape& inShape ) const; ///< 4 pi area / perimeter^2
    static double GetEquivalentDiameter( const XObjectShape& inShape );
    static double GetExtent( const XObjectShape& inShape ); ///< the share of the bounds
};

/// Measures the shape of each object. An abort throws 1001.
KORVALE_IMAGING_API std::vector<XShapeMeasurement> XMeasureShapes( const XLabelledObjects& inObjects );
