#include "Imaging/Objects/XSegmentation.h"

#include "Imaging/Filters/XGaussianFilter.h"
#include "Imaging/Thresholds/XLocalThreshold.h"
#include "Jobs/XProgress.h"

#include <cmath>
#include <limits>
#include <utility>

namespace
{
/// Removes the pixels whose sample is infinite or NaN.
void RemoveNonFinite( const WImagePage& inPage, std::uint32_t inChannel, XPixelMask& ioMask )
{
    constexpr auto kBits = XPixelMask::kWordBits;
    const auto* samples = inPage.GetSamples<float>() + inChannel;
    for ( std::uint32_t y = 0; y < inPage.height; ++y )
    {
        const auto bits = ioMask.GetRow( y );
        for ( std::uint32_t x = 0; x < inPage.width; ++x, samples += inPage.channels )
            if ( !std::isfinite( *samples ) )
                bits[x / kBits] &= ~( std::uint64_t{ 1 } << x % kBits );
    }
}

/// Marks pixels of a channel that has been filtered. `inHalfRange` is that of the image.
XSegmentation Mark(
    const WImagePage& inPage, std::uint32_t inChannel, const XSegmentationSettings& inSettings,
    double inHalfRange )
{
    constexpr auto kNaN = std::numeric_limits<double>::quiet_NaN();
    const auto& automatic = inSettings.automatic;
    if ( !inSettings.threshold && automatic.IsLocal() )
        return { XMarkLocally( inPage, inChannel, automatic, inHalfRange ), kNaN, 0 };
    const auto threshold =
        inSettings.threshold ? *inSettings.threshold : XGetAutomaticThreshold( inPage, inChannel, automatic );
    return { XMarkPixels( inPage, inChannel, threshold ), threshold, 0 };
}
} // namespace

XSegmentation
XSegmentPage( const WImagePage& inPage, const XSegmentationSettings& inSettings, const XPixelMask* inGiven )
{
    XProgress progress( 3, XProgress::kProgressSteps );
    const auto channel = inSettings.channel;
    const auto halfRange = XGetHalfRange( inPage.type );
    const auto nonFinite = XCountNonFinite( inPage, channel );
    const auto isLocal = !inSettings.threshold && inSettings.automatic.IsLocal() && !inGiven;
    const auto isSplitByIntensity = inSettings.split.method == XSplitMethod::kIntensity;
    const auto needsFilter = ( !inGiven || isSplitByIntensity ) &&
        ( !inSettings.filters.IsEmpty() || ( nonFinite > 0 && ( isLocal || isSplitByIntensity ) ) );
    const auto filtered = needsFilter ? XFilterChannel( inPage, channel, inSettings.filters ) : WImagePage();
    progress.Increment();
    auto result = inGiven ? XSegmentation{ *inGiven, std::numeric_limits<double>::quiet_NaN() }
        : needsFilter     ? Mark( filtered, 0, inSettings, halfRange )
                          : Mark( inPage, channel, inSettings, halfRange );
    result.nonFinite = nonFinite;
    if ( isSplitByIntensity )
        result.splitSamples = XSmoothChannel(
            needsFilter ? filtered : inPage, needsFilter ? 0 : channel, inSettings.split.sigma );
    if ( nonFinite > 0 )
        RemoveNonFinite( inPage, channel, result.mask );
    progress.Increment();
    if ( inSettings.cleaning.IsEmpty() )
        return result;
    result.mask = XCleanMask( std::move( result.mask ), inSettings.cleaning );
    if ( nonFinite > 0 ) // They may have been filled.
        RemoveNonFinite( inPage, channel, result.mask );
    return result;
}

XLabelledObjects XSplitComponents(
    XLabelledObjects inComponents, const XSegmentation& inSegmentation, const XSplitSettings& inSettings,
    XConnectivity inConnectivity )
{
    if ( inSettings.method == XSplitMethod::kIntensity )
        return XSplitByIntensity( inComponents, inSegmentation.splitSamples, inConnectivity );
    if ( inSettings.method == XSplitMethod::kNone )
        return inComponents;
    WImageFormat page;
    page.width = inSegmentation.mask.GetWidth();
    page.height = inSegmentation.mask.GetHeight();
    return XSplitByDistance( inComponents, page, inConnectivity, inSettings.depth );
}
