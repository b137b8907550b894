#pragma once

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XThreadLock.h"

/// Returns the result of `inAllocate`. If that is null, calls it once more after the manager has freed
/// `inSize` bytes; throws 1012 if it is null again. Runs under the allocation mutex. Internal to the library.
template<class TAllocator>
void* XAllocateWithRetry( XMemoryManager& ioManager, USize64 inSize, TAllocator inAllocate )
{
    const XThreadLock lock( ioManager.GetAllocationMutex() );
    void* memory = inAllocate();
    if ( !memory )
    {
        ioManager.FreeMemory( inSize );
        memory = inAllocate();
    }
    if ( !memory )
        XThrow( kErrorOutOfMemory );
    return memory;
}
