#include "Imaging/Measurements/Internal/XObjectMoments.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

// Sums are exact: coordinates count from the corner of the bounds, and a page has less than 2^32 pixels, so all of them
// fit into 128 bits.

namespace
{
using Int128 = __int128;

/// The sum of the squares of the whole numbers below `inEnd`.
Int128 SumSquares( std::uint64_t inEnd )
{
    return inEnd == 0 ? Int128{ 0 } : Int128{ inEnd - 1 } * inEnd * ( 2 * inEnd - 1 ) / 6;
}
} // namespace

XObjectMoments::XObjectMoments( std::span<const XPixelRun> inRuns, const XObjectShape& inShape )
{
    Int128 sumXX = 0, sumYY = 0, sumXY = 0;
    for ( const auto& run : inRuns )
    {
        const std::uint64_t first = run.first - inShape.left, end = run.end - inShape.left;
        const std::uint64_t y = run.row - inShape.top, count = end - first;
        sumXX += SumSquares( end ) - SumSquares( first );
        sumYY += Int128{ y * y } * count;
        sumXY += Int128{ ( first + end - 1 ) * count / 2 } * y;
    }
    const Int128 count = inShape.pixelCount;
    const Int128 sumX = inShape.sumX - std::uint64_t{ inShape.left } * inShape.pixelCount;
    const Int128 sumY = inShape.sumY - std::uint64_t{ inShape.top } * inShape.pixelCount;
    const auto square = static_cast<double>( count ) * static_cast<double>( count );
    itsXX = static_cast<double>( count * sumXX - sumX * sumX ) / square;
    itsYY = static_cast<double>( count * sumYY - sumY * sumY ) / square;
    itsXY = static_cast<double>( count * sumXY - sumX * sumY ) / square;
    itsMean = ( itsXX + itsYY ) / 2;
    itsRadius = std::hypot( ( itsXX - itsYY ) / 2, itsXY );
}

double XObjectMoments::GetMinorVariance() const
{
    return std::max( itsMean - itsRadius, 0.0 );
}

double XObjectMoments::GetEccentricity() const
{
    if ( itsMean == 0 )
        return 0;
    return std::sqrt( std::min( 2 * itsRadius / GetMajorVariance(), 1.0 ) );
}

double XObjectMoments::GetOrientation() const
{
    return itsRadius == 0 ? std::numbers::pi / 4 : std::atan2( 2 * itsXY, itsYY - itsXX ) / 2;
}
