#include "Pivot/Accumulators/Internal/XPivotSums.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

// Sums with compensation. Add is the two-sum of D. Knuth: it computes the rounding error of an addition
// exactly, by six operations without a branch, and the errors are added up beside the sum (the scheme of T.
// Kahan and I. Babuška). The result is nearly as accurate as a sum in twice the precision.
//
// A column is distributed over 16 lanes, row i to lane i modulo 16 of its block, both in the portable loops
// and in the AVX2 ones, so both add the same numbers in the same order and give the same bits on every
// processor. 16 lanes are four vectors: enough independent additions to hide their latency.

#if defined( __x86_64__ )
    #include <immintrin.h>
    #define KORVALE_AVX2 __attribute__( ( target( "avx2" ) ) )
#endif

namespace
{
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kSmallestNormal = std::numeric_limits<double>::min();

// ---- For every processor

void AddMomentsFrom(
    const XPivotColumn::XFloatBlock& inBlock, std::uint32_t inFirst, XPivotMomentSums& ioSums )
{
    // For a vectorised block these are the rows behind the last whole group of lanes.
    for ( std::uint32_t i = inFirst; i < inBlock.count; ++i )
    {
        if ( !inBlock.exists[i] )
            continue;
        ++ioSums.count;
        const double value = inBlock.values[i];
        if ( std::isnan( value ) )
            continue;
        ++ioSums.numbers;
        const std::size_t lane = i % XPivotSums::kLanes;
        ioSums.sum.Add( lane, value );
        ioSums.minima[lane] = std::min( ioSums.minima[lane], value );
        ioSums.maxima[lane] = std::max( ioSums.maxima[lane], value );
    }
}

void AddSquaresFrom(
    const XPivotColumn::XFloatBlock& inBlock, std::uint32_t inFirst, double inMean, XPivotSums& ioSums )
{
    for ( std::uint32_t i = inFirst; i < inBlock.count; ++i )
    {
        if ( !inBlock.exists[i] || std::isnan( inBlock.values[i] ) )
            continue;
        const double distance = inBlock.values[i] - inMean;
        ioSums.Add( i % XPivotSums::kLanes, distance * distance );
    }
}

void AddMomentsPortably( const XPivotColumn::XFloatBlock& inBlock, XPivotMomentSums& ioSums )
{
    AddMomentsFrom( inBlock, 0, ioSums );
}

void AddSquaresPortably( const XPivotColumn::XFloatBlock& inBlock, double inMean, XPivotSums& ioSums )
{
    AddSquaresFrom( inBlock, 0, inMean, ioSums );
}

constexpr XPivotSumLoops kPortableLoops = { AddMomentsPortably, AddSquaresPortably };

#if defined( __x86_64__ )
// ---- AVX2, four vectors of four lanes at a time. Without fused multiplication, which would take the rounding away
// from under the losses.

constexpr std::size_t kVectors = XPivotSums::kLanes / 4;

/// All bits set where the row is present.
KORVALE_AVX2 inline __m256d LoadPresence( const std::uint8_t* inExists )
{
    std::int32_t flags;
    std::memcpy( &flags, inExists, sizeof flags );
    const __m256i wide = _mm256_cvtepi8_epi64( _mm_cvtsi32_si128( flags ) );
    return _mm256_castsi256_pd( _mm256_sub_epi64( _mm256_setzero_si256(), wide ) );
}

KORVALE_AVX2 inline void AddLanes( __m256d& ioSum, __m256d& ioLoss, __m256d inValue )
{
    const __m256d sum = _mm256_add_pd( ioSum, inValue );
    const __m256d taken = _mm256_sub_pd( sum, ioSum );
    const __m256d lostOfSum = _mm256_sub_pd( ioSum, _mm256_sub_pd( sum, taken ) );
    const __m256d lostOfValue = _mm256_sub_pd( inValue, taken );
    ioLoss = _mm256_add_pd( ioLoss, _mm256_add_pd( lostOfSum, lostOfValue ) );
    ioSum = sum;
}

KORVALE_AVX2 inline std::uint64_t AddUp( __m256i inCounts )
{
    alignas( 32 ) std::uint64_t counts[4];
    _mm256_store_si256( reinterpret_cast<__m256i*>( counts ), inCounts );
    return counts[0] + counts[1] + counts[2] + counts[3];
}

KORVALE_AVX2 void AddMomentsByVectors( const XPivotColumn::XFloatBlock& inBlock, XPivotMomentSums& ioSums )
{
    __m256d sums[kVectors], losses[kVectors], minima[kVectors], maxima[kVectors];
    for ( std::size_t v = 0; v < kVectors; ++v )
    {
        sums[v] = _mm256_loadu_pd( ioSums.sum.sums + 4 * v );
        losses[v] = _mm256_loadu_pd( ioSums.sum.losses + 4 * v );
        minima[v] = _mm256_loadu_pd( ioSums.minima + 4 * v );
        maxima[v] = _mm256_loadu_pd( ioSums.maxima + 4 * v );
    }
    __m256i minusCount = _mm256_setzero_si256(); // a set mask is -1
    __m256i minusNumbers = _mm256_setzero_si256();
    const __m256d largest = _mm256_set1_pd( kLargest );
    const __m256d smallest = _mm256_set1_pd( kSmallestNormal );
    std::uint32_t row = 0;
    for ( ; row + XPivotSums::kLanes <= inBlock.count; row += XPivotSums::kLanes )
    {
        for ( std::size_t v = 0; v < kVectors; ++v )
        {
            const __m256d value = _mm256_loadu_pd( inBlock.values + row + 4 * v );
            const __m256d present = LoadPresence( inBlock.exists + row + 4 * v );
            // Present and not NaN. Masked values add zero, which changes no sum.
            const __m256d number = _mm256_and_pd( present, _mm256_cmp_pd( value, value, _CMP_ORD_Q ) );
            minusCount = _mm256_add_epi64( minusCount, _mm256_castpd_si256( present ) );
            minusNumbers = _mm256_add_epi64( minusNumbers, _mm256_castpd_si256( number ) );
            AddLanes( sums[v], losses[v], _mm256_and_pd( value, number ) );
            minima[v] = _mm256_min_pd( _mm256_blendv_pd( largest, value, number ), minima[v] );
            maxima[v] = _mm256_max_pd( _mm256_blendv_pd( smallest, value, number ), maxima[v] );
        }
    }
    ioSums.count -= AddUp( minusCount );
    ioSums.numbers -= AddUp( minusNumbers );
    for ( std::size_t v = 0; v < kVectors; ++v )
    {
        _mm256_storeu_pd( ioSums.sum.sums + 4 * v, sums[v] );
        _mm256_storeu_pd( ioSums.sum.losses + 4 * v, losses[v] );
        _mm256_storeu_pd( ioSums.minima + 4 * v, minima[v] );
        _mm256_storeu_pd( ioSums.maxima + 4 * v, maxima[v] );
    }
    AddMomentsFrom( inBlock, row, ioSums );
}

KORVALE_AVX2 void
AddSquaresByVectors( const XPivotColumn::XFloatBlock& inBlock, double inMean, XPivotSums& ioSums )
{
    __m256d sums[kVectors], losses[kVectors];
    for ( std::size_t v = 0; v < kVectors; ++v )
    {
        sums[v] = _mm256_loadu_pd( ioSums.sums + 4 * v );
        losses[v] = _mm256_loadu_pd( ioSums.losses + 4 * v );
    }
    const __m256d mean = _mm256_set1_pd( inMean );
    std::uint32_t row = 0;
    for ( ; row + XPivotSums::kLanes <= inBlock.count; row += XPivotSums::kLanes )
    {
        for ( std::size_t v = 0; v < kVectors; ++v )
        {
            const __m256d value = _mm256_loadu_pd( inBlock.values + row + 4 * v );
            const __m256d present = LoadPresence( inBlock.exists + row + 4 * v );
            const __m256d number = _mm256_and_pd( present, _mm256_cmp_pd( value, value, _CMP_ORD_Q ) );
            const __m256d distance = _mm256_and_pd( _mm256_sub_pd( value, mean ), number );
            AddLanes( sums[v], losses[v], _mm256_mul_pd( distance, distance ) );
        }
    }
    for ( std::size_t v = 0; v < kVectors; ++v )
    {
        _mm256_storeu_pd( ioSums.sums + 4 * v, sums[v] );
        _mm256_storeu_pd( ioSums.losses + 4 * v, losses[v] );
    }
    AddSquaresFrom( inBlock, row, inMean, ioSums );
}

constexpr XPivotSumLoops kVectorLoops = { AddMomentsByVectors, AddSquaresByVectors };
#endif
} // namespace

void XPivotSums::Add( std::size_t inLane, double inValue )
{
    const double sum = sums[inLane] + inValue;
    const double taken = sum - sums[inLane];
    losses[inLane] += ( sums[inLane] - ( sum - taken ) ) + ( inValue - taken );
    sums[inLane] = sum;
}

double XPivotSums::GetTotal() const
{
    XPivotSums total;
    for ( std::size_t lane = 0; lane < kLanes; ++lane )
        total.Add( 0, sums[lane] );
    for ( std::size_t lane = 0; lane < kLanes; ++lane )
        total.losses[0] += losses[lane];
    return total.sums[0] + total.losses[0];
}

XPivotMomentSums::XPivotMomentSums()
{
    std::fill( std::begin( minima ), std::end( minima ), kLargest );
    std::fill( std::begin( maxima ), std::end( maxima ), kSmallestNormal );
}

const XPivotSumLoops& XGetPivotSumLoops()
{
#if defined( __x86_64__ )
    static const bool sHasVectors = __builtin_cpu_supports( "avx2" );
    if ( sHasVectors )
        return kVectorLoops;
#endif
    return kPortableLoops;
}

const XPivotSumLoops& XGetPortablePivotSumLoops()
{
    return kPortableLoops;
}
