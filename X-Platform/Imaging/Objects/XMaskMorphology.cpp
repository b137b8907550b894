#include "Imaging/Objects/XMaskMorphology.h"

#include "Imaging/Filters/XDiscMorphology.h"
#include "Imaging/Objects/Internal/XObjectRuns.h"
#include "Imaging/Objects/XConnectedComponents.h"
#include "Jobs/XChunks.h"

#include <limits>
#include <utility>

// Erosions and dilations work on a page of bytes, which suits vector instructions. Holes are components of the
// complement, whose runs are few beside the pixels.

namespace
{
constexpr auto kMaskBits = XPixelMask::kWordBits;

/// A page of bytes: 1 for the pixels of the mask.
WImagePage MakePage( const XPixelMask& inMask )
{
    WImagePage page;
    page.width = inMask.GetWidth();
    page.height = inMask.GetHeight();
    page.channels = 1;
    page.Allocate( std::numeric_limits<std::uint64_t>::max() );
    XForEachRow(
        page.height, page.width,
        [&]( std::uint32_t inRow )
        {
            const auto bits = inMask.GetRow( inRow );
            auto* const samples = page.GetSamples<std::uint8_t>() + std::size_t{ inRow } * page.width;
            for ( std::uint32_t x = 0; x < page.width; ++x )
                samples[x] = bits[x / kMaskBits] >> x % kMaskBits & 1;
        } );
    return page;
}

/// The columns of a word that are inside the page.
std::uint64_t GetValidBits( std::uint32_t inWidth, std::size_t inWord )
{
    const auto rest = inWidth - inWord * kMaskBits;
    return rest < kMaskBits ? ( std::uint64_t{ 1 } << rest ) - 1 : ~std::uint64_t{ 0 };
}

XPixelMask Invert( const XPixelMask& inMask )
{
    XPixelMask inverted( inMask.GetWidth(), inMask.GetHeight() );
    for ( std::uint32_t y = 0; y < inMask.GetHeight(); ++y )
    {
        const auto from = inMask.GetRow( y );
        const auto to = inverted.GetRow( y );
        for ( std::size_t i = 0; i < from.size(); ++i )
            to[i] = ~from[i] & GetValidBits( inMask.GetWidth(), i );
    }
    return inverted;
}

void SetRun( const XPixelRun& inRun, XPixelMask& ioMask )
{
    const auto bits = ioMask.GetRow( inRun.row );
    for ( auto x = inRun.first; x < inRun.end; ++x )
        bits[x / kMaskBits] |= std::uint64_t{ 1 } << x % kMaskBits;
}
} // namespace

XPixelMask XCleanMask( XPixelMask inMask, const XMaskCleaning& inCleaning )
{
    XProgress progress( 3, XProgress::kProgressSteps );
    auto mask = std::move( inMask );
    if ( inCleaning.openRadius > 0 )
        mask = XOpenMask( mask, inCleaning.openRadius );
    progress.Increment();
    if ( inCleaning.closeRadius > 0 )
        mask = XCloseMask( mask, inCleaning.closeRadius );
    progress.Increment();
    if ( inCleaning.fillsHoles )
        XFillHoles( mask );
    return mask;
}

XPixelMask XOpenMask( const XPixelMask& inMask, std::uint32_t inRadius )
{
    return XMarkPixels(
        XDilateChannel( XErodeChannel( MakePage( inMask ), 0, inRadius ), 0, inRadius ), 0, 0 );
}

XPixelMask XCloseMask( const XPixelMask& inMask, std::uint32_t inRadius )
{
    return XMarkPixels(
        XErodeChannel( XDilateChannel( MakePage( inMask ), 0, inRadius ), 0, inRadius ), 0, 0 );
}

void XFillHoles( XPixelMask& ioMask )
{
    const auto background = XFindConnectedComponents( Invert( ioMask ), XConnectivity::kEdges );
    XForEachObjectRun(
        background,
        [&]( const XPixelRun& inRun )
        {
            if ( !background.shapes[inRun.object].TouchesBorder( ioMask.GetWidth(), ioMask.GetHeight() ) )
                SetRun( inRun, ioMask );
        } );
}
