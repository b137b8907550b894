#include "Imaging/Objects/XObjectSplitting.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Imaging/Objects/Internal/XIndexQueue.h"
#include "Imaging/Objects/Internal/XObjectRuns.h"
#include "Imaging/Objects/XDistanceTransform.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

// Component by component. Its pixels are sorted by value, the highest first. In that order each pixel joins the parts
// of its neighbours visited before (union-find, the root is the maximum of a part). Where two parts meet is the
// highest pass between them, so the lower maximum is a marker if it is deep enough there. A component with one marker
// is done. Otherwise the sorted order is a priority queue: each level has as many places as pixels, a pixel takes the
// next place of its level when it is reached, and the first place in use is visited next.
//
// Pages have a margin of pixels that belong to nothing, so no neighbour needs a check of its position. Values are
// whole numbers above 0, in the order of the distances or samples; they are replaced by the last place of their level.

namespace
{
using PixelIndex = std::uint32_t;

class ObjectSplitter
{
public:
    ObjectSplitter(
        const XLabelledObjects& inComponents, const WImageFormat& inPage, XConnectivity inConnectivity,
        XProgress& ioProgress )
        : itsComponents( inComponents ), itsWidth( inPage.width ), itsHeight( inPage.height ),
          itsStride( std::size_t{ inPage.width } + 1 ),
          itsNeighbours( ListNeighbours( itsStride, inConnectivity ) ), itsProgress( ioProgress )
    {
        const auto size = ( std::size_t{ itsHeight } + 2 ) * itsStride + 1;
        if ( size > std::numeric_limits<PixelIndex>::max() )
            XThrow( kErrorOutOfMemory );
        itsValues.resize( size );
    }

    std::size_t GetStride() const { return itsStride; }

    /// The value of the first pixel of the page. Initially all are 0.
    std::uint32_t* GetValues() { return itsValues.data() + itsStride + 1; }

    /// `inIsDeep( maximum, pass )` decides whether a maximum is a marker.
    template<class TIsDeep>
    XLabelledObjects Split( TIsDeep inIsDeep );

private:
    const XLabelledObjects& itsComponents;
    const std::uint32_t itsWidth;
    const std::uint32_t itsHeight;
    const std::size_t itsStride;
    const std::vector<std::ptrdiff_t> itsNeighbours;
    std::vector<std::uint32_t> itsValues; // 0 for pixels outside the components
    /// The parts, counted from 1; before, a pixel of the same part that was visited earlier, or the pixel itself.
    std::vector<std::uint32_t> itsLabels;
    std::uint32_t itsLabelCount = 0;

    // Of the component being split
    std::vector<PixelIndex> itsOrder;
    std::vector<std::uint32_t> itsPlaces; // counts of groups of values, later where they end
    std::vector<PixelIndex> itsMarkers;
    XIndexQueue itsQueue;

    XProgress& itsProgress;
    std::uint64_t itsVisited = 0; // since an abort was checked

    static std::vector<std::ptrdiff_t> ListNeighbours( std::size_t inStride, XConnectivity inConnectivity )
    {
        const auto stride = static_cast<std::ptrdiff_t>( inStride );
        if ( inConnectivity == XConnectivity::kEdges )
            return { -stride, -1, 1, stride };
        return { -stride, -1, 1, stride, -stride - 1, -stride + 1, stride - 1, stride + 1 };
    }

    PixelIndex GetNeighbour( PixelIndex inPixel, std::ptrdiff_t inOffset ) const
    {
        return static_cast<PixelIndex>( inPixel + inOffset );
    }

    /// Calls `inWork( pixel )` in raster order.
    template<class TWork>
    void VisitPixels( std::span<const XPixelRun> inRuns, TWork inWork ) const
    {
        for ( const auto& run : inRuns )
        {
            const auto end = GetIndex( run.row, run.end );
            for ( auto pixel = GetIndex( run.row, run.first ); pixel < end; ++pixel )
                inWork( pixel );
        }
    }

    template<class TIsDeep>
    bool FindMarkers( std::span<const XPixelRun> inRuns, TIsDeep inIsDeep );
    template<class TIsDeep>
    void JoinParts( TIsDeep inIsDeep );
    void Sort( std::span<const XPixelRun> inRuns, std::uint32_t inLeast, std::uint32_t inMost );
    PixelIndex FindMaximum( PixelIndex inPixel );
    bool IsHigher( PixelIndex inOne, PixelIndex inOther ) const;
    void Label( std::span<const XPixelRun> inRuns, std::uint32_t inLabel );
    void Flood();
    void Reach( PixelIndex inPixel, std::uint32_t inLabel );
    void CountVisits( std::uint64_t inCount = 1 );

