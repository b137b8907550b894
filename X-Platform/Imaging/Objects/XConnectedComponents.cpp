#include "Imaging/Objects/XConnectedComponents.h"

#include "Imaging/Thresholds/XPixelMask.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <bit>
#include <span>

// The number of runs is known from the mask. One pass over the rows joins every run to those that it touches
// in the row above and adds its shape to a provisional component; at the end, provisional components that
// turned out to be one are merged. Components are numbered in the order of their appearance and always joined
// into the earlier one, so the remaining numbers are in raster order.
//
// Time and memory depend on the number of runs instead of that of pixels, except for the search for runs,
// which takes a step for 64 pixels and one for each change.

namespace
{
constexpr auto kWordBits = XPixelMask::kWordBits;

class Finder
{
public:
    Finder( std::uint32_t inWidth, std::size_t inRunCount, XConnectivity inConnectivity )
        : itsWidth( inWidth ), itsReach( inConnectivity == XConnectivity::kEdgesAndCorners ? 1 : 0 )
    {
        // Room that is not used is not touched either.
        itsRuns.reserve( inRunCount );
        itsShapes.reserve( inRunCount );
        itsParents.reserve( inRunCount );
    }

    void AddRow( std::uint32_t inRow, std::span<const std::uint64_t> inBits );
    XLabelledObjects TakeObjects( std::uint64_t inLeastPixels );

private:
    std::uint32_t itsWidth;
    std::uint32_t itsReach; // how far beside each other runs of two rows may lie and still touch
    std::vector<XPixelRun> itsRuns;
    std::vector<XObjectShape> itsShapes;   // of the provisional components
    std::vector<std::uint32_t> itsParents; // an earlier component that is the same one, or itself
    std::size_t itsAbove = 0;              // the first run of the row above that may touch the next run
    std::size_t itsRowStart = 0;           // the first run of the row that is being added

    void AddRun( std::uint32_t inRow, std::uint32_t inFirst, std::uint32_t inEnd );
    void NumberComponent( std::size_t inComponent, std::uint64_t inLeastPixels, std::uint32_t& ioObjects );
    std::uint32_t FindRoot( std::uint32_t inComponent );
    std::uint32_t Join( std::uint32_t inOne, std::uint32_t inOther );
};

void Finder::AddRow( std::uint32_t inRow, std::span<const std::uint64_t> inBits )
{
    // Runs of a row that is not the one above touch nothing.
    const auto previousStart = itsRowStart;
    itsRowStart = itsRuns.size();
    const auto isNext = itsRowStart > 0 && itsRuns.back().row + 1 == inRow;
    itsAbove = isNext ? previousStart : itsRowStart;

    std::uint64_t before = 0;
    std::uint32_t first = 0;
    bool isInside = false;
    for ( std::uint32_t word = 0; word < inBits.size(); ++word )
    {
        // A bit for each pixel that differs from its left neighbour: runs begin and end there.
        auto changes = inBits[word] ^ ( inBits[word] << 1 | before );
        before = inBits[word] >> ( kWordBits - 1 );
        for ( ; changes != 0; changes &= changes - 1 )
        {
            const auto x = word * kWordBits + static_cast<std::uint32_t>( std::countr_zero( changes ) );
            if ( isInside )
                AddRun( inRow, first, x );
            first = x;
            isInside = !isInside;
        }
    }
    if ( isInside )
        AddRun( inRow, first, itsWidth );
}

void Finder::AddRun( std::uint32_t inRow, std::uint32_t inFirst, std::uint32_t inEnd )
{
    // Runs of the row above that end before this one touch no later one either, so each is passed once.
    // Both rows are sorted by column, so this is a merge of two lists: O(runs) for a row.
    while ( itsAbove < itsRowStart && itsRuns[itsAbove].end + itsReach <= inFirst )
        ++itsAbove;

    auto component = XPixelRun::kNoObject;
    std::uint32_t verticalAdjacencies = 0;
    // From a copy of itsAbove: a long run above may also touch the next run of this row.
    for ( auto above = itsAbove; above < itsRowStart && itsRuns[above].first < inEnd + itsReach; ++above )
    {
        const auto& run = itsRuns[above];
        const auto from = std::max( run.first, inFirst ), to = std::min( run.end, inEnd );
        // Pixels with a neighbour above, for the perimeter; diagonal contacts have none.
        verticalAdjacencies += to > from ? to - from : 0;
        component =
            component == XPixelRun::kNoObject ? FindRoot( run.object ) : Join( component, run.object );
    }
    if ( component == XPixelRun::kNoObject )
    {
        component = static_cast<std::uint32_t>( itsParents.size() );
        itsParents.push_back( component );
        itsShapes.emplace_back();
    }
    itsRuns.push_back( { inRow, inFirst, inEnd, component } );

    const auto count = inEnd - inFirst;
    auto& shape = itsShapes[component];
    shape.pixelCount += count;
    // The sum of the columns from inFirst to inEnd - 1; the centroid divides it by the number of pixels.
    shape.sumX += ( std::uint64_t{ inFirst } + inEnd - 1 ) * count / 2;
    shape.sumY += std::uint64_t{ inRow } * count;
    shape.verticalAdjacencies += verticalAdjacencies;
    ++shape.runCount;
    shape.left = std::min( shape.left, inFirst );
    shape.right = std::max( shape.right, inEnd - 1 );
    shape.top = std::min( shape.top, inRow );
    shape.bottom = inRow;
}

std::uint32_t Finder::FindRoot( std::uint32_t inComponent )
{
    while ( itsParents[inComponent] != inComponent )
        // Path halving; with joining by age instead of by rank a search takes O(log n), amortised.
        inComponent = itsParents[inComponent] = itsParents[itsParents[inComponent]];
    return inComponent;
}

std::uint32_t Finder::Join( std::uint32_t inOne, std::uint32_t inOther )
{
    const auto [earlier, later] = std::minmax( { FindRoot( inOne ), FindRoot( inOther ) } );
    // By age instead of by size, because the numbers of the roots must stay in raster order.
    itsParents[later] = earlier;
    return earlier;
}

/// Turns the parent of a component into the number of its object. Parents come before their children.
void Finder::NumberComponent( std::size_t inComponent, std::uint64_t inLeastPixels, std::uint32_t& ioObjects )
{
    auto& parent = itsParents[inComponent];
    if ( parent != inComponent )
        // The number of the parent's object: the parent has been visited before.
        parent = itsParents[parent];
    else if ( itsShapes[inComponent].pixelCount < inLeastPixels )
        parent = XPixelRun::kNoObject;
    else
    {
        // Never ahead of the component that is visited, so no shape is overwritten before it is used.
        itsShapes[ioObjects] = itsShapes[inComponent];
        parent = ioObjects++;
    }
}

XLabelledObjects Finder::TakeObjects( std::uint64_t inLeastPixels )
{
    // A parent comes before its children, so one pass from the end adds everything up to the roots ...
    for ( auto component = itsParents.size(); component-- > 0; )
        if ( const auto parent = itsParents[component]; parent != component )
            itsShapes[parent].Add( itsShapes[component] );

    // ... and one from the start turns parents into numbers of objects, whose shapes move up.
    std::uint32_t objects = 0;
    const auto number = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto component = inFirst; component < inEnd; ++component )
            NumberComponent( component, inLeastPixels, objects );
    };
    XForEachChunk( itsParents.size(), kPixelsAtOnce, number );
    itsShapes.resize( objects );
    for ( auto& run : itsRuns )
        run.object = itsParents[run.object];
    return { std::move( itsShapes ), std::move( itsRuns ) };
}

} // namespace

