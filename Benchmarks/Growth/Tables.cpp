#include "Growth/Operation.h"

#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotStringColumn.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/Tables/XPivotTable.h"

namespace
{

XUUID MakeUUID( std::size_t inNumber )
{
    const std::uint64_t halves[2] = { inNumber * 0x9E3779B97F4A7C15u, inNumber };
    return XUUID( reinterpret_cast<const std::uint8_t*>( halves ) );
}

std::unique_ptr<XPivotUInt32Column> MakeCounter( std::size_t inRows, std::size_t inGroups )
{
    auto column = std::make_unique<XPivotUInt32Column>();
    for ( std::size_t row = 0; row < inRows; ++row )
        column->AppendData( static_cast<std::uint32_t>( row % inGroups ), true );
    return column;
}

/// One group for each row, in the rows and in the columns of the pivot.
Seconds PivotValues( std::size_t inGroups )
{
    constexpr std::size_t kRowsPerGroup = 20;
    XPivotTable table;
    table.AddColumn( MakeCounter( kRowsPerGroup * inGroups, inGroups ) );
    table.AddColumn( MakeCounter( kRowsPerGroup * inGroups, 7 ) );
    const XPivotTableAccumulator accumulator( XPivotTableAccumulator::kAccumulateNone );
    return Time( [&] { table.Pivot( {}, { 0 }, { { 1, accumulator } } ); } );
}

Seconds AddColumns( std::size_t inCount )
{
    XPivotTable table;
    return Time(
        [&]
        {
            for ( std::size_t i = 0; i < inCount; ++i )
                table.AddColumn( std::make_unique<XPivotFloatColumn>() );
        } );
}

Seconds AppendTables( std::size_t inColumns )
{
    XPivotTable table;
    for ( std::size_t i = 0; i < inColumns; ++i )
        table.AddColumn( std::make_unique<XPivotFloatColumn>(
            kPivotUserDefined, XString( "column " ) + static_cast<std::int64_t>( i ), "", "" ) );
    XPivotTable target = table;
    return Time( [&] { target.Append( table ); } );
}

XPivotRowRefColumn MakeReferences( std::size_t inRows, std::size_t inRowsPerUUID )
{
    XPivotRowRefColumn column;
    for ( std::size_t row = 0; row < inRows; ++row )
        column.AppendValue( MakeUUID( row / inRowsPerUUID ), true );
    return column;
}

Seconds DeleteSharedReferences( std::size_t inRows )
{
    XPivotRowRefColumn column = MakeReferences( inRows, 10 );
    return Time( [&] { column.DeleteRefs( 0, static_cast<std::uint32_t>( inRows ) ); } );
}

Seconds CopyOverSharedReferences( std::size_t inRows )
{
    const XPivotRowRefColumn source = MakeReferences( inRows, 10 );
    XPivotRowRefColumn target = MakeReferences( inRows, 7 );
    return Time( [&] { source.CopyRowsOver( 0, target, 0, static_cast<std::uint32_t>( inRows ) ); } );
}

Seconds FindRowsByNumber( std::size_t inRows )
{
    const XPivotRowRefColumn column = MakeReferences( inRows, 1 );
    volatile std::int32_t found = 0;
    return Time(
        [&]
        {
            for ( std::size_t row = 0; row < inRows; ++row )
                found = column.FindDataFloat( static_cast<double>( row + 1 ) );
        } );
}

Seconds DeleteEverySecondRow( std::size_t inRows )
{
    XPivotTable table;
    table.AddColumn( MakeCounter( inRows, inRows ) );
    XVector<std::uint32_t> rows;
    for ( std::size_t row = 0; row < inRows; row += 2 )
        rows.push_back( static_cast<std::uint32_t>( row ) );
    return Time( [&] { table.DeleteRows( rows ); } );
}

} // namespace

void AddTableOperations( Operations& ioOperations )
{
    ioOperations.push_back( { "tables: pivot of value, by column groups", 400, PivotValues } );
    ioOperations.push_back( { "tables: AddColumn, by columns", 500, AddColumns } );
    ioOperations.push_back( { "tables: Append, by columns", 200, AppendTables } );
    ioOperations.push_back( { "tables: DeleteRefs of shared UUIDs, by rows", 2000, DeleteSharedReferences } );
    ioOperations.push_back(
        { "tables: CopyRowsOver of shared UUIDs, by rows", 2000, CopyOverSharedReferences } );
    ioOperations.push_back( { "tables: FindDataFloat of every row, by rows", 2000, FindRowsByNumber } );
    ioOperations.push_back( { "tables: DeleteRows by list, by rows", 10000, DeleteEverySecondRow } );
}
