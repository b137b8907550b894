// The printer of the structure of a stored table: it prints what a file holds, or says where it stops making sense.

#include "Tables/StructurePrinter.h"

#include "FuzzTools.h"

#include <sstream>

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    XMemStream stream( inData, inSize );
    std::ostringstream text;
    static_cast<void>( StructurePrinter( stream, text ).Print() );
    return 0;
}
