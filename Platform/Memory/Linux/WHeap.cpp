#include "Memory/WHeap.h"

#include <cstdlib>

void* WHeap::Allocate( std::uint64_t inSize, std::uint64_t inAlignment )
{
    if ( inAlignment <= kPlainAlignment )
        return std::malloc( inSize );
    void* memory = nullptr;
    return ::posix_memalign( &memory, inAlignment, inSize ) == 0 ? memory : nullptr;
}

void WHeap::Free( void* inMemory, std::uint64_t )
{
    std::free( inMemory );
}
