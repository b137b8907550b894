#include "Imaging/Objects/XConnectedComponents.h"

#include "Imaging/Objects/Internal/XObjectRuns.h"
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
// Components inside objects are found in the same way: their runs are cut where objects end, carry the index of
// their object as a group, and only join runs of their own group.
//
// Time and memory depend on the number of runs instead of that of pixels, except for the search for runs,
// which takes a step for 64 pixels and one for each change.

namespace
{
constexpr auto kWordBits = XPixelMask::kWordBits;

/// Calls `inWork( first, end )` for the runs of set bits in the columns from `inFirst` up to `inEnd`.
template<class TWork>
void VisitRuns(
    std::span<const std::uint64_t> inBits, std::uint32_t inFirst, std::uint32_t inEnd, TWork inWork )
{
    if ( inFirst >= inEnd )
        return;
    const auto firstWord = inFirst / kWordBits, lastWord = ( inEnd - 1 ) / kWordBits;
    std::uint64_t before = 0;
    std::uint32_t first = 0;
    bool isInside = false;
    for ( auto word = firstWord; word <= lastWord; ++word )
    {
        auto bits = inBits[word];
        if ( word == firstWord )
            bits &= ~std::uint64_t{ 0 } << inFirst % kWordBits;
        if ( word == lastWord )
            bits &= ~std::uint64_t{ 0 } >> ( kWordBits - 1 - ( inEnd - 1 ) % kWordBits );
        // A bit for each pixel that differs from its left neighbour: runs begin and end there.
        auto changes = bits ^ ( bits << 1 | before );
        before = bits >> ( kWordBits - 1 );
        for ( ; changes != 0; changes &= changes - 1 )
        {
            const auto x = word * kWordBits + static_cast<std::uint32_t>( std::countr_zero( changes ) );
            if ( isInside )
                inWork( first, x );
            first = x;
            isInside = !isInside;
        }
    }
    if ( isInside )
        inWork( first, inEnd );
}

class Finder
{
public:
    Finder( std::size_t inRunCount, XConnectivity inConnectivity )
        : itsReach( inConnectivity == XConnectivity::kEdgesAndCorners ? 1 : 0 )
    {
        // Room that is not used is not touched either.
        itsRuns.reserve( inRunCount );
        itsShapes.reserve( inRunCount );
        itsParents.reserve( inRunCount );
    }

    /// Must be called before the first run of each row.
    void StartRow( std::uint32_t inRow );
    /// Adds a run. Runs of different groups are not joined.
    void AddRun( std::uint32_t inRow, std::uint32_t inFirst, std::uint32_t inEnd, std::uint32_t inGroup );
    XLabelledObjects TakeObjects( std::uint64_t inLeastPixels );

private:
    std::uint32_t itsReach; // how far beside each other runs of two rows may lie and still touch
    std::vector<XPixelRun> itsRuns;
    std::vector<XObjectShape> itsShapes;   // of the provisional components
    std::vector<std::uint32_t> itsParents; // an earlier component that is the same one, or itself
    std::vector<std::uint32_t> itsGroups;  // of the provisional components; empty while there is only group 0
    std::size_t itsAbove = 0;              // the first run of the row above that may touch the next run
    std::size_t itsRowStart = 0;           // the first run of the row that is being added

    std::uint32_t AddComponent( std::uint32_t inGroup );
    std::uint32_t GetGroup( std::uint32_t inComponent ) const
    {
        return itsGroups.empty() ? 0 : itsGroups[inComponent];
    }
    void NumberComponent( std::size_t inComponent, std::uint64_t inLeastPixels, std::uint32_t& ioObjects );
    std::uint32_t FindRoot( std::uint32_t inComponent );
    std::uint32_t Join( std::uint32_t inOne, std::uint32_t inOther );
};

void Finder::StartRow( std::uint32_t inRow )
{
    // Runs of a row that is not the one above touch nothing.
    const auto previousStart = itsRowStart;
    itsRowStart = itsRuns.size();
    const auto isNext = itsRowStart > 0 && itsRuns.back().row + 1 == inRow;
    itsAbove = isNext ? previousStart : itsRowStart;
}

std::uint32_t Finder::AddComponent( std::uint32_t inGroup )
{
    const auto component = static_cast<std::uint32_t>( itsParents.size() );
    if ( inGroup != 0 && itsGroups.empty() )
        itsGroups.resize( component );
    if ( inGroup != 0 || !itsGroups.empty() )
        itsGroups.push_back( inGroup );
    itsParents.push_back( component );
    itsShapes.emplace_back();
    return component;
}

void Finder::AddRun( std::uint32_t inRow, std::uint32_t inFirst, std::uint32_t inEnd, std::uint32_t inGroup )
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
        if ( GetGroup( run.object ) != inGroup )
            continue;
        const auto from = std::max( run.first, inFirst ), to = std::min( run.end, inEnd );
        // Pixels with a neighbour above, for the perimeter; diagonal contacts have none.
        verticalAdjacencies += to > from ? to - from : 0;
        component =
            component == XPixelRun::kNoObject ? FindRoot( run.object ) : Join( component, run.object );
    }
    if ( component == XPixelRun::kNoObject )
        component = AddComponent( inGroup );
    itsRuns.push_back( { inRow, inFirst, inEnd, component } );
    itsShapes[component].AddRun( itsRuns.back(), verticalAdjacencies );
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

XLabelledObjects XFindConnectedComponents(
    const XPixelMask& inMask, XConnectivity inConnectivity, std::uint64_t inLeastPixels )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    Finder finder( inMask.CountRuns(), inConnectivity );
    const auto addRow = [&]( std::uint32_t inRow )
    {
        finder.StartRow( inRow );
        VisitRuns(
            inMask.GetRow( inRow ), 0, inMask.GetWidth(),
            [&]( std::uint32_t inFirst, std::uint32_t inEnd )
            { finder.AddRun( inRow, inFirst, inEnd, 0 ); } );
    };
    XForEachRow( inMask.GetHeight(), inMask.GetWidth(), addRow );
    progress.Increment();
    return finder.TakeObjects( inLeastPixels );
}

XLabelledObjects XFindComponentsInside(
    const XPixelMask& inMask, const XLabelledObjects& inOuter, XConnectivity inConnectivity,
    std::uint64_t inLeastPixels )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    Finder finder( inMask.CountRuns(), inConnectivity );
    auto row = XPixelRun::kNoObject;
    const auto addRun = [&]( const XPixelRun& inRun )
    {
        if ( inRun.row != row )
            finder.StartRow( row = inRun.row );
        VisitRuns(
            inMask.GetRow( row ), inRun.first, inRun.end,
            [&]( std::uint32_t inFirst, std::uint32_t inEnd )
            { finder.AddRun( row, inFirst, inEnd, inRun.object ); } );
    };
    XForEachObjectRun( inOuter, addRun );
    progress.Increment();
    return finder.TakeObjects( inLeastPixels );
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
