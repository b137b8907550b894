#include "OverlaySketch.h"

#include "GreyPicture.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr std::uint32_t kMostSide = 5000; // A picture of more pixels is more than is looked at.

// Colours that colour-blind readers tell apart (Okabe and Ito).
constexpr WColour kOuterColour{ 0xF0, 0xE4, 0x42 };
constexpr WColour kInnerColour{ 0x56, 0xB4, 0xE9 };
} // namespace

void OverlaySketch::SetNumbers( std::uint64_t inFirst )
{
    for ( auto& each : objects )
    {
        each.firstNumber = inFirst;
        inFirst += each.found.shapes.size();
    }
}

OverlaySketch SketchOverlay( const WImagePage& inPage, std::uint32_t inChannel, PageObjects inObjects )
{
    OverlaySketch sketch;
    sketch.reduction = ( std::max( inPage.width, inPage.height ) - 1 ) / kMostSide + 1;
    sketch.picture = MakeGreyPicture( inPage, inChannel, sketch.reduction );
    sketch.objects.push_back( { std::move( inObjects.outer ), kOuterColour } );
    sketch.objects.push_back( { std::move( inObjects.inner.found ), kInnerColour } );
    sketch.SetNumbers( 1 );
    return sketch;
}
