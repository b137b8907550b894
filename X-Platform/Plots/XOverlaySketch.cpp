#include "Plots/XOverlaySketch.h"

#include "Imaging/Objects/Internal/XObjectRuns.h"
#include "Imaging/Pages/XGreyscalePreview.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr std::uint32_t kMostSide = 5000; // Largest useful preview side, in pixels.

// Colours that colour-blind readers tell apart (Okabe and Ito).
constexpr WColour kOuterColour{ 0xF0, 0xE4, 0x42 };
constexpr WColour kChildColour{ 0x56, 0xB4, 0xE9 };

/// Shows another picture of the same size where there are objects.
void CopyInside(
    const WGreyPicture& inOther, std::uint32_t inReduction, const XLabelledObjects& inObjects,
    WGreyPicture& ioPicture )
{
    XForEachObjectRun(
        inObjects,
        [&]( const XPixelRun& inRun )
        {
            const auto row = std::size_t{ inRun.row / inReduction } * ioPicture.width;
            const auto first = row + inRun.first / inReduction;
            const auto end = row + ( inRun.end - 1 ) / inReduction + 1;
            std::copy(
                &inOther.levels[first], &inOther.levels[first] + ( end - first ), &ioPicture.levels[first] );
        } );
}
} // namespace

void XOverlaySketch::SetNumbers( std::uint64_t inFirst )
{
    for ( auto& each : objects )
    {
        each.firstNumber = inFirst;
        inFirst += each.objects.shapes.size();
    }
}

XOverlaySketch
XSketchOverlay( const WImagePage& inPage, const XMeasureSettings& inSettings, XPageObjects inObjects )
{
    const auto channel = inSettings.objects.channel;
    XOverlaySketch sketch;
    sketch.width = inPage.width;
    sketch.height = inPage.height;
    sketch.reduction = ( std::max( inPage.width, inPage.height ) - 1 ) / kMostSide + 1;
    sketch.picture = XMakeGreyscalePreview( inPage, channel, sketch.reduction );
    if ( inSettings.children && inSettings.children->channel != channel )
        CopyInside(
            XMakeGreyscalePreview( inPage, inSettings.children->channel, sketch.reduction ), sketch.reduction,
            inObjects.outer, sketch.picture );
    sketch.objects.push_back( { std::move( inObjects.outer ), kOuterColour } );
    sketch.objects.push_back( { std::move( inObjects.children.objects ), kChildColour } );
    sketch.SetNumbers( 1 );
    return sketch;
}
