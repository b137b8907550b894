#include "Memory/XMemoryReservation.h"

#include "Memory/XMemoryManager.h"

void XMemoryReservation::Set( USize64 inBytes )
{
    if ( inBytes > itsBytes )
        itsManager.AboutToAllocate( inBytes - itsBytes );
    else if ( inBytes < itsBytes )
        itsManager.HasFreed( itsBytes - inBytes );
    itsBytes = inBytes;
}