    PixelIndex GetIndex( std::uint32_t inRow, std::uint32_t inColumn ) const
    {
        return static_cast<PixelIndex>( ( std::size_t{ inRow } + 1 ) * itsStride + 1 + inColumn );
    }
};

template<class TIsDeep>
XLabelledObjects ObjectSplitter::Split( TIsDeep inIsDeep )
{
    itsLabels.resize( itsValues.size() );
    if ( !itsComponents.shapes.empty() )
        itsOrder.reserve(
            std::ranges::max( itsComponents.shapes, {}, &XObjectShape::pixelCount ).pixelCount );
    const XRunsByObject runs( itsComponents );
    for ( std::size_t i = 0; i < itsComponents.shapes.size(); ++i )
    {
        CountVisits( itsComponents.shapes[i].pixelCount );
        const auto component = runs.Get( i );
        const auto isDivided = FindMarkers( component, inIsDeep );
        Label( component, isDivided ? 0 : ++itsLabelCount );
        if ( isDivided )
            Flood();
    }
    itsValues = {};
    XLabelCollector collector;
    for ( std::uint32_t y = 0; y < itsHeight; ++y )
        collector.AddRow( { &itsLabels[GetIndex( y, 0 )], itsWidth } );
    return collector.TakeObjects();
}

/// True if the component has several markers.
template<class TIsDeep>
bool ObjectSplitter::FindMarkers( std::span<const XPixelRun> inRuns, TIsDeep inIsDeep )
{
    auto least = std::numeric_limits<std::uint32_t>::max(), most = std::uint32_t{ 0 };
    const auto compare = [&]( PixelIndex inPixel )
    {
        least = std::min( least, itsValues[inPixel] );
        most = std::max( most, itsValues[inPixel] );
    };
    VisitPixels( inRuns, compare );
    if ( !inIsDeep( most, least ) )
        return false;
    Sort( inRuns, least, most );
    itsMarkers = { itsOrder.front() };
    JoinParts( inIsDeep );
    return itsMarkers.size() > 1;
}

/// Puts the pixels into the order of their values, the highest first, and equal ones into raster order: into groups of
/// levels first, so few that their places take much less memory than the pixels.
void ObjectSplitter::Sort( std::span<const XPixelRun> inRuns, std::uint32_t inLeast, std::uint32_t inMost )
{
    constexpr std::size_t kManyGroups = 65536;
    std::size_t count = 0;
    for ( const auto& run : inRuns )
        count += run.end - run.first;
    const auto mostGroups = std::max( count / 16, std::min( count, kManyGroups ) );
    int shift = 0;
    while ( ( inMost - inLeast ) >> shift >= mostGroups )
        ++shift;
    const auto getGroup = [&]( PixelIndex inPixel ) { return ( inMost - itsValues[inPixel] ) >> shift; };
    const std::size_t groups = ( ( inMost - inLeast ) >> shift ) + 1;
    itsPlaces.assign( groups + 1, 0 );
    VisitPixels( inRuns, [&]( PixelIndex inPixel ) { ++itsPlaces[getGroup( inPixel ) + 1]; } );
    std::partial_sum( itsPlaces.begin(), itsPlaces.end(), itsPlaces.begin() );
    itsOrder.resize( count );
    VisitPixels(
        inRuns, [&]( PixelIndex inPixel ) { itsOrder[itsPlaces[getGroup( inPixel )]++] = inPixel; } );
    if ( shift == 0 )
        return;
    for ( std::size_t group = 0, first = 0; group < groups; first = itsPlaces[group++] )
        std::sort(
            &itsOrder[first], &itsOrder[first] + ( itsPlaces[group] - first ),
            [&]( PixelIndex inOne, PixelIndex inOther ) { return IsHigher( inOne, inOther ); } );
}

template<class TIsDeep>
void ObjectSplitter::JoinParts( TIsDeep inIsDeep )
{
    for ( const auto pixel : itsOrder )
    {
        CountVisits();
        auto maximum = itsLabels[pixel] = pixel;
        for ( const auto offset : itsNeighbours )
        {
            const auto neighbour = GetNeighbour( pixel, offset );
            if ( itsLabels[neighbour] == 0 )
                continue;
            auto other = FindMaximum( neighbour );
            if ( other == maximum )
                continue;
            if ( IsHigher( other, maximum ) )
                std::swap( other, maximum );
            if ( inIsDeep( itsValues[other], itsValues[pixel] ) )
                itsMarkers.push_back( other );
            itsLabels[other] = maximum;
        }
    }
}

PixelIndex ObjectSplitter::FindMaximum( PixelIndex inPixel )
{
    while ( itsLabels[inPixel] != inPixel )
        inPixel = itsLabels[inPixel] = itsLabels[itsLabels[inPixel]];
    return inPixel;
}

bool ObjectSplitter::IsHigher( PixelIndex inOne, PixelIndex inOther ) const
{
    return itsValues[inOne] > itsValues[inOther] ||
        ( itsValues[inOne] == itsValues[inOther] && inOne < inOther );
}

void ObjectSplitter::Label( std::span<const XPixelRun> inRuns, std::uint32_t inLabel )
{
    for ( const auto& run : inRuns )
        std::fill_n( &itsLabels[GetIndex( run.row, run.first )], run.end - run.first, inLabel );
}

/// Floods the component from its markers. The order is not needed any more: its places become those of the queue. The last
/// place of a level has the number of the next free one until it is taken itself, and values become last places.
void ObjectSplitter::Flood()
{
    const auto count = itsOrder.size();
    std::uint32_t last = 0, previous = 0;
    for ( auto i = static_cast<std::uint32_t>( count ); i-- > 0; )
    {
        auto& value = itsValues[itsOrder[i]];
        if ( value != previous )
        {
            if ( last > i )
                itsOrder[last] = i + 1;
            last = i;
        }
        previous = std::exchange( value, last + 1 );
    }
    itsOrder[last] = 0;
    itsQueue.Reserve( count );
    std::ranges::sort( itsMarkers );
    for ( const auto marker : itsMarkers )
        Reach( marker, ++itsLabelCount );
    while ( !itsQueue.IsEmpty() )
    {
        CountVisits();
        const auto pixel = itsOrder[itsQueue.TakeLeast()];
        for ( const auto offset : itsNeighbours )
            if ( const auto neighbour = GetNeighbour( pixel, offset );
                 itsValues[neighbour] != 0 && itsLabels[neighbour] == 0 )
                Reach( neighbour, itsLabels[pixel] );
    }
}

void ObjectSplitter::Reach( PixelIndex inPixel, std::uint32_t inLabel )
{
    itsLabels[inPixel] = inLabel;
    auto& free = itsOrder[itsValues[inPixel] - 1];
    const auto place = free++;
    itsOrder[place] = inPixel;
    itsQueue.Add( place );
}

void ObjectSplitter::CountVisits( std::uint64_t inCount )
{
    itsVisited += inCount;
    if ( itsVisited < kPixelsAtOnce )
        return;
    itsVisited = 0;
    itsProgress.YieldAndCheckAbort();
}
} // namespace

