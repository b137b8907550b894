// The walk through the structure of a stored table: it prints what a file holds, or says where it stops making sense.

#include "StructureWalk.h"

#include "Core/XInternalErrorHandlers.h"
#include "Core/XMemStream.h"
#include "Startup/WInitCore.h"

#include <sstream>

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    static const WInitCore sCore;
    static const bool sIsQuiet = ( XInternalErrorHandlers::Install( {} ), true );
    XMemStream stream( inData, inSize );
    std::ostringstream text;
    static_cast<void>( StructureWalk( stream, text ).Walk() );
    return sIsQuiet ? 0 : -1;
}
