#include "Threshold.h"

#include "Pieces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace
{
using UInt128 = unsigned __int128;

/// A whole number of 320 bits, the lowest word last so that the comparison is lexicographic.
using Wide = std::array<std::uint64_t, 5>;

Wide Multiply( const Wide& inNumber, std::uint64_t inFactor )
{
    Wide product{};
    UInt128 carry = 0;
    for ( auto i = inNumber.size(); i-- > 0; carry >>= 64 )
    {
        carry += UInt128{ inNumber[i] } * inFactor;
        product[i] = static_cast<std::uint64_t>( carry );
    }
    return product;
}

Wide Multiply( const Wide& inNumber, UInt128 inFactor )
{
    const auto low = Multiply( inNumber, static_cast<std::uint64_t>( inFactor ) );
    const auto high = Multiply( inNumber, static_cast<std::uint64_t>( inFactor >> 64 ) );
    Wide product{};
    UInt128 carry = 0;
    for ( auto i = product.size(); i-- > 0; carry >>= 64 )
    {
        carry += UInt128{ low[i] } + ( i + 1 < high.size() ? high[i + 1] : 0 );
        product[i] = static_cast<std::uint64_t>( carry );
    }
    return product;
}

/// The variance between the samples up to a level and those above, but for a common factor: distance^2 / ( below *
/// above ), where the distance is that of the means times both counts.
struct Variance
{
    UInt128 distance = 0;
    std::uint64_t below = 1;
    std::uint64_t above = 1;

    double GetValue() const
    {
        const auto root = static_cast<double>( distance );
        return root * root / ( static_cast<double>( below ) * static_cast<double>( above ) );
    }

    /// Exact, because symmetric images have ties that rounding would decide by chance.
    bool IsGreaterThan( const Variance& inOther ) const
    {
        const auto value = GetValue(), other = inOther.GetValue();
        if ( std::abs( value - other ) > 1e-9 * other )
            return value > other;
        return MultiplyOut( inOther ) > inOther.MultiplyOut( *this );
    }

private:
    Wide MultiplyOut( const Variance& inOther ) const
    {
        const Wide square = Multiply( Multiply( Wide{ 0, 0, 0, 0, 1 }, distance ), distance );
        return Multiply( square, UInt128{ inOther.below } * inOther.above );
    }
};

/// The bin up to which the lower class goes.
std::size_t FindBestBin( const std::vector<std::uint64_t>& inCounts )
{
    std::uint64_t total = 0, totalSum = 0;
    for ( std::size_t bin = 0; bin < inCounts.size(); ++bin )
    {
        total += inCounts[bin];
        totalSum += inCounts[bin] * bin;
    }

    Variance best;
    std::size_t bestBin = 0;
    std::uint64_t below = 0, sumBelow = 0;
    for ( std::size_t bin = 0; bin + 1 < inCounts.size(); ++bin )
    {
        if ( inCounts[bin] == 0 )
            continue; // The same classes as for the bin before.
        below += inCounts[bin];
        sumBelow += inCounts[bin] * bin;
        const Variance variance{
            UInt128{ totalSum } * below - UInt128{ sumBelow } * total, below, total - below };
        if ( variance.IsGreaterThan( best ) )
        {
            best = variance;
            bestBin = bin;
        }
    }
    return bestBin;
}

template<class T>
double GetWholeThreshold( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    std::vector<std::uint64_t> counts( std::numeric_limits<T>::max() + 1u );
    ForEachPiece(
        inPixels, kPixelsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                ++counts[inSamples[i * inStride]];
        } );

    const auto isUsed = []( std::uint64_t inCount ) { return inCount != 0; };
    const auto first = std::ranges::find_if( counts, isUsed );
    const auto last = std::find_if( counts.rbegin(), counts.rend(), isUsed ).base();
    const auto lowest = static_cast<double>( first - counts.begin() );
    return lowest + static_cast<double>( FindBestBin( { first, last } ) );
}

template<class Work>
void ForEachFinite( const float* inSamples, std::uint64_t inPixels, std::uint32_t inStride, Work inWork )
{
    ForEachPiece(
        inPixels, kPixelsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                if ( const auto value = inSamples[i * inStride]; std::isfinite( value ) )
                    inWork( value );
        } );
}

/// 257 edges of equal bins, in the precision of the samples.
std::vector<float> GetEdges( float inLowest, float inHighest )
{
    constexpr int kBins = 256;
    std::vector<float> edges( kBins + 1 );
    const float range = inHighest - inLowest;
    const auto step = ( std::isfinite( range ) ? range : double{ inHighest } - inLowest ) / kBins;
    for ( int i = 0; i < kBins; ++i )
        edges[static_cast<std::size_t>( i )] = static_cast<float>( inLowest + i * step );
    edges.back() = inHighest;
    return edges;
}

/// The bin whose edges enclose the value; the last one takes its upper edge too.
std::size_t FindBin( const std::vector<float>& inEdges, double inBinsPerUnit, float inValue )
{
    const auto last = inEdges.size() - 2;
    auto bin =
        std::min( static_cast<std::size_t>( ( double{ inValue } - inEdges[0] ) * inBinsPerUnit ), last );
    while ( bin > 0 && inValue < inEdges[bin] )
        --bin;
    while ( bin < last && inValue >= inEdges[bin + 1] )
        ++bin;
    return bin;
}

double GetFloatThreshold( const float* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    auto lowest = std::numeric_limits<float>::infinity(), highest = -lowest;
    ForEachFinite(
        inSamples, inPixels, inStride,
        [&]( float inValue )
        {
            lowest = std::min( lowest, inValue );
            highest = std::max( highest, inValue );
        } );
    if ( !( lowest < highest ) )
        return lowest;

    const auto edges = GetEdges( lowest, highest );
    const auto bins = edges.size() - 1;
    const auto binsPerUnit = static_cast<double>( bins ) / ( double{ highest } - double{ lowest } );
    std::vector<std::uint64_t> counts( bins );
    ForEachFinite(
        inSamples, inPixels, inStride,
        [&]( float inValue ) { ++counts[FindBin( edges, binsPerUnit, inValue )]; } );

    const auto best = FindBestBin( counts );
    return static_cast<float>( ( double{ edges[best] } + double{ edges[best + 1] } ) / 2 );
}
} // namespace

double GetOtsuThreshold( const WImagePage& inPage, std::uint32_t inChannel )
{
    const auto pixels = std::uint64_t{ inPage.width } * inPage.height;
    switch ( inPage.type )
    {
    case WImagePage::kUInt8:
        return GetWholeThreshold( inPage.GetSamples<std::uint8_t>() + inChannel, pixels, inPage.channels );
    case WImagePage::kUInt16:
        return GetWholeThreshold( inPage.GetSamples<std::uint16_t>() + inChannel, pixels, inPage.channels );
    default:
        return GetFloatThreshold( inPage.GetSamples<float>() + inChannel, pixels, inPage.channels );
    }
}
