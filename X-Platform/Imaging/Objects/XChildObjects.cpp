#include "Imaging/Objects/XChildObjects.h"

#include "Imaging/Objects/Internal/XObjectRuns.h"
#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Imaging/Thresholds/Internal/XThresholdLevel.h"
#include "Imaging/Thresholds/XOtsuThreshold.h"
#include "Imaging/Thresholds/XPixelMask.h"

// All objects of a page at once, in passes over their runs: a counting sort brings the samples of each object
// together for its threshold, a second mask marks the pixels above it, and one search finds the components of
// that mask inside each object. Their runs end where their object ends, so the parent of a component is found
// by advancing through the runs of both in raster order.

namespace
{
/// The samples of one channel, by runs of pixels.
template<class T>
struct Channel
{
    const T* samples; // that of the first pixel
    std::size_t width;
    std::size_t stride;

    /// Calls `inWork( sample, column )` for the pixels of a run.
    template<class TWork>
    void VisitRun( const XPixelRun& inRun, TWork inWork ) const
    {
        const auto* row = samples + inRun.row * width * stride;
        for ( auto x = inRun.first; x < inRun.end; ++x )
            inWork( row[x * stride], x );
    }
};

/// Otsu's threshold of the pixels of each object.
template<class T>
std::vector<double> GetThresholds( const Channel<T>& inChannel, const XLabelledObjects& inObjects )
{
    // The samples of each object side by side.
    std::vector<std::size_t> ends{ 0 };
    for ( const auto& shape : inObjects.shapes )
        ends.push_back( ends.back() + shape.pixelCount );
    std::vector<T> samples( ends.back() );
    ends.pop_back(); // Until they are filled, the samples of an object end where they start.
    XForEachObjectRun(
        inObjects,
        [&]( const XPixelRun& inRun ) {
            inChannel.VisitRun(
                inRun, [&]( T inSample, auto ) { samples[ends[inRun.object]++] = inSample; } );
        } );

    std::vector<double> thresholds;
    std::size_t first = 0;
    for ( const auto end : ends )
    {
        thresholds.push_back( XGetOtsuThreshold( std::span<const T>( &samples[first], end - first ) ) );
        first = end;
    }
    return thresholds;
}

template<class T>
void MarkInside(
    const Channel<T>& inChannel, const XLabelledObjects& inObjects, const std::vector<double>& inThresholds,
    XPixelMask& ioMask )
{
    XForEachObjectRun(
        inObjects,
        [&]( const XPixelRun& inRun )
        {
            const XThresholdLevel<T> level( inThresholds[inRun.object] );
            const auto bits = ioMask.GetRow( inRun.row );
            inChannel.VisitRun(
                inRun,
                [&]( T inSample, std::uint32_t inX )
                {
                    bits[inX / XPixelMask::kWordBits] |= std::uint64_t{ level.IsAboveThreshold( inSample ) }
                        << inX % XPixelMask::kWordBits;
                } );
        } );
}

/// The pixels of objects that lie above the threshold of their object.
XPixelMask
MarkInside( const WImagePage& inPage, const XLabelledObjects& inObjects, const XObjectSettings& inSettings )
{
    XPixelMask mask( inPage.width, inPage.height );
    const auto mark = [&]<class T>( const T* inSamples )
    {
        const Channel<T> channel{ inSamples, inPage.width, inPage.channels };
        const auto thresholds = inSettings.threshold
            ? std::vector( inObjects.shapes.size(), *inSettings.threshold )
            : GetThresholds( channel, inObjects );
        MarkInside( channel, inObjects, thresholds, mask );
    };
    XVisitSamples( inPage, inSettings.channel, mark );
    return mask;
}

/// Each run of a child object is part of one run of its parent.
std::vector<std::uint32_t> FindParents( const XLabelledObjects& inChildren, const XLabelledObjects& inOuter )
{
    std::vector<std::uint32_t> parents( inChildren.shapes.size() );
    auto outer = inOuter.runs.begin();
    XForEachObjectRun(
        inChildren,
        [&]( const XPixelRun& inRun )
        {
            while ( outer->row < inRun.row || ( outer->row == inRun.row && outer->end <= inRun.first ) )
                ++outer;
            parents[inRun.object] = outer->object;
        } );
    return parents;
}
} // namespace

XChildObjects XFindChildObjects(
    const WImagePage& inPage, const XLabelledObjects& inObjects, const XObjectSettings& inSettings,
    XConnectivity inConnectivity )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto mask = MarkInside( inPage, inObjects, inSettings );
    progress.Increment();
    XChildObjects children;
    children.objects = XFindComponentsInside( mask, inObjects, inConnectivity, inSettings.leastPixels );
    children.parents = FindParents( children.objects, inObjects );
    return children;
}
