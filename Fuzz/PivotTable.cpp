// A table file: the stream's header and one object, as the program reads it. A table that can be read has
// columns of one length and writes itself to the same bytes twice; anything else is refused with a documented
// number.

#include "FuzzTools.h"

#include "Core/XException.h"
#include "Core/XInternalErrorHandlers.h"
#include "Pivot/XPivotTable.h"
#include "Startup/WInitCore.h"

#include <set>

namespace
{
void CheckTable( const XPivotTable& inTable )
{
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
        Require( inTable.GetColumn( i ).GetColumnSize() == inTable.GetNumRows() );
    RequireRoundTrip( inTable );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    static const WInitCore sCore;
    static const bool sIsQuiet = ( XInternalErrorHandlers::Install( {} ), true );
    static const std::set<std::uint32_t> sExpected = { 1003, 1004, 1005, 1006, 1013, 1015, 1260 };
    XMemStream stream( inData, inSize );
    try
    {
        stream.ReadStreamInfo();
        const std::unique_ptr<XStorable> object( stream.ReadObject() );
        if ( const auto* table = dynamic_cast<const XPivotTable*>( object.get() ) )
            CheckTable( *table );
    }
    catch ( const XException& error )
    {
        Require( sExpected.contains( error.GetErrorNumber() ) );
    }
    return sIsQuiet ? 0 : -1;
}
