#include "Imaging/Pages/XGreyscalePreview.h"

#include "Jobs/XChunks.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

// Contrast is stretched between the quantiles 0.001 and 0.999 of some evenly spread samples, so that a few
// hot pixels do not make everything else black. Each sample is converted to grey before the mean of a block
// is taken: averaging first would mix a saturated pixel with its neighbours beyond white.

namespace
{
struct GreyRange
{
    double low;
    double high;

    std::uint32_t GetLevel( double inSample ) const
    {
        constexpr double kWhite = 255;
        if ( !( inSample > low ) ) // NaN is not.
            return inSample == high ? 128 : 0;
        return inSample >= high
            ? 255
            : static_cast<std::uint32_t>( ( inSample - low ) / ( high - low ) * kWhite + 0.5 );
    }
};

/// Some of the channel's finite samples, spread evenly: a stretch needs no more.
template<class T>
std::vector<double> PickSamples( const WImagePage& inPage, std::uint32_t inChannel )
{
    constexpr std::uint64_t kMost = 1 << 18;
    const auto pixels = std::uint64_t{ inPage.width } * inPage.height;
    const auto step = pixels / kMost + 1;
    const auto* const samples = inPage.GetSamples<T>() + inChannel;
    std::vector<double> picked;
    for ( std::uint64_t pixel = 0; pixel < pixels; pixel += step )
        if ( const double sample = samples[pixel * inPage.channels]; std::isfinite( sample ) )
            picked.push_back( sample );
    return picked;
}

GreyRange FindRange( std::vector<double> inSamples )
{
    constexpr double kShare = 0.001;
    if ( inSamples.empty() )
        return { 0, 0 };
    const auto get = [&]( double inPlace )
    {
        const auto found = inSamples.begin() + static_cast<std::ptrdiff_t>( inPlace );
        std::nth_element( inSamples.begin(), found, inSamples.end() );
        return *found;
    };
    const auto last = static_cast<double>( inSamples.size() - 1 );
    const GreyRange range{ get( last * kShare ), get( std::ceil( last * ( 1 - kShare ) ) ) };
    if ( range.low < range.high )
        return range;
    // All but a few samples are one value: then those few are what can be seen.
    const auto [least, greatest] = std::ranges::minmax( inSamples );
    return { least, greatest };
}

template<class T>
WGreyPicture MakePicture( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inReduction )
{
    const auto range = FindRange( PickSamples<T>( inPage, inChannel ) );
    WGreyPicture picture;
    picture.width = ( inPage.width + inReduction - 1 ) / inReduction;
    picture.height = ( inPage.height + inReduction - 1 ) / inReduction;
    std::vector<std::uint64_t> sums( picture.width );
    const auto addRow = [&]( std::uint32_t inRow )
    {
        const auto* sample =
            inPage.GetSamples<T>() + std::size_t{ inRow } * inPage.width * inPage.channels + inChannel;
        for ( std::uint32_t x = 0; x < inPage.width; ++x, sample += inPage.channels )
            sums[x / inReduction] += range.GetLevel( *sample );
    };
    XForEachRow(
        picture.height, inPage.width * inReduction,
        [&]( std::uint32_t inRow )
        {
            const auto first = inRow * inReduction, end = std::min( first + inReduction, inPage.height );
            std::ranges::fill( sums, 0u );
            for ( auto row = first; row < end; ++row )
                addRow( row );
            for ( std::uint32_t x = 0; x < picture.width; ++x )
            {
                const auto columns = std::min( inReduction, inPage.width - x * inReduction );
                picture.levels.push_back(
                    static_cast<std::uint8_t>( sums[x] / ( columns * ( end - first ) ) ) );
            }
        } );
    return picture;
}
} // namespace

WGreyPicture
XMakeGreyscalePreview( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inReduction )
{
    return VisitSampleType(
        inPage.type,
        [&]<class T>( std::type_identity<T> ) { return MakePicture<T>( inPage, inChannel, inReduction ); } );
}

WGreyPicture XEnlargePicture( const WGreyPicture& inPicture, std::uint32_t inFactor )
{
    WGreyPicture picture{ inPicture.width * inFactor, inPicture.height * inFactor, {} };
    picture.levels.resize( std::size_t{ picture.width } * picture.height );
    auto* row = picture.levels.data();
    const auto* level = inPicture.levels.data();
    for ( std::uint32_t y = 0; y < inPicture.height; ++y )
    {
        for ( auto* pixel = row; pixel < row + picture.width; pixel += inFactor )
            std::memset( pixel, *level++, inFactor );
        for ( std::uint32_t copy = 1; copy < inFactor; ++copy )
            std::memcpy( row + std::size_t{ copy } * picture.width, row, picture.width );
        row += std::size_t{ inFactor } * picture.width;
    }
    return picture;
}
