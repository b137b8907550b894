#include "Memory/XMemoryReservation.h"

#include "Memory/XMemoryManager.h"

#include <utility>

void XMemoryReservation::Set( USize64 inBytes )
{
    if ( inBytes > itsBytes )
        itsManager.AboutToAllocate( inBytes - itsBytes );
    else if ( inBytes < itsBytes )
        itsManager.HasFreed( itsBytes - inBytes );
    itsBytes = inBytes;
}

void XMemoryReservation::Swap( XMemoryReservation& ioOther )
{
    std::swap( itsBytes, ioOther.itsBytes );
}
