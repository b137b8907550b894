#include "Pivot/Rows/Internal/XPivotRowFilter.h"

#include "Pivot/Rows/Internal/XPivotRuns.h"

#include <array>
#include <bit>

// Filtering without branches on the data, which the processor would guess wrong half of the time. Eight rows
// are compared at once, which gives a mask of eight bits; a table of 256 entries has for each mask the places
// of its ones, first ones first. All eight places are stored, and the position advances by the number of
// ones, so the rest is overwritten by the next eight. The results of a chunk go to a buffer on the stack and
// are appended from there, since the number of results is not known before.

#if defined( __x86_64__ )
    #include <immintrin.h>

namespace
{
constexpr std::size_t kVectorRows = 8;

/// For each pattern of passing rows among eight, their places, first ones first.
using XPlaces = std::array<std::array<std::int32_t, kVectorRows>, 256>;

constexpr XPlaces MakePlaces()
{
    XPlaces places = {};
    for ( unsigned pattern = 0; pattern < places.size(); ++pattern )
    {
        std::size_t count = 0;
        for ( int place = 0; place < 8; ++place )
        {
            if ( pattern >> place & 1 )
                places[pattern][count++] = place;
        }
    }
    return places;
}

alignas( 32 ) constexpr XPlaces kPlaces = MakePlaces();

/// The rows of one chunk, in a buffer with room for a whole vector written past the last row.
template<int kComparison>
__attribute__( ( target( "avx2" ) ) ) std::size_t CollectChunk(
    const std::uint8_t* inExists, const double* inValues, std::int32_t inFirstRow, std::size_t inCount,
    double inReference, std::int32_t* outRows )
{
    const __m256d reference = _mm256_set1_pd( inReference );
    std::size_t found = 0;
    for ( std::size_t i = 0; i < inCount; i += kVectorRows )
    {
        const __m256d low = _mm256_cmp_pd( _mm256_loadu_pd( inValues + i ), reference, kComparison );
        const __m256d high = _mm256_cmp_pd( _mm256_loadu_pd( inValues + i + 4 ), reference, kComparison );
        // Flags are 0 or 1: shifted to the top of their bytes, they form a mask like those of the
        // comparisons.
        const __m128i flags = _mm_loadl_epi64( reinterpret_cast<const __m128i*>( inExists + i ) );
        const int present = _mm_movemask_epi8( _mm_slli_epi16( flags, 7 ) );
        const unsigned passing = static_cast<unsigned>(
            ( _mm256_movemask_pd( low ) | _mm256_movemask_pd( high ) << 4 ) & present );
        const __m256i places = _mm256_load_si256( reinterpret_cast<const __m256i*>( &kPlaces[passing] ) );
        const __m256i rows =
            _mm256_add_epi32( places, _mm256_set1_epi32( inFirstRow + static_cast<std::int32_t>( i ) ) );
        _mm256_storeu_si256( reinterpret_cast<__m256i*>( outRows + found ), rows );
        found += static_cast<unsigned>( std::popcount( passing ) );
    }
    return found;
}

template<int kComparison, class TCompare>
XVector<std::int32_t> FilterByVectors(
    const XVector<std::uint8_t>& inExists, const XVector<double>& inValues, double inReference,
    TCompare inCompare )
{
    constexpr std::size_t kChunk = 4096;
    std::int32_t found[kChunk + kVectorRows];
    XVector<std::int32_t> rows;
    const std::size_t end = inExists.size() - inExists.size() % kVectorRows;
    for ( std::size_t first = 0; first < end; first += kChunk )
    {
        const std::size_t count = CollectChunk<kComparison>(
            inExists.data() + first, inValues.data() + first, static_cast<std::int32_t>( first ),
            std::min( kChunk, end - first ), inReference, found );
        rows.insert( rows.end(), found, found + count );
    }
    for ( std::size_t row = end; row < inExists.size(); ++row )
    {
        if ( inExists[row] && inCompare( inValues[row], inReference ) )
            rows.push_back( static_cast<std::int32_t>( row ) );
    }
    return rows;
}

/// The number by which the vector instructions know a comparison.
template<class TCompare>
constexpr int kComparison = -1;
template<>
constexpr int kComparison<std::not_equal_to<>> = _CMP_NEQ_UQ;
template<>
constexpr int kComparison<std::equal_to<>> = _CMP_EQ_OQ;
template<>
constexpr int kComparison<std::less<>> = _CMP_LT_OQ;
template<>
constexpr int kComparison<std::greater<>> = _CMP_GT_OQ;
template<>
constexpr int kComparison<std::less_equal<>> = _CMP_LE_OQ;
template<>
constexpr int kComparison<std::greater_equal<>> = _CMP_GE_OQ;
} // namespace
#endif

XVector<std::int32_t> XFilterPivotRows(
    const XVector<std::uint8_t>& inExists, const XVector<double>& inValues,
    XPivotFilterRelationship inRelationship, double inReference )
{
#if defined( __x86_64__ )
    static const bool sHasVectors = __builtin_cpu_supports( "avx2" );
    if ( sHasVectors )
        return XWithPivotComparison(
            inRelationship,
            [&]( auto inCompare )
            {
                return FilterByVectors<kComparison<decltype( inCompare )>>(
                    inExists, inValues, inReference, inCompare );
            } );
#endif
    return XFilterPivotRows<double>( inExists, inValues, inRelationship, inReference );
}
