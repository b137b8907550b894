#include "Imaging/Filters/XGaussianFilter.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Imaging/Filters/Internal/XGaussianRows.h"
#include "Imaging/Pages/Internal/XChannelPage.h"
#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <limits>

namespace
{
/// Calls `inWork( samples of the row in the page, smoothed row, row of the result )` for each row.
template<class TWork>
WImagePage SmoothRows( const WImagePage& inPage, std::uint32_t inChannel, double inSigma, TWork inWork )
{
    if ( !( inSigma > 0 && inSigma <= kXMostSigma ) )
        XThrow( kErrorBadParameters );
    auto result = XMakeChannelPage( inPage, WImageFormat::kFloat32 );
    XGaussianRows<float> rows( inPage, inChannel, inSigma, XPageBorder::kNearest );
    const auto smooth = [&]( const auto* inSamples )
    {
        XForEachRow(
            inPage.height, inPage.width,
            [&]( std::uint32_t inRow )
            {
                const auto first = std::size_t{ inRow } * inPage.width;
                inWork(
                    inSamples + first * inPage.channels, rows.SmoothRow( inRow ),
                    result.GetSamples<float>() + first );
            } );
    };
    XVisitSamples( inPage, inChannel, smooth );
    return result;
}
} // namespace

WImagePage XSmoothChannel( const WImagePage& inPage, std::uint32_t inChannel, double inSigma )
{
    return SmoothRows(
        inPage, inChannel, inSigma,
        [&]( const auto*, const float* inSmoothed, float* outRow )
        { std::copy_n( inSmoothed, inPage.width, outRow ); } );
}

WImagePage XFlattenChannel( const WImagePage& inPage, std::uint32_t inChannel, double inSigma )
{
    constexpr auto kMost = std::numeric_limits<float>::max();
    const auto divide = [&]( const auto* inSamples, const float* inSmoothed, float* outRow )
    {
        for ( std::uint32_t x = 0; x < inPage.width; ++x )
        {
            const auto sample = static_cast<float>( inSamples[std::size_t{ x } * inPage.channels] );
            outRow[x] = inSmoothed[x] == 0 ? 0 : std::clamp( sample / inSmoothed[x], -kMost, kMost );
        }
    };
    return SmoothRows( inPage, inChannel, inSigma, divide );
}
