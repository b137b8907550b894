#include "Tables/TableStream.h"

#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"

std::unique_ptr<XPivotTable> ReadTable( XStream& ioStream )
{
    ioStream.ReadStreamInfo();
    auto table = ioStream.ReadObjectOf<XPivotTable>( XStorable::kUntrustedSource );
    XBeginField( ioStream, "the end of the file" );
    if ( !ioStream.IsAtEOF() )
        XRefuse(
            ioStream, kErrorStreamCorrupted,
            [&]
            {
                return "the table ends here, but the file has " + std::to_string( ioStream.GetRemaining() ) +
                    " bytes more";
            } );
    return table;
}
