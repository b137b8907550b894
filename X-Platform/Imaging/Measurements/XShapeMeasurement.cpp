#include "Imaging/Measurements/XShapeMeasurement.h"

#include "Imaging/Measurements/Internal/XObjectHull.h"
#include "Imaging/Measurements/Internal/XObjectMoments.h"
#include "Imaging/Measurements/Internal/XPixelQuads.h"
#include "Imaging/Objects/Internal/XObjectRuns.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace
{
/// The number of parts of an object whose runs are connected by edges or corners.
std::uint64_t CountParts( std::span<const XPixelRun> inRuns )
{
    std::vector<std::size_t> parents( inRuns.size() );
    std::iota( parents.begin(), parents.end(), std::size_t{ 0 } );
    const auto findRoot = [&]( std::size_t inRun )
    {
        while ( parents[inRun] != inRun )
            inRun = parents[inRun] = parents[parents[inRun]];
        return inRun;
    };
    auto count = inRuns.size();
    std::size_t above = 0;
    for ( std::size_t i = 0; i < inRuns.size(); ++i )
    {
        const auto& run = inRuns[i];
        while ( inRuns[above].row + 1 < run.row ||
                ( inRuns[above].row + 1 == run.row && inRuns[above].end < run.first ) )
            ++above;
        for ( auto other = above; inRuns[other].row < run.row && inRuns[other].first <= run.end; ++other )
            if ( const auto one = findRoot( i ), two = findRoot( other ); one != two )
            {
                parents[std::max( one, two )] = std::min( one, two );
                --count;
            }
    }
    return count;
}

XShapeMeasurement MeasureShape( std::span<const XPixelRun> inRuns, const XObjectShape& inShape )
{
    XShapeMeasurement shape;
    const XObjectMoments moments( inRuns, inShape );
    shape.majorAxis = 4 * std::sqrt( moments.GetMajorVariance() );
    shape.minorAxis = 4 * std::sqrt( moments.GetMinorVariance() );
    shape.eccentricity = moments.GetEccentricity();
    shape.orientation = moments.GetOrientation();
    const XObjectHull hull( inRuns, inShape );
    shape.convexArea = hull.GetArea();
    shape.maxFeret = hull.GetMaxDiameter();
    shape.minFeret = hull.GetMinWidth();
    const XPixelQuads quads( inRuns );
    shape.perimeter = quads.GetCroftonPerimeter();
    shape.holes = static_cast<std::uint64_t>(
        static_cast<std::int64_t>( CountParts( inRuns ) ) - quads.GetEulerNumber() );
    return shape;
}
} // namespace

double XShapeMeasurement::GetSolidity( const XObjectShape& inShape ) const
{
    return inShape.pixelCount / static_cast<double>( convexArea );
}

double XShapeMeasurement::GetCircularity( const XObjectShape& inShape ) const
{
    return 4 * std::numbers::pi * inShape.pixelCount / ( perimeter * perimeter );
}

double XShapeMeasurement::GetEquivalentDiameter( const XObjectShape& inShape )
{
    return std::sqrt( 4 * inShape.pixelCount / std::numbers::pi );
}

double XShapeMeasurement::GetExtent( const XObjectShape& inShape )
{
    return inShape.pixelCount / ( static_cast<double>( inShape.GetBoundsX() ) * inShape.GetBoundsY() );
}

std::vector<XShapeMeasurement> XMeasureShapes( const XLabelledObjects& inObjects )
{
    constexpr std::uint64_t kObjectsAtOnce = 64;
    const XRunsByObject runs( inObjects );
    std::vector<XShapeMeasurement> shapes( inObjects.shapes.size() );
    const auto measure = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto i = inFirst; i < inEnd; ++i )
            shapes[i] = MeasureShape( runs.Get( i ), inObjects.shapes[i] );
    };
    XForEachChunk( shapes.size(), kObjectsAtOnce, measure );
    return shapes;
}
