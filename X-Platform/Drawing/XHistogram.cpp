#include "Drawing/XHistogram.h"

#include <algorithm>
#include <cmath>

// The width of bins by D. Freedman and P. Diaconis (1981): twice the interquartile range divided by the cube
// root of the number of values; if that range is 0, by D. Scott (1979): 3.49 standard deviations divided by
// the same root. Whole numbers have bins of whole width with limits half-way between numbers, or some bins
// would contain more numbers than others and show combs that are not in the data.

namespace
{
/// Numbers beyond have nothing half-way between neighbours.
constexpr double kGreatestWhole = 0x1p51;

bool AreWhole( std::span<const double> inNumbers )
{
    return std::ranges::all_of(
        inNumbers,
        []( double inEach )
        { return std::trunc( inEach ) == inEach && std::abs( inEach ) < kGreatestWhole; } );
}

/// The quantile for a share, with linear interpolation.
double GetQuantile( std::vector<double>& ioNumbers, double inShare )
{
    const auto place = inShare * static_cast<double>( ioNumbers.size() - 1 );
    const auto lower = ioNumbers.begin() + static_cast<std::ptrdiff_t>( place );
    std::nth_element( ioNumbers.begin(), lower, ioNumbers.end() );
    const auto upper = lower + 1 == ioNumbers.end() ? lower : std::min_element( lower + 1, ioNumbers.end() );
    return std::lerp( *lower, *upper, place - std::floor( place ) );
}

double GetQuartileDistance( std::span<const double> inNumbers )
{
    std::vector<double> numbers( inNumbers.begin(), inNumbers.end() );
    const auto first = GetQuantile( numbers, 0.25 );
    return GetQuantile( numbers, 0.75 ) - first;
}

double GetStandardDeviation( std::span<const double> inNumbers )
{
    double mean = 0, squares = 0, count = 0;
    for ( const auto number : inNumbers )
    {
        const auto difference = number - mean;
        mean += difference / ++count;
        squares += difference * ( number - mean );
    }
    return std::sqrt( squares / count );
}

double ChooseWidth( std::span<const double> inNumbers )
{
    const auto root = std::cbrt( static_cast<double>( inNumbers.size() ) );
    const auto distance = GetQuartileDistance( inNumbers );
    return ( distance > 0 ? 2 * distance : 3.49 * GetStandardDeviation( inNumbers ) ) / root;
}

std::vector<double> Divide( double inLow, double inHigh, std::uint32_t inCount )
{
    std::vector<double> limits( inCount + 1 );
    for ( std::uint32_t i = 0; i <= inCount; ++i )
        limits[i] = std::lerp( inLow, inHigh, static_cast<double>( i ) / inCount );
    return limits;
}

/// At least one; the width may be so small that the quotient does not fit in an integer.
std::uint32_t CountBins( double inRange, double inWidth )
{
    return static_cast<std::uint32_t>(
        std::clamp( std::ceil( inRange / inWidth ), 1.0, double{ kMostBins } ) );
}

std::vector<double> DivideWhole( double inLeast, double inGreatest, double inWidth )
{
    const auto width = std::max( std::round( inWidth ), 1.0 );
    std::vector<double> limits{ inLeast - 0.5 };
    while ( limits.back() < inGreatest )
        limits.push_back( limits.back() + width );
    return limits;
}
} // namespace

std::vector<double> XMakeBinLimits( std::span<const double> inNumbers, std::optional<std::uint32_t> inCount )
{
    const auto [least, greatest] = std::ranges::minmax( inNumbers );
    if ( AreWhole( inNumbers ) )
    {
        const auto leastWidth = std::ceil( ( greatest - least + 1 ) / inCount.value_or( kMostBins ) );
        return DivideWhole(
            least, greatest, inCount ? leastWidth : std::max( ChooseWidth( inNumbers ), leastWidth ) );
    }
    // Limits between numbers that are almost equal would not be distinct.
    const auto farthest = std::max( std::abs( least ), std::abs( greatest ) );
    if ( greatest - least <= farthest * 1e-9 )
        return { least - farthest / 20, greatest + farthest / 20 };
    return Divide(
        least, greatest, inCount ? *inCount : CountBins( greatest - least, ChooseWidth( inNumbers ) ) );
}

std::vector<std::uint64_t> XCountInBins( std::span<const double> inNumbers, std::span<const double> inLimits )
{
    std::vector<std::uint64_t> counts( inLimits.size() - 1 );
    const auto inner = inLimits.subspan( 1, inLimits.size() - 2 );
    for ( const auto number : inNumbers )
        ++counts[static_cast<std::size_t>( std::ranges::upper_bound( inner, number ) - inner.begin() )];
    return counts;
}
