#include "Imaging/Thresholds/XOtsuThreshold.h"

#include "Imaging/Thresholds/Internal/XHistogramThresholds.h"

#include <array>
#include <cmath>
#include <limits>
#include <vector>

// N. Otsu's method (1979): the level that maximises the variance between the two classes it separates,
// computed from the histogram in one pass with running sums. Of several best levels the first is taken. Whole
// samples are compared exactly in 320-bit integers when their floating-point values are too close to tell: in
// symmetric histograms ties are common, and rounding would decide them by chance.

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

using Levels = std::vector<XSampleHistogram::XLevel>;

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
} // namespace

double XGetOtsuThreshold( const XSampleHistogram& inHistogram )
{
    const auto& levels = inHistogram.GetLevels();
    return levels.empty() ? std::numeric_limits<double>::infinity()
                          : inHistogram.GetThreshold( FindBestLevel( levels ) );
}
double XGetOtsuThreshold( const WImagePage& inPage, std::uint32_t inChannel )
{
    return XGetOtsuThreshold( XSampleHistogram( inPage, inChannel ) );
}

double XGetOtsuThreshold( std::span<const std::uint8_t> inSamples )
{
    return XGetOtsuThreshold( XSampleHistogram( inSamples ) );
}

double XGetOtsuThreshold( std::span<const std::uint16_t> inSamples )
{
    return XGetOtsuThreshold( XSampleHistogram( inSamples ) );
}

double XGetOtsuThreshold( std::span<const float> inSamples )
{
    return XGetOtsuThreshold( XSampleHistogram( inSamples ) );
}
