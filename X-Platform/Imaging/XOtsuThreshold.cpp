#include "Imaging/XOtsuThreshold.h"

#include "Imaging/Internal/XPageSamples.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

// N. Otsu's method (1979): the level that maximises the variance between the two classes it separates,
// computed from the histogram in one pass with running sums. Of several best levels the first is taken. Whole
// samples are compared exactly in 320-bit integers when their floating-point values are too close to tell: in
// symmetric histograms ties are common, and rounding would decide them by chance.
//
// Integers have one bin for each value. Floats have 256 bins of equal width between the least and the
// greatest finite value, with the edges in the precision of the samples, and the threshold is the centre of a
// bin.

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

/// The between-class variance, except for a common factor: distance^2 / ( below * above ), where the distance
/// is that of the means times both counts.
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
        // Far beyond the rounding errors of the few operations in GetValue.
        if ( std::abs( value - other ) > 1e-9 * other )
            return value > other;
        // a / b > c / d as a * d > c * b, which needs no division.
        return MultiplyOut( inOther ) > inOther.MultiplyOut( *this );
    }

private:
    Wide MultiplyOut( const Variance& inOther ) const
    {
        const Wide square = Multiply( Multiply( Wide{ 0, 0, 0, 0, 1 }, distance ), distance );
        return Multiply( square, UInt128{ inOther.below } * inOther.above );
    }
};

/// A level and the samples that lie on it.
struct Level
{
    std::uint64_t level = 0;
    std::uint64_t count = 0;
};
using Levels = std::vector<Level>;

/// The highest level of the lower class. The levels ascend.
std::uint64_t FindBestLevel( const Levels& inLevels )
{
    std::uint64_t total = 0, totalSum = 0;
    for ( const auto& [level, count] : inLevels )
    {
        total += count;
        totalSum += count * level;
    }

    Variance best;
    auto bestLevel = inLevels.front().level;
    std::uint64_t below = 0, sumBelow = 0;
    for ( std::size_t i = 0; i + 1 < inLevels.size(); ++i )
    {
        const auto [level, count] = inLevels[i];
        below += count;
        sumBelow += count * level;
        const Variance variance{
            // Never negative: the mean of all samples is not below that of the lowest ones.
            UInt128{ totalSum } * below - UInt128{ sumBelow } * total, below, total - below };
        if ( variance.IsGreaterThan( best ) )
        {
            best = variance;
            bestLevel = level;
        }
    }
    return bestLevel;
}

/// Levels without samples are left out: they part the same classes as the level before.
Levels ListLevels( const std::vector<std::uint64_t>& inCounts )
{
    Levels levels;
    levels.reserve( inCounts.size() - static_cast<std::size_t>( std::ranges::count( inCounts, 0u ) ) );
    for ( std::size_t level = 0; level < inCounts.size(); ++level )
        if ( inCounts[level] != 0 )
            levels.push_back( { level, inCounts[level] } );
    return levels;
}

template<class T>
Levels CountLevels( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    std::vector<std::uint64_t> counts( std::numeric_limits<T>::max() + 1u );
    XForEachChunk(
        inPixels, kPixelsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                ++counts[inSamples[i * inStride]];
        } );
    return ListLevels( counts );
}

/// The same of samples that are few beside the levels that there may be.
template<class T>
Levels SortLevels( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    std::vector<T> samples( inPixels );
    for ( std::uint64_t i = 0; i < inPixels; ++i )
        samples[i] = inSamples[i * inStride];
    std::ranges::sort( samples );

    Levels levels;
    for ( const auto sample : samples )
    {
        if ( levels.empty() || levels.back().level != sample )
            levels.push_back( { sample, 0 } );
        ++levels.back().count;
    }
    return levels;
}

template<class T>
double GetThreshold( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    // Small objects: clearing and scanning 65,536 counters would take longer than sorting the samples.
    const auto isFew = inPixels < std::numeric_limits<T>::max() / 16;
    const auto levels =
        isFew ? SortLevels( inSamples, inPixels, inStride ) : CountLevels( inSamples, inPixels, inStride );
    return static_cast<double>( FindBestLevel( levels ) );
}

template<class TWork>
void ForEachFinite( const float* inSamples, std::uint64_t inPixels, std::uint32_t inStride, TWork inWork )
{
    XForEachChunk(
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
    // The range of floats may exceed the largest float.
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
    // Computed and then corrected, as the division may round across an edge.
    auto bin =
        std::min( static_cast<std::size_t>( ( double{ inValue } - inEdges[0] ) * inBinsPerUnit ), last );
    while ( bin > 0 && inValue < inEdges[bin] )
        --bin;
    while ( bin < last && inValue >= inEdges[bin + 1] )
        ++bin;
    return bin;
}

double GetThreshold( const float* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
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

    const auto best = FindBestLevel( ListLevels( counts ) );
    // Rounded to the precision of the samples, which are compared with it.
    return static_cast<float>( ( double{ edges[best] } + double{ edges[best + 1] } ) / 2 );
}
} // namespace

double XGetOtsuThreshold( const WImagePage& inPage, std::uint32_t inChannel )
{
    const auto pixels = std::uint64_t{ inPage.width } * inPage.height;
    return XVisitSamples(
        inPage, inChannel,
        [&]( const auto* inSamples ) { return GetThreshold( inSamples, pixels, inPage.channels ); } );
}

double XGetOtsuThreshold( std::span<const std::uint8_t> inSamples )
{
    return GetThreshold( inSamples.data(), inSamples.size(), 1 );
}

double XGetOtsuThreshold( std::span<const std::uint16_t> inSamples )
{
    return GetThreshold( inSamples.data(), inSamples.size(), 1 );
}

double XGetOtsuThreshold( std::span<const float> inSamples )
{
    return GetThreshold( inSamples.data(), inSamples.size(), 1 );
}
