// Stored network addresses: read completely and written again as the same bytes, or refused with a documented number.

#include "FuzzTools.h"

#include "Network/XNetAddress.h"

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    XMemStream stream( inData, inSize );
    XNetAddress address;
    bool isRead = false;
    RequireDocumentedErrors(
        { 1005, 1015, 1260 },
        [&]
        {
            address.ReadStream2( stream );
            isRead = true;
        } );
    if ( !isRead )
        return 0;
    Require(
        address.GetStreamUsage() <=
        static_cast<USize64>( stream.GetPosition() ) ); // a length may have its long form
    RequireRoundTrip( address );
    address.GetDescription( false );
    return 0;
}
