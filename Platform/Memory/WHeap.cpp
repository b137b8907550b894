#include "Memory/WHeap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

void* WHeap::Reallocate(
    void* inMemory, std::uint64_t inOldSize, std::uint64_t inSize, std::uint64_t inAlignment )
{
    if ( inAlignment <= kPlainAlignment )
        return std::realloc( inMemory, inSize );
    void* memory = Allocate( inSize, inAlignment );
    if ( !memory )
        return nullptr;
    std::memcpy( memory, inMemory, std::min( inOldSize, inSize ) );
    Free( inMemory, inAlignment );
    return memory;
}
