#include "Imaging/Filters/XChannelFilters.h"

#include "Imaging/Filters/XDiscMorphology.h"
#include "Imaging/Filters/XGaussianFilter.h"
#include "Imaging/Filters/XMedianFilter.h"
#include "Imaging/Pages/Internal/XChannelPage.h"
#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace
{
/// The page of one channel of `inChange( sample )`.
template<class T, class TChange>
WImagePage ChangeSamples( const WImagePage& inPage, const T* inSamples, TChange inChange )
{
    auto result = XMakeChannelPage( inPage, inPage.type );
    auto* const samples = result.GetSamples<T>();
    XForEachChunk(
        std::uint64_t{ inPage.width } * inPage.height, kPixelsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                samples[i] = inChange( inSamples[i * inPage.channels] );
        } );
    return result;
}

/// The channel of a float page with another sample for those that are not finite.
WImagePage ReplaceNonFinite( const WImagePage& inPage, std::uint32_t inChannel, bool inIsDark )
{
    const auto* samples = inPage.GetSamples<float>() + inChannel;
    const auto count = std::size_t{ inPage.width } * inPage.height;
    float replacement = 0;
    bool hasFinite = false;
    for ( std::size_t i = 0; i < count; ++i )
    {
        const auto sample = samples[i * inPage.channels];
        if ( !std::isfinite( sample ) ||
             ( hasFinite && ( inIsDark ? sample <= replacement : sample >= replacement ) ) )
            continue;
        replacement = sample;
        hasFinite = true;
    }
    return ChangeSamples(
        inPage, samples,
        [=]( float inSample ) { return std::isfinite( inSample ) ? inSample : replacement; } );
}
} // namespace

bool XChannelFilters::IsEmpty() const
{
    return flattenSigma == 0 && !isDark && medianRadius == 0 && smoothSigma == 0 && backgroundRadius == 0;
}

WImagePage
XFilterChannel( const WImagePage& inPage, std::uint32_t inChannel, const XChannelFilters& inFilters )
{
    XProgress progress( 5, XProgress::kProgressSteps );
    WImagePage result; // of the steps so far
    const auto* source = &inPage;
    auto channel = inChannel;
    const auto apply = [&]( bool inIsRequested, auto inFilter )
    {
        if ( inIsRequested )
        {
            auto filtered = inFilter();
            result = std::move( filtered );
            source = &result;
            channel = 0;
        }
        progress.Increment();
    };
    if ( XCountNonFinite( inPage, inChannel ) > 0 )
    {
        result = ReplaceNonFinite( inPage, inChannel, inFilters.isDark );
        source = &result;
        channel = 0;
    }
    apply(
        inFilters.flattenSigma > 0,
        [&] { return XFlattenChannel( *source, channel, inFilters.flattenSigma ); } );
    apply( inFilters.isDark, [&] { return XInvertChannel( *source, channel ); } );
    apply(
        inFilters.medianRadius > 0,
        [&] { return XFilterMedian( *source, channel, inFilters.medianRadius ); } );
    apply(
        inFilters.smoothSigma > 0,
        [&] { return XSmoothChannel( *source, channel, inFilters.smoothSigma ); } );
    apply(
        inFilters.backgroundRadius > 0,
        [&] { return XTopHatChannel( *source, channel, inFilters.backgroundRadius ); } );
    if ( source == &inPage )
        return XVisitSamples(
            inPage, inChannel,
            [&]( const auto* inSamples )
            { return ChangeSamples( inPage, inSamples, []( auto inSample ) { return inSample; } ); } );
    return result;
}

WImagePage XInvertChannel( const WImagePage& inPage, std::uint32_t inChannel )
{
    const auto invert = [&]<class T>( const T* inSamples )
    {
        constexpr T kMost = std::is_integral_v<T> ? std::numeric_limits<T>::max() : T{ 1 };
        return ChangeSamples(
            inPage, inSamples, []( T inSample ) { return static_cast<T>( kMost - inSample ); } );
    };
    return XVisitSamples( inPage, inChannel, invert );
}

std::uint64_t XCountNonFinite( const WImagePage& inPage, std::uint32_t inChannel )
{
    if ( inPage.type != WImageFormat::kFloat32 )
        return 0;
    const auto* samples = inPage.GetSamples<float>() + inChannel;
    const auto count = std::size_t{ inPage.width } * inPage.height;
    std::uint64_t nonFinite = 0;
    for ( std::size_t i = 0; i < count; ++i )
        nonFinite += !std::isfinite( samples[i * inPage.channels] );
    return nonFinite;
}