XLabelledObjects XSplitByDistance(
    const XLabelledObjects& inComponents, const WImageFormat& inPage, XConnectivity inConnectivity,
    double inDepth )
{
    if ( !( inDepth >= 0 ) )
        XThrow( kErrorBadParameters );
    XProgress progress( 2, XProgress::kProgressSteps );
    ObjectSplitter splitter( inComponents, inPage, inConnectivity, progress );
    XGetSquaredDistances( inComponents, inPage, splitter.GetStride(), splitter.GetValues() );
    progress.Increment();
    const auto isDeep = [&]( double inMaximum, double inPass )
    { return inMaximum > inPass && std::sqrt( inMaximum ) - std::sqrt( inPass ) >= inDepth; };
    return splitter.Split( isDeep );
}

XLabelledObjects XSplitByIntensity(
    const XLabelledObjects& inComponents, const WImagePage& inPage, XConnectivity inConnectivity )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    ObjectSplitter splitter( inComponents, inPage, inConnectivity, progress );
    const auto addRun = [&]( const XPixelRun& inRun )
    {
        const auto* const samples = inPage.GetSamples<float>() + std::size_t{ inRun.row } * inPage.width;
        auto* const values = splitter.GetValues() + inRun.row * splitter.GetStride();
        for ( auto x = inRun.first; x < inRun.end; ++x )
        {
            constexpr std::uint32_t kSign = 0x80000000;
            const auto bits = std::bit_cast<std::uint32_t>( samples[x] + 0.0f ); // -0 becomes 0
            values[x] = bits & kSign ? ~bits : bits | kSign;
        }
    };
    XForEachObjectRun( inComponents, addRun );
    progress.Increment();
    return splitter.Split( []( std::uint32_t inMaximum, std::uint32_t inPass )
                           { return inMaximum > inPass; } );
}
