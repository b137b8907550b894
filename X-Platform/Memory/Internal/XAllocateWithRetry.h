#pragma once

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XThreadLock.h"

/// What `inAllocate` returns, which is tried once more after the manager has freed `inSize` bytes; under the allocation
/// mutex. Throws 1012 where it is null even then. Internal to the library.
template<class Allocator>
void* XAllocateWithRetry( XMemoryManager& ioManager, USize64 inSize, Allocator inAllocate )
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
