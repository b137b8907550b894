// Columns of a million numbers, one in ten missing: sorting, filtering, reducing and streaming, beside loops
// written by hand for the purpose and, before them, numpy in a process of its own.

#include "Core/Streams/XMemStream.h"
#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Tables/XPivotTable.h"
#include "Startup/WInitCore.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <immintrin.h>
#include <numeric>
#include <random>

namespace
{
constexpr std::uint32_t kRows = 1'000'000;

// Of the present values, what passes is this share of all rows.
constexpr double kFourPercent = 1.701;
constexpr double kFortyFivePercent = 0.0;

XPivotFloatColumn MakeColumn()
{
    std::mt19937_64 random( 1 );
    std::normal_distribution<double> normal;
    XPivotFloatColumn column( kPivotUserDefined, "values", "", "" );
    for ( std::uint32_t row = 0; row < kRows; ++row )
    {
        const bool exists = random() % 10 != 0;
        column.AppendData( exists ? normal( random ) : column.GetDefaultValue(), exists );
    }
    return column;
}

const XPivotFloatColumn& GetColumn()
{
    static const XPivotFloatColumn sColumn = MakeColumn();
    return sColumn;
}

// ---- Sort

void SortKorvale( benchmark::State& ioState )
{
    XPivotFloatColumn column;
    XVector<std::uint32_t> order;
    for ( auto _ : ioState )
    {
        ioState.PauseTiming();
        column = GetColumn();
        ioState.ResumeTiming();
        column.Sort( kSortAscending, order );
        benchmark::DoNotOptimize( order.data() );
    }
}
BENCHMARK( SortKorvale )->Name( "Sort/Korvale" )->Unit( benchmark::kMillisecond );

struct XKeyAndRow
{
    std::uint64_t key;
    std::uint32_t row;
};

void SortRadix( benchmark::State& ioState )
{
    const XVector<double>& values = GetColumn().GetDataVector();
    XVector<XKeyAndRow> rows( kRows ), scratch( kRows );
    for ( auto _ : ioState )
    {
        for ( std::uint32_t row = 0; row < kRows; ++row )
        {
            const auto bits = std::bit_cast<std::uint64_t>( values[row] );
            rows[row] = { bits >> 63 ? ~bits : bits | 1ull << 63, row };
        }
        for ( unsigned shift = 0; shift < 64; shift += 8 )
        {
            std::uint32_t places[257] = {};
            for ( const auto& row : rows )
                ++places[( row.key >> shift & 0xFF ) + 1];
            std::partial_sum( places, places + 257, places );
            for ( const auto& row : rows )
                scratch[places[row.key >> shift & 0xFF]++] = row;
            rows.swap( scratch );
        }
        benchmark::DoNotOptimize( rows.data() );
    }
}
BENCHMARK( SortRadix )->Name( "Sort/radix_of_keys_and_rows" )->Unit( benchmark::kMillisecond );

// ---- Filter

void FilterKorvale( benchmark::State& ioState, double inThreshold )
{
    XPivotTable table;
    table.AddColumn( std::make_unique<XPivotFloatColumn>( GetColumn() ) );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( table.FindRows( 0, kFilterGreater, inThreshold ) );
}
BENCHMARK_CAPTURE( FilterKorvale, 4, kFourPercent )
    ->Name( "Filter/Korvale/4" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( FilterKorvale, 45, kFortyFivePercent )
    ->Name( "Filter/Korvale/45" )
    ->Unit( benchmark::kMillisecond );

void FilterBranchless( benchmark::State& ioState, double inThreshold )
{
    const double* values = GetColumn().GetDataVector().data();
    const std::uint8_t* exists = GetColumn().GetExistsVector().data();
    XVector<std::uint32_t> rows( kRows );
    for ( auto _ : ioState )
    {
        std::size_t count = 0;
        for ( std::uint32_t row = 0; row < kRows; ++row )
        {
            rows[count] = row;
            count += exists[row] & static_cast<std::uint8_t>( values[row] > inThreshold );
        }
        benchmark::DoNotOptimize( count );
    }
}
BENCHMARK_CAPTURE( FilterBranchless, 4, kFourPercent )
    ->Name( "Filter/branchless_loop/4" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( FilterBranchless, 45, kFortyFivePercent )
    ->Name( "Filter/branchless_loop/45" )
    ->Unit( benchmark::kMillisecond );

// ---- Aggregates

using XTypes = std::initializer_list<XPivotTableAccumulator::XPivotTableAccumulatorType>;

void ReduceKorvale( benchmark::State& ioState, XTypes inTypes )
{
    XPivotTableAccumulator accumulator( *inTypes.begin() );
    for ( const auto type : inTypes )
        accumulator.AddType( type );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( accumulator.AccumulateColumn( GetColumn() ) );
}

/// Four vectors of sums, as one would write it by hand for numbers that are all finite.
struct XHandSums
{
    double count, sum, minimum, maximum;
};

__attribute__( ( target( "avx2" ) ) ) double AddUp( const __m256d* inVectors )
{
    const __m256d sum = _mm256_add_pd(
        _mm256_add_pd( inVectors[0], inVectors[1] ), _mm256_add_pd( inVectors[2], inVectors[3] ) );
    return sum[0] + sum[1] + sum[2] + sum[3];
}

__attribute__( ( target( "avx2" ) ) ) __m256d LoadMask( const std::uint8_t* inExists )
{
    std::int32_t flags;
    std::memcpy( &flags, inExists, sizeof flags );
    return _mm256_castsi256_pd(
        _mm256_sub_epi64( _mm256_setzero_si256(), _mm256_cvtepi8_epi64( _mm_cvtsi32_si128( flags ) ) ) );
}

__attribute__( ( target( "avx2" ) ) ) XHandSums
ReduceByHand( const double* inValues, const std::uint8_t* inExists )
{
    __m256d sums[4] = {};
    __m256d minimum = _mm256_set1_pd( 1e308 ), maximum = _mm256_set1_pd( 1e-308 );
    __m256i count = _mm256_setzero_si256();
    for ( std::uint32_t row = 0; row < kRows; row += 16 )
    {
        for ( unsigned v = 0; v < 4; ++v )
        {
            const __m256d value = _mm256_loadu_pd( inValues + row + 4 * v );
            const __m256d mask = LoadMask( inExists + row + 4 * v );
            sums[v] = _mm256_add_pd( sums[v], _mm256_and_pd( value, mask ) );
            count = _mm256_sub_epi64( count, _mm256_castpd_si256( mask ) );
            minimum = _mm256_min_pd( _mm256_blendv_pd( minimum, value, mask ), minimum );
            maximum = _mm256_max_pd( _mm256_blendv_pd( maximum, value, mask ), maximum );
        }
    }
    return {
        static_cast<double>( count[0] + count[1] + count[2] + count[3] ), AddUp( sums ),
        std::min( std::min( minimum[0], minimum[1] ), std::min( minimum[2], minimum[3] ) ),
        std::max( std::max( maximum[0], maximum[1] ), std::max( maximum[2], maximum[3] ) ) };
}

__attribute__( ( target( "avx2" ) ) ) double
SpreadByHand( const double* inValues, const std::uint8_t* inExists, double inMean )
{
    const __m256d mean = _mm256_set1_pd( inMean );
    __m256d sums[4] = {};
    for ( std::uint32_t row = 0; row < kRows; row += 16 )
    {
        for ( unsigned v = 0; v < 4; ++v )
        {
            const __m256d value = _mm256_loadu_pd( inValues + row + 4 * v );
            const __m256d distance =
                _mm256_and_pd( _mm256_sub_pd( value, mean ), LoadMask( inExists + row + 4 * v ) );
            sums[v] = _mm256_add_pd( sums[v], _mm256_mul_pd( distance, distance ) );
        }
    }
    return AddUp( sums );
}

void ReduceAVX2( benchmark::State& ioState, bool inWithVariance )
{
    static_assert( kRows % 16 == 0 );
    const double* values = GetColumn().GetDataVector().data();
    const std::uint8_t* exists = GetColumn().GetExistsVector().data();
    for ( auto _ : ioState )
    {
        const XHandSums sums = ReduceByHand( values, exists );
        benchmark::DoNotOptimize( sums.maximum );
        if ( inWithVariance )
            benchmark::DoNotOptimize( SpreadByHand( values, exists, sums.sum / sums.count ) );
    }
}

using XAccumulator = XPivotTableAccumulator;
BENCHMARK_CAPTURE( ReduceKorvale, mean, { XAccumulator::kAccumulateMean } )
    ->Name( "Mean/Korvale" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( ReduceKorvale, minmax, { XAccumulator::kAccumulateMinMax } )
    ->Name( "MinMax/Korvale" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( ReduceAVX2, one_pass, false )
    ->Name( "MeanMinMax/AVX2_loop" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( ReduceKorvale, variance, { XAccumulator::kAccumulateVarSD } )
    ->Name( "Variance/Korvale" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE(
    ReduceKorvale, all,
    { XAccumulator::kAccumulateMean, XAccumulator::kAccumulateMinMax, XAccumulator::kAccumulateVarSD } )
    ->Name( "MeanMinMaxVariance/Korvale" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( ReduceAVX2, two_passes, true )
    ->Name( "MeanMinMaxVariance/AVX2_loop" )
    ->Unit( benchmark::kMillisecond );

// ---- Streams, in memory that is warm

USize64 GetStreamLength()
{
    XMemStream stream;
    GetColumn().WriteStream2( stream );
    return stream.GetLength();
}

void WriteKorvale( benchmark::State& ioState )
{
    XMemStream stream;
    for ( auto _ : ioState )
    {
        stream.Clear();
        GetColumn().WriteStream2( stream );
        benchmark::DoNotOptimize( stream.GetData() );
    }
    ioState.SetBytesProcessed( ioState.iterations() * static_cast<std::int64_t>( stream.GetLength() ) );
}
BENCHMARK( WriteKorvale )->Name( "Write/Korvale" )->Unit( benchmark::kMillisecond );

void ReadKorvale( benchmark::State& ioState )
{
    XMemStream stream;
    GetColumn().WriteStream2( stream );
    XPivotFloatColumn column;
    for ( auto _ : ioState )
    {
        stream.SeekTo( 0 );
        column.ReadStream2( stream );
        benchmark::DoNotOptimize( column.GetDataVector().data() );
    }
    ioState.SetBytesProcessed( ioState.iterations() * static_cast<std::int64_t>( stream.GetLength() ) );
}
BENCHMARK( ReadKorvale )->Name( "Read/Korvale" )->Unit( benchmark::kMillisecond );

void CopyMemory( benchmark::State& ioState )
{
    const XVector<std::uint8_t> source( GetStreamLength(), 1 );
    XVector<std::uint8_t> target( source.size() );
    for ( auto _ : ioState )
    {
        std::memcpy( target.data(), source.data(), source.size() );
        benchmark::DoNotOptimize( target.data() );
        benchmark::ClobberMemory();
    }
    ioState.SetBytesProcessed( ioState.iterations() * static_cast<std::int64_t>( source.size() ) );
}
BENCHMARK( CopyMemory )->Name( "WriteRead/memcpy" )->Unit( benchmark::kMillisecond );
} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    benchmark::Initialize( &inArgCount, inArgs );
    if ( std::system( "/usr/bin/python3 " KORVALE_PEERS_DIR "/columns.py" ) != 0 )
        std::puts( "numpy could not be measured" );
    benchmark::RunSpecifiedBenchmarks();
}
