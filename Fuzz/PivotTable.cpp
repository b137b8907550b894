// A table file: the stream's header and one object, as the program reads it. A table that can be read has
// columns of one length, writes itself to the same bytes twice and survives every operation on its rows; anything
// else is refused with a documented number.

#include "FuzzTools.h"

#include "Pivot/Tables/XPivotTable.h"

namespace
{
void CheckTable( const XPivotTable& inTable )
{
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
        Require( inTable.GetColumn( i ).GetColumnSize() == inTable.GetNumRows() );
    RequireRoundTrip( inTable );
}

/// Rows without values cost no bytes, so a table may claim more of them than is sensible to move.
void MoveRows( XPivotTable& ioTable )
{
    constexpr std::uint32_t kMostRows = 10000;
    if ( ioTable.GetNumColumns() == 0 || ioTable.GetNumRows() > kMostRows )
        return;
    const std::uint32_t last = ioTable.GetNumColumns() - 1;
    const XPivotTableAccumulator count( XPivotTableAccumulator::kAccumulateCount );
    const XPivotTable pivot = ioTable.Pivot( { 0 }, {}, { { last, count } } );
    Require( pivot.GetNumRows() <= ioTable.GetNumRows() );
    ioTable.Sort( { { 0 }, { last, XPivotTable::kSortDescending } } );
    ioTable.RemoveDuplicates( { 0 } );
    Require( ioTable.GetNumRows() == pivot.GetNumRows() );
    ioTable.DuplicateAllRows( 2, true );
    ioTable.Append( XPivotTable( ioTable ) );
    ioTable.DeleteRows( 0, ioTable.GetNumRows() / 3 );
    CheckTable( ioTable );
}

void ReadTable( XStream& ioStream )
{
    ioStream.ReadStreamInfo();
    const std::unique_ptr<XStorable> object( ioStream.ReadObject() );
    auto* const table = dynamic_cast<XPivotTable*>( object.get() );
    if ( !table )
        return;
    CheckTable( *table );
    MoveRows( *table );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    XMemStream stream( inData, inSize );
    RequireDocumentedErrors( { 1003, 1004, 1005, 1006, 1013, 1015, 1260 }, [&] { ReadTable( stream ); } );
    return 0;
}