void XObjectShape::Add( const XObjectShape& inOther )
{
    pixelCount += inOther.pixelCount;
    sumX += inOther.sumX;
    sumY += inOther.sumY;
    verticalAdjacencies += inOther.verticalAdjacencies;
    runCount += inOther.runCount;
    left = std::min( left, inOther.left );
    top = std::min( top, inOther.top );
    right = std::max( right, inOther.right );
    bottom = std::max( bottom, inOther.bottom );
}

XLabelledObjects XFindConnectedComponents(
    const XPixelMask& inMask, XConnectivity inConnectivity, std::uint64_t inLeastPixels )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    Finder finder( inMask.GetWidth(), inMask.CountRuns(), inConnectivity );
    XForEachRow(
        inMask.GetHeight(), inMask.GetWidth(),
        [&]( std::uint32_t inRow ) { finder.AddRow( inRow, inMask.GetRow( inRow ) ); } );
    progress.Increment();
    return finder.TakeObjects( inLeastPixels );
}

void XRemoveObjects(
    XLabelledObjects& ioObjects, const std::function<bool( const XObjectShape& )>& inIsRemoved )
{
    std::vector<std::uint32_t> numbers;
    numbers.reserve( ioObjects.shapes.size() );
    std::uint32_t kept = 0;
    for ( const auto& shape : ioObjects.shapes )
        numbers.push_back( inIsRemoved( shape ) ? XPixelRun::kNoObject : kept++ );
    if ( kept == numbers.size() )
        return;
    for ( std::size_t i = 0; i < numbers.size(); ++i )
        if ( numbers[i] != XPixelRun::kNoObject )
            ioObjects.shapes[numbers[i]] = ioObjects.shapes[i];
    ioObjects.shapes.resize( kept );
    for ( auto& run : ioObjects.runs )
        if ( run.object != XPixelRun::kNoObject )
            run.object = numbers[run.object];
}

XLabelledObjects XFindObjects(
    const WImagePage& inPage, std::uint32_t inChannel, double inThreshold, XConnectivity inConnectivity,
    std::uint64_t inLeastPixels )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto mask = XMarkPixels( inPage, inChannel, inThreshold );
    progress.Increment();
    return XFindConnectedComponents( mask, inConnectivity, inLeastPixels );
}
