// References to a million rows: adding them and looking them up beside a hash map, and deleting scattered rows beside
// copying the table.

#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/Tables/XPivotTable.h"
#include "Startup/WInitCore.h"

#include <absl/container/flat_hash_map.h>
#include <absl/hash/hash.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace
{
constexpr std::uint32_t kRows = 1'000'000;
constexpr std::uint32_t kDeleted = 100'000;

XVector<XUUID> MakeUUIDs()
{
    std::mt19937_64 random( 1 );
    XVector<XUUID> uuids;
    for ( std::uint32_t i = 0; i < kRows; ++i )
    {
        const std::uint64_t halves[2] = { random(), random() };
        uuids.emplace_back( reinterpret_cast<const std::uint8_t*>( halves ) );
    }
    return uuids;
}

const XVector<XUUID>& GetUUIDs()
{
    static const XVector<XUUID> sUUIDs = MakeUUIDs();
    return sUUIDs;
}

/// The same in the order in which they are looked up.
const XVector<XUUID>& GetShuffledUUIDs()
{
    static const XVector<XUUID> sUUIDs = []
    {
        XVector<XUUID> uuids = GetUUIDs();
        std::shuffle( uuids.begin(), uuids.end(), std::mt19937_64( 2 ) );
        return uuids;
    }();
    return sUUIDs;
}

// ---- Adding and looking up

XPivotRowRefColumn MakeReferences()
{
    XPivotRowRefColumn column;
    std::uint32_t row = 0;
    for ( const XUUID& uuid : GetUUIDs() )
        column.AddRef( row++, uuid, 0 );
    return column;
}

void AddKorvale( benchmark::State& ioState )
{
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( MakeReferences().GetNumReferences() );
}
BENCHMARK( AddKorvale )->Name( "AddRef/Korvale" )->Unit( benchmark::kMillisecond );

void FindKorvale( benchmark::State& ioState )
{
    const XPivotRowRefColumn column = MakeReferences();
    for ( auto _ : ioState )
    {
        std::uint64_t sum = 0;
        for ( const XUUID& uuid : GetShuffledUUIDs() )
            sum += column.GetDataUserVisibleID( uuid );
        benchmark::DoNotOptimize( sum );
    }
}
BENCHMARK( FindKorvale )->Name( "LookUp/Korvale" )->Unit( benchmark::kMillisecond );

struct XUUIDKey
{
    XUUID uuid;

    bool operator==( const XUUIDKey& ) const = default;
    template<class THash>
    friend THash AbslHashValue( THash inHash, const XUUIDKey& inKey )
    {
        return THash::combine_contiguous( std::move( inHash ), inKey.uuid.GetBytes(), XUUID::kByteCount );
    }
};

struct XPlainReference
{
    std::uint32_t count = 0;
    std::uint32_t userVisibleID = 0;
    std::uint32_t row = 0;
};

using XFlatMap = absl::flat_hash_map<XUUIDKey, XPlainReference>;

XFlatMap MakeFlatMap()
{
    XFlatMap map;
    std::uint32_t row = 0;
    for ( const XUUID& uuid : GetUUIDs() )
    {
        XPlainReference& reference = map[XUUIDKey{ uuid }];
        ++reference.count;
        reference.row = row++;
        reference.userVisibleID = row;
    }
    return map;
}

void AddFlatMap( benchmark::State& ioState )
{
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( MakeFlatMap().size() );
}
BENCHMARK( AddFlatMap )->Name( "AddRef/flat_hash_map" )->Unit( benchmark::kMillisecond );

void FindFlatMap( benchmark::State& ioState )
{
    const XFlatMap map = MakeFlatMap();
    for ( auto _ : ioState )
    {
        std::uint64_t sum = 0;
        for ( const XUUID& uuid : GetShuffledUUIDs() )
            sum += map.find( XUUIDKey{ uuid } )->second.userVisibleID;
        benchmark::DoNotOptimize( sum );
    }
}
BENCHMARK( FindFlatMap )->Name( "LookUp/flat_hash_map" )->Unit( benchmark::kMillisecond );

// ---- Deleting

const XPivotTable& GetTable()
{
    static const XPivotTable sTable = []
    {
        XPivotTable table;
        auto ids = std::make_unique<XPivotRowRefColumn>( kPivotID, "", "", "" );
        auto parents = std::make_unique<XPivotOtherRowRefColumn>( kPivotParentID, "", "", "" );
        auto areas = std::make_unique<XPivotFloatColumn>( kPivotArea, "", "", "" );
        for ( std::uint32_t row = 0; row < kRows; ++row )
        {
            ids->AppendData( GetUUIDs()[row], true );
            parents->AppendData( GetUUIDs()[row / 10], true );
            areas->AppendData( row, true );
        }
        parents->SetRowRefColumnDescriptor( ids->GetDescriptor() );
        table.AddColumn( std::move( ids ) );
        table.AddColumn( std::move( parents ) );
        table.AddColumn( std::move( areas ) );
        return table;
    }();
    return sTable;
}

XVector<std::uint32_t> ChooseRows()
{
    XVector<std::uint32_t> rows( kRows );
    std::iota( rows.begin(), rows.end(), 0u );
    std::shuffle( rows.begin(), rows.end(), std::mt19937_64( 3 ) );
    rows.resize( kDeleted );
    return rows;
}

void DeleteRows( benchmark::State& ioState )
{
    const XVector<std::uint32_t> rows = ChooseRows();
    for ( auto _ : ioState )
    {
        ioState.PauseTiming();
        XPivotTable table( GetTable() );
        ioState.ResumeTiming();
        table.DeleteRows( rows );
        benchmark::DoNotOptimize( table.GetNumRows() );
        ioState.PauseTiming();
        table = XPivotTable();
        ioState.ResumeTiming();
    }
}
BENCHMARK( DeleteRows )->Name( "Delete/Korvale" )->Unit( benchmark::kMillisecond );

void CopyTable( benchmark::State& ioState )
{
    for ( auto _ : ioState )
    {
        XPivotTable table( GetTable() );
        benchmark::DoNotOptimize( table.GetNumRows() );
        ioState.PauseTiming();
        table = XPivotTable();
        ioState.ResumeTiming();
    }
}
BENCHMARK( CopyTable )->Name( "Delete/copying_the_table" )->Unit( benchmark::kMillisecond );
} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    benchmark::Initialize( &inArgCount, inArgs );
    benchmark::RunSpecifiedBenchmarks();
}
