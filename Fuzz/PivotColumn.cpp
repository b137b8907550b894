// One column of any class, in either byte order (the first byte chooses), as an object. What can be read
// keeps its rows through writing and reading again and through the row operations; what cannot is refused
// with a documented number.

#include "FuzzTools.h"

#include "Core/XException.h"
#include "Core/XInternalErrorHandlers.h"
#include "Pivot/XPivotColumn.h"
#include "Pivot/XPivotTableAccumulator.h"
#include "Startup/WInitCore.h"

#include <set>

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
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    static const WInitCore sCore;
    static const bool sIsQuiet = ( XInternalErrorHandlers::Install( {} ), true );
    static const std::set<std::uint32_t> sExpected = { 1003, 1004, 1005, 1006, 1007, 1015, 1260 };
    if ( inSize == 0 )
        return -1;
    XMemStream stream( inData + 1, inSize - 1 );
    stream.SetByteOrder( inData[0] & 1 ? kMotorolaOrder : kIntelOrder );
    try
    {
        const std::unique_ptr<XStorable> object( stream.ReadObject() );
        if ( auto* column = dynamic_cast<XPivotColumn*>( object.get() ) )
        {
            RequireRoundTrip( *column );
            if ( column->GetColumnSize() < kManyRows )
                UseRows( *column );
        }
    }
    catch ( const XException& error )
    {
        Require( sExpected.contains( error.GetErrorNumber() ) );
    }
    return sIsQuiet ? 0 : -1;
}
