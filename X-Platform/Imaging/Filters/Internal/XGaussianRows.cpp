#include "Imaging/Filters/Internal/XGaussianRows.h"

#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Imaging/Pages/Internal/XVectorLoops.h"

#include <algorithm>
#include <cmath>

// Two passes over a sliding window of rows: down the columns into a padded row, then along that row. Each
// output is its centre plus, from the outermost distance inwards, the sum of the two samples at that distance
// times their weight. Eight distances are added at a time, so that a sum stays in a register meanwhile.

namespace
{
constexpr double kTruncation = 4; // in sigmas
constexpr std::size_t kDistances = 8;
constexpr std::uint32_t kColumns = 512;

/// The row or column inside the page for one that may be outside.
std::uint32_t FindInside( std::int64_t inPlace, std::uint32_t inCount, XPageBorder inBorder )
{
    const std::int64_t count = inCount;
    if ( inBorder == XPageBorder::kNearest )
        return static_cast<std::uint32_t>( std::clamp<std::int64_t>( inPlace, 0, count - 1 ) );
    const auto place = ( inPlace % ( 2 * count ) + 2 * count ) % ( 2 * count );
    return static_cast<std::uint32_t>( std::min( place, 2 * count - 1 - place ) );
}

/// The weight of the centre, then those from the outermost distance inwards. Over both sides they add up to 1.
template<class TReal>
std::vector<TReal> MakeWeights( double inSigma )
{
    const auto reach = static_cast<std::uint32_t>( kTruncation * inSigma + 0.5 );
    std::vector<double> weights{ 1 };
    double sum = 1;
    for ( auto distance = reach; distance > 0; --distance )
    {
        weights.push_back( std::exp( -0.5 / ( inSigma * inSigma ) * ( double{ 1 } * distance * distance ) ) );
        sum += 2 * weights.back();
    }
    std::vector<TReal> rounded;
    for ( const auto weight : weights )
        rounded.push_back( static_cast<TReal>( weight / sum ) );
    return rounded;
}

template<class TReal, std::size_t kCount>
[[gnu::always_inline]] inline void AddDistances(
    const TReal* const* inBefore, const TReal* const* inAfter, const TReal* inWeights, std::uint32_t inFirst,
    std::uint32_t inCount, TReal* __restrict ioSums )
{
    const TReal *before[kCount], *after[kCount];
    TReal weights[kCount];
    for ( std::size_t i = 0; i < kCount; ++i )
    {
        before[i] = inBefore[i] + inFirst;
        after[i] = inAfter[i] + inFirst;
        weights[i] = inWeights[i];
    }
    ioSums += inFirst;
    for ( std::uint32_t x = 0; x < inCount; ++x )
    {
        auto sum = ioSums[x];
        for ( std::size_t i = 0; i < kCount; ++i )
            sum += ( before[i][x] + after[i][x] ) * weights[i];
        ioSums[x] = sum;
    }
}
} // namespace

template<class TReal>
XGaussianRows<TReal>::XGaussianRows(
    const WImagePage& inPage, std::uint32_t inChannel, double inSigma, XPageBorder inBorder )
    : itsPage( inPage ), itsChannel( inChannel ), itsBorder( inBorder ),
      itsWeights( MakeWeights<TReal>( inSigma ) ),
      itsReach( static_cast<std::uint32_t>( itsWeights.size() - 1 ) ),
      itsCapacity( std::min( 2 * itsReach + 1, inPage.height ) ),
      itsRows( std::size_t{ itsCapacity } * inPage.width ),
      itsPadded( std::size_t{ inPage.width } + 2 * std::size_t{ itsReach } ), itsResult( inPage.width ),
      itsBefore( itsReach ), itsAfter( itsReach )
{
}

template<class TReal>
const TReal* XGaussianRows<TReal>::FindRow( std::int64_t inRow ) const
{
    const auto row = FindInside( inRow, itsPage.height, itsBorder );
    return itsRows.data() + std::size_t{ row % itsCapacity } * itsPage.width;
}

template<class TReal>
void XGaussianRows<TReal>::LoadUpTo( std::uint32_t inRow )
{
    const auto load = [&]( const auto* inSamples )
    {
        const std::size_t stride = itsPage.channels;
        for ( ; itsLoaded <= inRow; ++itsLoaded )
        {
            const auto* samples = inSamples + std::size_t{ itsLoaded } * itsPage.width * stride;
            auto* row = itsRows.data() + std::size_t{ itsLoaded % itsCapacity } * itsPage.width;
            for ( std::uint32_t x = 0; x < itsPage.width; ++x )
                row[x] = static_cast<TReal>( samples[x * stride] );
        }
    };
    XVisitSamples( itsPage, itsChannel, load );
}

template<class TReal>
void XGaussianRows<TReal>::AddUp( const TReal* inCentre, TReal* outSums ) const
{
    const auto run = [&]() KORVALE_VECTOR_LOOP
    {
        // In pieces of rows, whose sums stay in the first-level cache.
        for ( std::uint32_t first = 0; first < itsPage.width; first += kColumns )
        {
            const auto count = std::min( kColumns, itsPage.width - first );
            for ( auto x = first; x < first + count; ++x )
                outSums[x] = inCentre[x] * itsWeights[0];
            const auto* weights = itsWeights.data() + 1;
            const auto *const *before = itsBefore.data(), *const *after = itsAfter.data();
            std::size_t i = 0;
            for ( ; i + kDistances <= itsReach; i += kDistances )
                AddDistances<TReal, kDistances>( before + i, after + i, weights + i, first, count, outSums );
            for ( ; i < itsReach; ++i )
                AddDistances<TReal, 1>( before + i, after + i, weights + i, first, count, outSums );
        }
    };
    XRunVectorLoop( run );
}

template<class TReal>
const TReal* XGaussianRows<TReal>::SmoothRow( std::uint32_t inRow )
{
    const std::int64_t row = inRow, reach = itsReach, last = std::int64_t{ itsPage.width } - 1;
    LoadUpTo( static_cast<std::uint32_t>( std::min<std::int64_t>( row + reach, itsPage.height - 1 ) ) );
    for ( std::uint32_t i = 0; i < itsReach; ++i )
    {
        itsBefore[i] = FindRow( row - reach + i );
        itsAfter[i] = FindRow( row + reach - i );
    }
    auto* const centre = itsPadded.data() + reach;
    AddUp( FindRow( row ), centre );

    for ( std::int64_t i = 1; i <= reach; ++i )
    {
        centre[-i] = centre[FindInside( -i, itsPage.width, itsBorder )];
        centre[last + i] = centre[FindInside( last + i, itsPage.width, itsBorder )];
    }
    for ( std::uint32_t i = 0; i < itsReach; ++i )
    {
        itsBefore[i] = centre - reach + i;
        itsAfter[i] = centre + reach - i;
    }
    AddUp( centre, itsResult.data() );
    return itsResult.data();
}

template class XGaussianRows<float>;
template class XGaussianRows<double>;
