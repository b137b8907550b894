// Tables of a million rows: pivots, sorting, duplicates and reading, beside hash maps and memcpy and, before
// them, pandas in a process of its own on the same shapes of data.

#include "Core/Identifiers/XUUID.h"
#include "Core/Streams/XMemStream.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotStringColumn.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Columns/XPivotUUIDColumn.h"
#include "Pivot/Tables/XPivotTable.h"
#include "Startup/WInitCore.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <malloc.h>
#include <random>

namespace
{
using XAccumulator = XPivotTableAccumulator;

constexpr std::uint32_t kRows = 1'000'000;
constexpr std::uint32_t kCells = 1000;
constexpr std::uint32_t kDistinctRows = 100'000;

template<class TColumn, class TMakeValue>
void AddColumn( XPivotTable& ioTable, const char* inName, TMakeValue inMakeValue )
{
    auto column = std::make_unique<TColumn>( kPivotUserDefined, inName, "", "" );
    for ( std::uint32_t row = 0; row < kRows; ++row )
        column->AppendValue( inMakeValue(), true );
    ioTable.AddColumn( std::move( column ) );
}

// ---- Pivots: a text, an identifier, a number and a shared text per row

XVector<XUUID> MakeIdentifiers()
{
    XVector<XUUID> identifiers( kCells );
    for ( XUUID& identifier : identifiers )
        identifier.GenerateNewID();
    return identifiers;
}

XPivotTable MakeKeyedTable()
{
    std::mt19937_64 random( 1 );
    std::normal_distribution<double> normal;
    const XVector<XUUID> identifiers = MakeIdentifiers();
    XPivotTable table;
    const auto makeText = [&] { return "treatment " + std::to_string( random() % kCells ); };
    AddColumn<XPivotStringColumn>( table, "text", makeText ); // each made anew
    AddColumn<XPivotUUIDColumn>( table, "identifier", [&] { return identifiers[random() % kCells]; } );
    AddColumn<XPivotFloatColumn>( table, "value", [&] { return normal( random ); } );
    XVector<XString> texts;
    for ( std::uint32_t cell = 0; cell < kCells; ++cell )
        texts.push_back( "treatment " + std::to_string( cell ) );
    AddColumn<XPivotStringColumn>( table, "shared text", [&] { return texts[random() % kCells]; } );
    return table;
}

const XPivotTable& GetKeyedTable()
{
    static const XPivotTable sTable = MakeKeyedTable();
    return sTable;
}

void PivotKorvale(
    benchmark::State& ioState, std::uint32_t inKey,
    std::initializer_list<XAccumulator::XPivotTableAccumulatorType> inTypes )
{
    XAccumulator accumulator( *inTypes.begin() );
    for ( const auto type : inTypes )
        accumulator.AddType( type );
    const XPivotTable& table = GetKeyedTable();
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( table.Pivot( { inKey }, {}, { { 2, accumulator } } ) );
}
BENCHMARK_CAPTURE( PivotKorvale, text, 0, { XAccumulator::kAccumulateMean, XAccumulator::kAccumulateVarSD } )
    ->Name( "PivotByText/Korvale" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE(
    PivotKorvale, shared, 3, { XAccumulator::kAccumulateMean, XAccumulator::kAccumulateVarSD } )
    ->Name( "PivotByText/Korvale/shared_storage" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( PivotKorvale, identifier, 1, { XAccumulator::kAccumulateSum } )
    ->Name( "PivotByUUID/Korvale" )
    ->Unit( benchmark::kMillisecond );

struct XUUIDHash
{
    std::size_t operator()( const XUUID& inUUID ) const
    {
        const char* bytes = reinterpret_cast<const char*>( inUUID.GetBytes() );
        return absl::Hash<std::string_view>()( { bytes, XUUID::kByteCount } );
    }
};

void SumByHashMap( benchmark::State& ioState )
{
    const auto& keys = dynamic_cast<const XPivotUUIDColumn&>( GetKeyedTable().GetColumn( 1 ) );
    const auto& values = dynamic_cast<const XPivotFloatColumn&>( GetKeyedTable().GetColumn( 2 ) );
    for ( auto _ : ioState )
    {
        absl::flat_hash_map<XUUID, double, XUUIDHash> sums;
        for ( std::uint32_t row = 0; row < kRows; ++row )
            sums[keys.GetDataVector()[row]] += values.GetDataVector()[row];
        benchmark::DoNotOptimize( sums );
    }
}
BENCHMARK( SumByHashMap )->Name( "PivotByUUID/flat_hash_map" )->Unit( benchmark::kMillisecond );

// ---- Sorting and reading: twelve columns

/// Times, counts and ten columns of measurements; a text in place of the last of them.
XPivotTable MakeWideTable( bool inHasText )
{
    std::mt19937_64 random( 2 );
    std::normal_distribution<double> normal;
    XPivotTable table;
    AddColumn<XPivotUInt32Column>(
        table, "time", [&] { return static_cast<std::uint32_t>( random() % 100 ); } );
    AddColumn<XPivotUInt32Column>(
        table, "count", [&] { return static_cast<std::uint32_t>( random() % 5000 ); } );
    while ( table.GetNumColumns() < ( inHasText ? 11u : 12u ) )
        AddColumn<XPivotFloatColumn>( table, "measurement", [&] { return normal( random ); } );
    if ( inHasText )
        AddColumn<XPivotStringColumn>(
            table, "name", [&] { return "image " + std::to_string( random() % 100 ); } );
    return table;
}

const XPivotTable& GetWideTable()
{
    static const XPivotTable sTable = MakeWideTable( false );
    return sTable;
}

void SortKorvale( benchmark::State& ioState )
{
    for ( auto _ : ioState )
    {
        ioState.PauseTiming();
        auto table = std::make_unique<XPivotTable>( GetWideTable() );
        ioState.ResumeTiming();
        table->Sort( { { 0 }, { 2, kSortDescending } } );
        ioState.PauseTiming();
        table.reset();
        ioState.ResumeTiming();
    }
}
BENCHMARK( SortKorvale )->Name( "SortByTwo/Korvale" )->Unit( benchmark::kMillisecond );

/// Lets the process keep the memory that it frees, where it is to be used again: new memory costs the system
/// more time than anything that is done with it.
void KeepFreedMemory( bool inIsKept )
{
    constexpr int kMost = 1 << 30;
    mallopt( M_TRIM_THRESHOLD, inIsKept ? kMost : 128 * 1024 );
    mallopt( M_MMAP_THRESHOLD, inIsKept ? 32 * 1024 * 1024 : 128 * 1024 );
}

void ReadKorvale( benchmark::State& ioState, bool inHasText, bool inKeepsMemory )
{
    KeepFreedMemory( inKeepsMemory );
    XMemStream stream;
    stream.WriteObject( MakeWideTable( inHasText ) );
    for ( auto _ : ioState )
    {
        stream.SeekTo( 0 );
        const std::unique_ptr<XStorable> table( stream.ReadObject() );
        benchmark::DoNotOptimize( table.get() );
    }
    ioState.SetBytesProcessed( ioState.iterations() * static_cast<std::int64_t>( stream.GetLength() ) );
}
BENCHMARK_CAPTURE( ReadKorvale, numbers, false, true )
    ->Name( "Read/Korvale/numbers" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( ReadKorvale, text, true, true )
    ->Name( "Read/Korvale/with_text" )
    ->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( ReadKorvale, fresh, false, false )
    ->Name( "Read/Korvale/numbers_to_new_memory" )
    ->Unit( benchmark::kMillisecond );

/// `inIsFresh`: into new memory each time.
void ReadByCopying( benchmark::State& ioState, bool inIsFresh )
{
    XMemStream stream;
    stream.WriteObject( GetWideTable() );
    const auto length = static_cast<std::size_t>( stream.GetLength() );
    KeepFreedMemory( !inIsFresh );
    auto target = std::make_unique_for_overwrite<std::uint8_t[]>( length );
    for ( auto _ : ioState )
    {
        if ( inIsFresh )
            target = std::make_unique_for_overwrite<std::uint8_t[]>( length );
        std::memcpy( target.get(), stream.GetData(), length );
        benchmark::DoNotOptimize( target.get() );
        benchmark::ClobberMemory();
    }
    ioState.SetBytesProcessed( ioState.iterations() * static_cast<std::int64_t>( length ) );
}
BENCHMARK_CAPTURE( ReadByCopying, same, false )->Name( "Read/memcpy" )->Unit( benchmark::kMillisecond );
BENCHMARK_CAPTURE( ReadByCopying, fresh, true )
    ->Name( "Read/memcpy_to_new_memory" )
    ->Unit( benchmark::kMillisecond );

// ---- Duplicates

XPivotTable MakeRepetitiveTable()
{
    std::mt19937_64 random( 3 );
    XVector<std::uint32_t> rows( kRows );
    for ( std::uint32_t& row : rows )
        row = static_cast<std::uint32_t>( random() % kDistinctRows );
    XPivotTable table;
    const auto add = [&]<class TColumn>( std::type_identity<TColumn>, auto inMakeValue )
    {
        std::size_t next = 0;
        AddColumn<TColumn>( table, "", [&] { return inMakeValue( rows[next++] ); } );
    };
    add( std::type_identity<XPivotUInt32Column>(), []( std::uint32_t inRow ) { return inRow % 1000; } );
    add( std::type_identity<XPivotUInt32Column>(), []( std::uint32_t inRow ) { return inRow / 1000; } );
    add( std::type_identity<XPivotFloatColumn>(), []( std::uint32_t inRow ) { return inRow * 0.1; } );
    return table;
}

void RemoveDuplicatesKorvale( benchmark::State& ioState )
{
    const XPivotTable source = MakeRepetitiveTable();
    for ( auto _ : ioState )
    {
        ioState.PauseTiming();
        auto table = std::make_unique<XPivotTable>( source );
        ioState.ResumeTiming();
        table->RemoveDuplicates();
        ioState.PauseTiming();
        table.reset();
        ioState.ResumeTiming();
    }
}
BENCHMARK( RemoveDuplicatesKorvale )->Name( "Duplicates/Korvale" )->Unit( benchmark::kMillisecond );
} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    benchmark::Initialize( &inArgCount, inArgs );
    if ( !std::getenv( "NOPEER" ) && std::system( "/usr/bin/python3 " KORVALE_PEERS_DIR "/tables.py" ) != 0 )
        std::puts( "pandas could not be measured" );
    benchmark::RunSpecifiedBenchmarks();
}
