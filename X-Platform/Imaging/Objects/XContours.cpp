#include "Imaging/Objects/XContours.h"

#include "Imaging/Objects/Internal/XObjectRuns.h"

#include <algorithm>
#include <span>
#include <utility>

// Contours along pixel edges, from runs instead of pixels. The vertical parts are the ends of the runs; what
// remains is to link them by the horizontal parts, line by line. On the line between two rows the ends of the
// runs above and below are merged in the order of x; exactly one of the two rows is filled between the first
// and the second end, the third and the fourth, and so on, so each such pair is linked (LinkLine). Each edge
// then has one successor, and following them gives closed loops: the outer contour and one for each hole.
// Time and memory are proportional to the number of runs (a merge for each line).

namespace
{
/// The left edges of a run and its right edges are the vertical parts of a contour: lines that go up at the left and
/// down at the right. Edge 2 i is the left one of run i, and edge 2 i + 1 the right one.
using EdgeIndex = std::uint32_t;

constexpr std::uint32_t kRight = 1;

/// The contours of one object, from its runs in raster order.
class Tracer
{
public:
    explicit Tracer( std::span<const XPixelRun> inRuns ) : itsRuns( inRuns ), itsNext( 2 * inRuns.size() ) {}

    std::vector<XContourLoop> Trace()
    {
        LinkRows();
        std::vector<XContourLoop> loops;
        for ( EdgeIndex edge = 0; edge < itsNext.size(); ++edge )
            if ( itsNext[edge] != kDone )
                loops.push_back( Follow( edge ) );
        return loops;
    }

private:
    static constexpr EdgeIndex kDone = std::numeric_limits<EdgeIndex>::max();

    /// Where a vertical edge meets the line between two rows.
    struct End
    {
        std::uint32_t x;
        bool isRight;
        bool isAbove; // the edge lies above the line
        EdgeIndex edge;

        /// At one place right edges come first: what ends there is linked before what begins.
        bool operator<( const End& inOther ) const
        {
            return std::pair( x, !isRight ) < std::pair( inOther.x, !inOther.isRight );
        }
    };

    const std::span<const XPixelRun> itsRuns;
    /// For each edge the next one of the contour; kDone when it has been traced.
    std::vector<EdgeIndex> itsNext;
    std::vector<End> itsEnds;

    std::uint32_t GetX( EdgeIndex inEdge ) const
    {
        const auto& run = itsRuns[inEdge / 2];
        return inEdge % 2 == kRight ? run.end : run.first;
    }

    /// Where the contour comes to the edge and where it leaves it.
    XPixelCorner GetStart( EdgeIndex inEdge ) const
    {
        return { GetX( inEdge ), itsRuns[inEdge / 2].row + ( inEdge % 2 == kRight ? 0 : 1 ) };
    }
    XPixelCorner GetEnd( EdgeIndex inEdge ) const
    {
        return { GetX( inEdge ), itsRuns[inEdge / 2].row + ( inEdge % 2 == kRight ? 1 : 0 ) };
    }

    /// Links the edges on every line between two rows of which at least one has runs. The row above a gap has a line below
    /// it without runs on the other side.
    void LinkRows()
    {
        for ( std::size_t above = 0, first = 0; above < itsRuns.size(); )
        {
            auto end = first;
            const auto isNext =
                above == first || ( first < itsRuns.size() && itsRuns[first].row == itsRuns[above].row + 1 );
            while ( isNext && end < itsRuns.size() && itsRuns[end].row == itsRuns[first].row )
                ++end;
            LinkLine( above, first, end );
            above = std::exchange( first, end );
        }
    }

    /// Links the edges of the runs from `inAbove` to `inFirst`, above a line, and of those from there to `inEnd`, below
    /// it. The horizontal parts of the contour lie where exactly one of the rows is filled, which is between every
    /// second end and the next.
    void LinkLine( std::size_t inAbove, std::size_t inFirst, std::size_t inEnd )
    {
        itsEnds.clear();
        for ( auto run = inAbove; run < inEnd; ++run )
            for ( const std::uint32_t side : { 0u, kRight } )
            {
                const auto edge = static_cast<EdgeIndex>( 2 * run + side );
                itsEnds.push_back( { GetX( edge ), side == kRight, run < inFirst, edge } );
            }
        // Both halves are in order already, as runs of a row are.
        const auto middle = itsEnds.begin() + static_cast<std::ptrdiff_t>( 2 * ( inFirst - inAbove ) );
        std::inplace_merge( itsEnds.begin(), middle, itsEnds.end() );
        for ( std::size_t i = 0; i + 1 < itsEnds.size(); i += 2 )
            Link( itsEnds[i], itsEnds[i + 1] );
    }

    /// The contour runs down right edges and up left ones, so it arrives on one of the two and continues with
    /// the other.
    void Link( const End& inOne, const End& inOther )
    {
        const auto oneArrives = inOne.isRight == inOne.isAbove;
        const auto& from = oneArrives ? inOne : inOther;
        const auto& to = oneArrives ? inOther : inOne;
        itsNext[from.edge] = to.edge;
    }

    XContourLoop Follow( EdgeIndex inFirst )
    {
        XContourLoop loop;
        for ( auto edge = inFirst; itsNext[edge] != kDone; edge = std::exchange( itsNext[edge], kDone ) )
        {
            AddCorner( GetStart( edge ), loop );
            AddCorner( GetEnd( edge ), loop );
        }
        // Where the loop closes, the corners on both sides of the seam may not turn.
        if ( loop.size() > 2 && IsStraight( loop.back(), loop[0], loop[1] ) )
            loop.erase( loop.begin() );
        if ( IsStraight( loop[loop.size() - 2], loop.back(), loop[0] ) )
            loop.pop_back();
        return loop;
    }

    static bool
    IsStraight( const XPixelCorner& inOne, const XPixelCorner& inMiddle, const XPixelCorner& inOther )
    {
        return ( inOne.x == inMiddle.x && inMiddle.x == inOther.x ) ||
            ( inOne.y == inMiddle.y && inMiddle.y == inOther.y );
    }

    /// Corners at which the line does not turn are left out.
    static void AddCorner( const XPixelCorner& inCorner, XContourLoop& ioLoop )
    {
        if ( !ioLoop.empty() && ioLoop.back() == inCorner )
            return;
        if ( ioLoop.size() > 1 && IsStraight( ioLoop[ioLoop.size() - 2], ioLoop.back(), inCorner ) )
            ioLoop.back() = inCorner;
        else
            ioLoop.push_back( inCorner );
    }
};
} // namespace

std::vector<std::vector<XContourLoop>> XTraceContours( const XLabelledObjects& inObjects )
{
    constexpr std::uint64_t kObjectsAtOnce = 64;
    const XRunsByObject runs( inObjects );
    std::vector<std::vector<XContourLoop>> contours( inObjects.shapes.size() );
    XForEachChunk(
        contours.size(), kObjectsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                contours[i] = Tracer( runs.Get( i ) ).Trace();
        } );
    return contours;
}
