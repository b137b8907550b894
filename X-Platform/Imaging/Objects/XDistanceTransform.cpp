#include "Imaging/Objects/XDistanceTransform.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Imaging/Objects/XConnectedComponents.h"
#include "Imaging/Pages/Internal/XChannelPage.h"
#include "Imaging/Thresholds/XPixelMask.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

// Vertical distances first, in a sweep down and one up, then rows: the squared distance of a pixel is the least of
// the parabolas (x - i)^2 + g(i)^2 over the columns i of its row, g being vertical distances. Their lower envelope is
// built in one pass over the row and read in another (P. Felzenszwalb and D. Huttenlocher, 2012; in whole numbers as
// by A. Meijster, 2000). The pixels at both ends of a run are not set, and no pixel behind them is nearer: each run
// has an envelope of its own, and only pixels of objects take time.

namespace
{
constexpr std::uint32_t kFarRows = 65536; // its square exceeds all stored ones
constexpr std::uint64_t kMostSquare = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kRunsAtOnce = 1024;

/// A parabola of the lower envelope. Columns are counted from the first of the run.
struct Parabola
{
    std::int64_t column;
    std::int64_t square; // of its vertical distance
    std::int64_t from;   // the first column at which it is the least
};

/// The lower envelope of a run.
class Envelope
{
public:
    void Transform( const XPixelRun& inRun, std::uint32_t inWidth, std::uint32_t* ioRow )
    {
        const std::int64_t count = inRun.end - inRun.first;
        auto* const distances = ioRow + inRun.first;
        itsParabolas.clear();
        if ( inRun.first > 0 )
            Add( -1, 0, count );
        for ( std::int64_t x = 0; x < count; ++x )
            if ( distances[x] < kFarRows )
                Add( x, std::int64_t{ distances[x] } * distances[x], count );
        if ( inRun.end < inWidth )
            Add( count, 0, count );
        if ( itsParabolas.empty() )
            itsParabolas.push_back( { 0, kMostSquare, 0 } );
        for ( std::size_t i = 0; i < itsParabolas.size(); ++i )
        {
            const auto& [column, square, from] = itsParabolas[i];
            const auto end = i + 1 < itsParabolas.size() ? itsParabolas[i + 1].from : count;
            for ( auto x = from; x < end; ++x )
            {
                const auto distance = static_cast<std::uint64_t>( ( x - column ) * ( x - column ) + square );
                distances[x] = static_cast<std::uint32_t>( std::min( distance, kMostSquare ) );
            }
        }
    }

private:
    std::vector<Parabola> itsParabolas;

    /// Adds a parabola right of the others.
    void Add( std::int64_t inColumn, std::int64_t inSquare, std::int64_t inCount )
    {
        std::int64_t from = 0;
        for ( ; !itsParabolas.empty(); itsParabolas.pop_back() )
        {
            const auto& last = itsParabolas.back();
            from = GetFirstBelow( inColumn, inSquare, last );
            if ( from > last.from )
                break;
            from = 0; // If it is below all others, it is below them from the start.
        }
        if ( from < inCount )
            itsParabolas.push_back( { inColumn, inSquare, from } );
    }

    /// The first column, from 0, at which a parabola is below another one on its left.
    static std::int64_t GetFirstBelow( std::int64_t inColumn, std::int64_t inSquare, const Parabola& inOther )
    {
        const auto width = inColumn - inOther.column;
        const auto numerator = width * ( inColumn + inOther.column ) + inSquare - inOther.square;
        if ( numerator < 0 )
            return 0;
        // Neighbours are frequent, and divisions slow.
        return ( width == 1 ? numerator / 2 : numerator / ( 2 * width ) ) + 1;
    }
};

/// The vertical distance of each pixel to the nearest one above that is not set.
void SweepDown( const XPixelRun& inRun, std::size_t inStride, std::uint32_t* ioDistances )
{
    auto* const row = ioDistances + inRun.row * inStride;
    if ( inRun.row == 0 )
    {
        std::fill( row + inRun.first, row + inRun.end, kFarRows );
        return;
    }
    const auto* const above = row - inStride;
    for ( auto x = inRun.first; x < inRun.end; ++x )
        row[x] = std::min( above[x] + 1, kFarRows );
}

/// Or below.
void SweepUp( const XPixelRun& inRun, std::size_t inStride, std::uint32_t* ioDistances )
{
    auto* const row = ioDistances + inRun.row * inStride;
    const auto* const below = row + inStride;
    for ( auto x = inRun.first; x < inRun.end; ++x )
        row[x] = std::min( row[x], below[x] + 1 );
}
} // namespace

void XGetSquaredDistances(
    const XLabelledObjects& inComponents, const WImageFormat& inPage, std::size_t inStride,
    std::uint32_t* ioDistances )
{
    if ( inPage.width > std::uint32_t{ std::numeric_limits<std::int32_t>::max() } )
        XThrow( kErrorBadParameters );
    XProgress progress( 3, XProgress::kProgressSteps );
    const auto& runs = inComponents.runs;
    const auto visit = [&]( auto inWork )
    {
        XForEachChunk(
            runs.size(), kRunsAtOnce,
            [&]( std::uint64_t inFirst, std::uint64_t inEnd )
            {
                for ( auto i = inFirst; i < inEnd; ++i )
                    inWork( i );
            } );
        progress.Increment();
    };
    visit( [&]( std::uint64_t inRun ) { SweepDown( runs[inRun], inStride, ioDistances ); } );
    visit(
        [&]( std::uint64_t inRun )
        {
            const auto& run = runs[runs.size() - 1 - inRun];
            if ( run.row + 1 < inPage.height )
                SweepUp( run, inStride, ioDistances );
        } );
    Envelope envelope;
    visit(
        [&]( std::uint64_t inRun )
        {
            const auto& run = runs[inRun];
            envelope.Transform( run, inPage.width, ioDistances + run.row * inStride );
        } );
}

WImagePage XGetDistances( const XPixelMask& inMask )
{
    WImageFormat format;
    format.width = inMask.GetWidth();
    format.height = inMask.GetHeight();
    auto page = XMakeChannelPage( format, WImageFormat::kFloat32 );
    std::fill_n( page.samples.get(), page.GetByteCount(), std::byte{ 0 } );
    XGetSquaredDistances(
        XFindConnectedComponents( inMask, XConnectivity::kEdges ), page, page.width,
        reinterpret_cast<std::uint32_t*>( page.samples.get() ) );
    for ( std::uint64_t i = 0; i < page.GetSampleCount(); ++i )
    {
        std::uint32_t square;
        std::memcpy( &square, page.samples.get() + i * sizeof( square ), sizeof( square ) );
        const auto distance = static_cast<float>( std::sqrt( static_cast<double>( square ) ) );
        std::memcpy( page.samples.get() + i * sizeof( distance ), &distance, sizeof( distance ) );
    }
    return page;
}
