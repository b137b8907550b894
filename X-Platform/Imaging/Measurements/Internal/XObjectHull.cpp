#include "Imaging/Measurements/Internal/XObjectHull.h"

#include <algorithm>
#include <cmath>
#include <limits>

// Coordinates are twice those of pixels, from the corner of the bounds, so that midpoints of edges are whole numbers, and
// all products fit into 64 bits, since a page has less than 2^32 pixels. Of each row only the first and the last pixel
// can be on the hull: its left and its right side are chains of points in ascending order of y (A. Andrew, 1979).
// Diameter and width are found by rotating calipers (M. Shamos, 1978).

namespace
{
struct Point
{
    std::int64_t x;
    std::int64_t y;
};

/// The first and the last column of a row.
struct Span
{
    std::int64_t row;
    std::int64_t first;
    std::int64_t last;
};

/// Twice the area of a triangle, above 0 if its corners turn from x to y.
std::int64_t GetTurn( const Point& inFirst, const Point& inSecond, const Point& inThird )
{
    return ( inSecond.x - inFirst.x ) * ( inThird.y - inFirst.y ) -
        ( inSecond.y - inFirst.y ) * ( inThird.x - inFirst.x );
}

/// A side of the hull.
class Chain
{
public:
    /// 1 for the right side, -1 for the left one.
    explicit Chain( std::int64_t inSide ) : itsSide( inSide ) {}

    /// Points must come in ascending order of y; of equal ones the outermost stays.
    void Add( const Point& inPoint )
    {
        if ( !itsPoints.empty() && itsPoints.back().y == inPoint.y )
        {
            if ( itsSide * ( inPoint.x - itsPoints.back().x ) <= 0 )
                return;
            itsPoints.pop_back();
        }
        while ( itsPoints.size() > 1 &&
                itsSide * GetTurn( itsPoints[itsPoints.size() - 2], itsPoints.back(), inPoint ) <= 0 )
            itsPoints.pop_back();
        itsPoints.push_back( inPoint );
    }

    const std::vector<Point>& GetPoints() const { return itsPoints; }

    /// The outermost pixel whose centre is inside, for rows in ascending order; `ioEdge` is 0 before the first one.
    std::int64_t GetPixel( std::int64_t inRow, std::size_t& ioEdge ) const
    {
        const auto y = 2 * inRow;
        while ( itsPoints[ioEdge + 1].y < y )
            ++ioEdge;
        const auto &from = itsPoints[ioEdge], &to = itsPoints[ioEdge + 1];
        const auto height = 2 * ( to.y - from.y );
        const auto x = from.x * ( to.y - from.y ) + ( to.x - from.x ) * ( y - from.y );
        return itsSide > 0 ? FloorDivide( x, height ) : -FloorDivide( -x, height );
    }

private:
    const std::int64_t itsSide;
    std::vector<Point> itsPoints;

    static std::int64_t FloorDivide( std::int64_t inDividend, std::int64_t inDivisor )
    {
        const auto quotient = inDividend / inDivisor;
        return quotient - ( inDividend % inDivisor < 0 ? 1 : 0 );
    }
};

struct Hull
{
    Chain left{ -1 };
    Chain right{ 1 };

    /// Adds the midpoints of edges at that height.
    void Add( std::int64_t inY, std::int64_t inLeft, std::int64_t inRight )
    {
        left.Add( { inLeft, inY } );
        right.Add( { inRight, inY } );
    }

    /// All points in the order of a walk around the hull.
    std::vector<Point> GetPoints() const
    {
        auto points = right.GetPoints();
        const auto& others = left.GetPoints();
        const auto isSame = []( const Point& inOne, const Point& inOther )
        { return inOne.x == inOther.x && inOne.y == inOther.y; };
        for ( auto i = others.size(); i-- > 0; )
            if ( !isSame( others[i], points.back() ) && !isSame( others[i], points.front() ) )
                points.push_back( others[i] );
        return points;
    }
};

/// Of rows in ascending order, of which some may be missing.
Hull MakeHull( const std::vector<Span>& inRows )
{
    Hull hull;
    for ( std::size_t i = 0; i < inRows.size(); ++i )
    {
        const auto& [row, first, last] = inRows[i];
        const auto isNext = i > 0 && inRows[i - 1].row + 1 == row;
        if ( !isNext )
            hull.Add( 2 * row - 1, 2 * first, 2 * last );
        hull.Add( 2 * row, 2 * first - 1, 2 * last + 1 );
        const auto hasNext = i + 1 < inRows.size() && inRows[i + 1].row == row + 1;
        hull.Add(
            2 * row + 1, 2 * ( hasNext ? std::min( first, inRows[i + 1].first ) : first ),
            2 * ( hasNext ? std::max( last, inRows[i + 1].last ) : last ) );
    }
    return hull;
}

std::vector<Span> ListRows( std::span<const XPixelRun> inRuns, const XObjectShape& inShape )
{
    std::vector<Span> rows;
    for ( const auto& run : inRuns )
    {
        const std::int64_t row = run.row - inShape.top, last = run.end - 1 - inShape.left;
        if ( rows.empty() || rows.back().row != row )
            rows.push_back( { row, run.first - inShape.left, last } );
        rows.back().last = last;
    }
    return rows;
}

double GetDistance( const Point& inOne, const Point& inOther )
{
    return std::hypot(
        static_cast<double>( inOne.x - inOther.x ), static_cast<double>( inOne.y - inOther.y ) );
}

struct Calipers
{
    double maxDiameter = 0;
    double minWidth = std::numeric_limits<double>::infinity();
};

/// The point farthest from an edge moves around the hull with the edge.
Calipers Rotate( const std::vector<Point>& inPoints )
{
    Calipers found;
    const auto count = inPoints.size();
    std::size_t opposite = 1;
    for ( std::size_t i = 0; i < count; ++i )
    {
        const auto &from = inPoints[i], &to = inPoints[( i + 1 ) % count];
        const auto measure = [&]
        {
            const auto& point = inPoints[opposite];
            found.maxDiameter =
                std::max( { found.maxDiameter, GetDistance( from, point ), GetDistance( to, point ) } );
        };
        measure();
        while ( true )
        {
            const auto next = ( opposite + 1 ) % count;
            const auto gain = GetTurn( from, to, inPoints[next] ) - GetTurn( from, to, inPoints[opposite] );
            if ( gain < 0 )
                break;
            opposite = next;
            measure();
            if ( gain == 0 ) // An edge that is parallel is the only one.
                break;
        }
        const auto area = static_cast<double>( GetTurn( from, to, inPoints[opposite] ) );
        found.minWidth = std::min( found.minWidth, area / GetDistance( from, to ) );
    }
    return found;
}
} // namespace

XObjectHull::XObjectHull( std::span<const XPixelRun> inRuns, const XObjectShape& inShape )
{
    const auto hull = MakeHull( ListRows( inRuns, inShape ) );
    std::vector<Span> rows;
    std::size_t left = 0, right = 0;
    const std::int64_t height = inShape.GetBoundsY();
    for ( std::int64_t row = 0; row < height; ++row )
    {
        rows.push_back( { row, hull.left.GetPixel( row, left ), hull.right.GetPixel( row, right ) } );
        itsArea += static_cast<std::uint64_t>( rows.back().last - rows.back().first + 1 );
    }
    const auto [diameter, width] = Rotate( MakeHull( rows ).GetPoints() );
    itsMaxDiameter = diameter / 2;
    itsMinWidth = width / 2;
}
