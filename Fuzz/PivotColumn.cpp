// One column of any class, in either byte order (the first byte chooses), as an object. What can be read
// keeps its rows through writing and reading again and through the row operations; what cannot is refused
// with a documented number.

#include "FuzzTools.h"

#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/Columns/XPivotColumn.h"

namespace
{
constexpr std::uint32_t kManyRows = 100'000; // a column without values may claim any number

void UseRows( XPivotColumn& ioColumn )
{
    const std::uint32_t rows = ioColumn.GetColumnSize();
    XVector<std::uint32_t> order;
    ioColumn.Sort( kSortDescending, order );
    Require( order.size() == rows );
    XPivotTableAccumulator accumulator( XPivotTableAccumulator::kAccumulateNone );
    for ( unsigned type = 1; type < 8; ++type )
        accumulator.AddType( static_cast<XPivotTableAccumulator::XPivotTableAccumulatorType>( type ) );
    Require( accumulator.AccumulateColumn( ioColumn ).size() == accumulator.GetNumValues() );
    ioColumn.RemoveDuplicates( order );
    Require( order.size() == ioColumn.GetColumnSize() && order.size() <= rows );
    ioColumn += ioColumn;
    Require( ioColumn.GetColumnSize() == 2 * order.size() );
    ioColumn.DeleteItems( 0, ioColumn.GetColumnSize() / 3 );
    RequireRoundTrip( ioColumn ); // readers hold references against the rows
}

void ReadColumn( XStream& ioStream )
{
    const std::unique_ptr<XStorable> object( ioStream.ReadObject() );
    auto* const column = dynamic_cast<XPivotColumn*>( object.get() );
    if ( !column )
        return;
    RequireRoundTrip( *column );
    if ( column->GetColumnSize() < kManyRows )
        UseRows( *column );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    if ( inSize == 0 )
        return -1;
    XMemStream stream( inData + 1, inSize - 1 );
    stream.SetByteOrder( inData[0] & 1 ? kMotorolaOrder : kIntelOrder );
    RequireDocumentedErrors( { 1003, 1004, 1005, 1006, 1007, 1015, 1260 }, [&] { ReadColumn( stream ); } );
    return 0;
}
