// Identifiers from text. What is understood must come back unchanged from both text forms.

#include "FuzzTools.h"

#include "Core/Errors/XException.h"
#include "Core/Identifiers/XUUID.h"
#include "Core/Strings/XString.h"

#include <optional>
#include <string_view>

namespace
{
std::optional<XUUID> Parse( std::string_view inText )
{
    try
    {
        return XUUID( XString( inText ) );
    }
    catch ( const XException& exception )
    {
        Require( exception.GetErrorNumber() == 1026 );
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    const std::optional<XUUID> id = Parse( { reinterpret_cast<const char*>( inData ), inSize } );
    if ( id )
    {
        Require( XUUID( id->UUIDToString() ) == *id );
        Require( XUUID( id->UUIDToTerseString() ) == *id );
    }
    return 0;
}
