#include "Imaging/Thresholds/XAutomaticThreshold.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Imaging/Thresholds/Internal/XHistogramThresholds.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

// Each method returns a level, an index into the counts from the lowest level to the highest one. Where the
// definition is computed in single precision, so is ours, as near the best level rounding decides.

namespace
{
using Counts = std::vector<std::uint64_t>;

// ---- Triangle

std::size_t FindTriangleLevel( Counts inCounts )
{
    const auto last = inCounts.size() - 1;
    auto peak = static_cast<std::size_t>( std::ranges::max_element( inCounts ) - inCounts.begin() );
    const auto isFlipped = peak < last - peak; // The longer tail is the upper one.
    if ( isFlipped )
    {
        std::ranges::reverse( inCounts );
        peak = last - peak;
    }
    const auto height = static_cast<double>( inCounts[peak] ), width = static_cast<double>( peak );
    const auto norm = std::sqrt( height * height + width * width );
    const auto heightShare = height / norm, widthShare = width / norm;
    std::size_t best = 0;
    double farthest = -std::numeric_limits<double>::infinity();
    for ( std::size_t i = 0; i < peak; ++i )
    {
        const auto distance =
            heightShare * static_cast<double>( i ) - widthShare * static_cast<double>( inCounts[i] );
        if ( distance > farthest )
        {
            farthest = distance;
            best = i;
        }
    }
    return isFlipped ? last - best : best;
}

// ---- Yen

std::size_t FindYenLevel( const Counts& inCounts )
{
    const auto total =
        static_cast<float>( std::accumulate( inCounts.begin(), inCounts.end(), std::uint64_t{ 0 } ) );
    const auto getShare = [&]( std::size_t inLevel )
    { return static_cast<float>( inCounts[inLevel] ) / total; };
    // The sums of the squares from each level on.
    std::vector<float> above( inCounts.size() );
    float squares = 0;
    for ( auto i = inCounts.size(); i-- > 0; )
        above[i] = squares += getShare( i ) * getShare( i );

    std::size_t best = 0;
    auto bestCriterion = -std::numeric_limits<float>::infinity();
    float share = 0;
    squares = 0;
    for ( std::size_t i = 0; i + 1 < inCounts.size(); ++i )
    {
        share += getShare( i );
        squares += getShare( i ) * getShare( i );
        const auto product = share * ( 1.0f - share );
        const auto ratio = 1.0f / ( squares * above[i + 1] ) * ( product * product );
        const auto criterion = static_cast<float>( std::log( double{ ratio } ) );
        if ( criterion > bestCriterion )
        {
            bestCriterion = criterion;
            best = i;
        }
    }
    return best;
}

// ---- Isodata

std::size_t FindIsodataLevel( const Counts& inCounts, double inLowest, double inWidth )
{
    double total = 0, totalSum = 0;
    const auto getCentre = [&]( std::size_t inLevel )
    { return inLowest + inWidth * static_cast<double>( inLevel ); };
    for ( std::size_t i = 0; i < inCounts.size(); ++i )
    {
        total += static_cast<double>( inCounts[i] );
        totalSum += static_cast<double>( inCounts[i] ) * getCentre( i );
    }
    double below = 0, sumBelow = 0;
    std::size_t last = 0;
    for ( std::size_t i = 0; i + 1 < inCounts.size(); ++i )
    {
        below += static_cast<double>( inCounts[i] );
        sumBelow += static_cast<double>( inCounts[i] ) * getCentre( i );
        const auto middle = ( sumBelow / below + ( totalSum - sumBelow ) / ( total - below ) ) / 2;
        const auto distance = middle - getCentre( i );
        if ( distance >= 0 && distance < inWidth )
            return i;
        // From one level to the next the distance decreases by at most a width, so only rounding leads here.
        if ( distance >= 0 )
            last = i;
    }
    return last;
}

// ---- Li

/// Iterates `t = logarithmic mean of both class means`, from the mean of all samples until t changes by at most
/// `inTolerance`. Samples are relative to the smallest one. `inSplit( t )` returns the means up to t and above it.
template<class TSplit>
double IterateLi( double inMean, double inTolerance, TSplit inSplit )
{
    // Converges within a few dozen steps; the limit is for tolerances below the rounding errors.
    constexpr int kMostSteps = 1000;
    auto next = inMean, current = -2 * inTolerance;
    for ( int step = 0; step < kMostSteps && std::abs( next - current ) > inTolerance; ++step )
    {
        current = next;
        const auto [below, above] = inSplit( current );
        next = ( below - above ) / ( std::log( below ) - std::log( above ) );
    }
    return next;
}

double GetLiThreshold( const XSampleHistogram& inHistogram )
{
    const auto& levels = inHistogram.GetLevels();
    const auto lowest = levels.front().level;
    double total = 0, totalSum = 0;
    for ( const auto& [level, count] : levels )
    {
        total += static_cast<double>( count );
        totalSum += static_cast<double>( ( level - lowest ) * count );
    }
    const auto split = [&]( double inThreshold )
    {
        double below = 0, sumBelow = 0;
        for ( const auto& [level, count] : levels )
            if ( static_cast<double>( level - lowest ) <= inThreshold )
            {
                below += static_cast<double>( count );
                sumBelow += static_cast<double>( ( level - lowest ) * count );
            }
        return std::pair( sumBelow / below, ( totalSum - sumBelow ) / ( total - below ) );
    };
    return IterateLi( totalSum / total, 0.5, split ) + static_cast<double>( lowest );
}

/// Sorts by three passes over 11 bits of a key that ascends with the floats.
void SortFloats( std::vector<float>& ioSamples )
{
    constexpr unsigned kBits = 11, kPasses = 3;
    const auto getKey = []( float inSample )
    {
        const auto bits = std::bit_cast<std::uint32_t>( inSample );
        return bits ^ ( bits >> 31 ? ~std::uint32_t{ 0 } : std::uint32_t{ 1 } << 31 );
    };
    std::vector<float> sorted( ioSamples.size() );
    for ( unsigned pass = 0; pass < kPasses; ++pass )
    {
        std::array<std::size_t, ( 1u << kBits ) + 1> ends{};
        const auto getDigit = [&]( float inSample )
        { return getKey( inSample ) >> pass * kBits & ( ( 1u << kBits ) - 1 ); };
        for ( const auto sample : ioSamples )
            ++ends[getDigit( sample ) + 1];
        std::partial_sum( ends.begin(), ends.end(), ends.begin() );
        XForEachChunk(
            ioSamples.size(), kPixelsAtOnce,
            [&]( std::uint64_t inFirst, std::uint64_t inEnd )
            {
                for ( auto i = inFirst; i < inEnd; ++i )
                    sorted[ends[getDigit( ioSamples[i] )]++] = ioSamples[i];
            } );
        ioSamples.swap( sorted );
    }
}

/// The finite samples of a float page, sorted.
std::vector<float> SortFinite( const WImagePage& inPage, std::uint32_t inChannel )
{
    const auto pixels = std::size_t{ inPage.width } * inPage.height;
    const auto* samples = inPage.GetSamples<float>() + inChannel;
    std::vector<float> sorted;
    sorted.reserve( pixels );
    for ( std::size_t i = 0; i < pixels; ++i )
        if ( const auto sample = samples[i * inPage.channels]; std::isfinite( sample ) )
            sorted.push_back( sample );
    SortFloats( sorted );
    return sorted;
}

/// Of floats all samples are used; the tolerance is half of the smallest difference between two of them.
double GetLiThreshold( const WImagePage& inPage, std::uint32_t inChannel )
{
    const auto samples = SortFinite( inPage, inChannel );
    const auto lowest = samples.front();
    // In the precision of the samples, unless their range is more than that of floats.
    const auto isFinite = std::isfinite( samples.back() - lowest );
    const auto getValue = [&]( std::size_t inIndex ) -> double {
        return isFinite ? double{ samples[inIndex] - lowest } : double{ samples[inIndex] } - double{ lowest };
    };
    auto leastStep = std::numeric_limits<double>::infinity(), totalSum = 0.0;
    for ( std::size_t i = 0; i < samples.size(); ++i )
    {
        totalSum += getValue( i );
        if ( i > 0 && getValue( i ) > getValue( i - 1 ) )
            leastStep = std::min( leastStep, getValue( i ) - getValue( i - 1 ) );
    }
    std::size_t below = 0; // samples up to the threshold
    double sumBelow = 0;
    const auto split = [&]( double inThreshold )
    {
        for ( ; below < samples.size() && getValue( below ) <= inThreshold; ++below )
            sumBelow += getValue( below );
        for ( ; below > 0 && getValue( below - 1 ) > inThreshold; --below )
            sumBelow -= getValue( below - 1 );
        return std::pair(
            sumBelow / static_cast<double>( below ),
            ( totalSum - sumBelow ) / static_cast<double>( samples.size() - below ) );
    };
    const auto mean = totalSum / static_cast<double>( samples.size() );
    return static_cast<float>( IterateLi( mean, leastStep / 2, split ) + lowest );
}

double GetThreshold(
    const WImagePage& inPage, std::uint32_t inChannel, const XSampleHistogram& inHistogram,
    const XAutomaticThreshold& inSettings )
{
    const auto lowest = inHistogram.GetLevels().front().level;
    switch ( inSettings.method )
    {
    case XThresholdMethod::kOtsu:
        return XGetOtsuThreshold( inHistogram );
    case XThresholdMethod::kLi:
        return inPage.type == WImageFormat::kFloat32 ? GetLiThreshold( inPage, inChannel )
                                                     : GetLiThreshold( inHistogram );
    case XThresholdMethod::kTriangle:
        return inHistogram.GetThreshold( lowest + FindTriangleLevel( inHistogram.GetCounts() ) );
    case XThresholdMethod::kYen:
        return inHistogram.GetThreshold( lowest + FindYenLevel( inHistogram.GetCounts() ) );
    case XThresholdMethod::kIsodata:
        return inHistogram.GetThreshold(
            lowest +
            FindIsodataLevel(
                inHistogram.GetCounts(), inHistogram.GetCentre( lowest ), inHistogram.GetWidth() ) );
    case XThresholdMethod::kMultiOtsu:
    {
        const auto levels = XFindMultiOtsuLevels( inHistogram, inSettings.classes );
        const auto index = std::min<std::size_t>(
            inSettings.excludedClasses > 0 ? inSettings.excludedClasses : levels.size(), levels.size() );
        return inHistogram.GetThreshold( levels[index - 1] );
    }
    default:
        XThrow( kErrorBadParameters );
    }
}
} // namespace

double XGetAutomaticThreshold(
    const WImagePage& inPage, std::uint32_t inChannel, const XAutomaticThreshold& inSettings )
{
    if ( inSettings.IsLocal() || inSettings.classes < 2 )
        XThrow( kErrorBadParameters );
    const XSampleHistogram histogram( inPage, inChannel );
    // A scaled threshold might leave all pixels of a uniform page above it.
    if ( histogram.GetLevels().size() < 2 )
        return XGetOtsuThreshold( histogram );
    return GetThreshold( inPage, inChannel, histogram, inSettings ) * inSettings.scale;
}
