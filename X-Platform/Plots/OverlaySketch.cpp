#include "Plots/OverlaySketch.h"

#include "Imaging/GreyscalePreview.h"
#include "Imaging/Internal/ObjectRuns.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr std::uint32_t kMostSide = 5000; // Largest useful preview side, in pixels.

// Colours that colour-blind readers tell apart (Okabe and Ito).
constexpr WColour kOuterColour{ 0xF0, 0xE4, 0x42 };
constexpr WColour kInnerColour{ 0x56, 0xB4, 0xE9 };

/// Shows another picture of the same size where there are objects.
void CopyInside(
    const WGreyPicture& inOther, std::uint32_t inReduction, const LabelledObjects& inObjects,
    WGreyPicture& ioPicture )
{
    ForEachObjectRun(
        inObjects,
        [&]( const PixelRun& inRun )
        {
            const auto row = std::size_t{ inRun.row / inReduction } * ioPicture.width;
            const auto first = row + inRun.first / inReduction;
            const auto end = row + ( inRun.end - 1 ) / inReduction + 1;
            std::copy(
                &inOther.levels[first], &inOther.levels[first] + ( end - first ), &ioPicture.levels[first] );
        } );
}
} // namespace

void OverlaySketch::SetNumbers( std::uint64_t inFirst )
{
    for ( auto& each : objects )
    {
        each.firstNumber = inFirst;
        inFirst += each.found.shapes.size();
    }
}

OverlaySketch
SketchOverlay( const WImagePage& inPage, const MeasureSettings& inSettings, PageObjects inObjects )
{
    const auto channel = inSettings.objects.channel;
    OverlaySketch sketch;
    sketch.reduction = ( std::max( inPage.width, inPage.height ) - 1 ) / kMostSide + 1;
    sketch.picture = MakeGreyscalePreview( inPage, channel, sketch.reduction );
    if ( inSettings.inside && inSettings.inside->channel != channel )
        CopyInside(
            MakeGreyscalePreview( inPage, inSettings.inside->channel, sketch.reduction ), sketch.reduction,
            inObjects.outer, sketch.picture );
    sketch.objects.push_back( { std::move( inObjects.outer ), kOuterColour } );
    sketch.objects.push_back( { std::move( inObjects.inner.found ), kInnerColour } );
    sketch.SetNumbers( 1 );
    return sketch;
}
