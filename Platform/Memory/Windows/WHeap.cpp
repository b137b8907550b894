#include "Memory/WHeap.h"

#include <cstdlib>

#include <malloc.h>

void* WHeap::Allocate( std::uint64_t inSize, std::uint64_t inAlignment )
{
    return inAlignment <= kPlainAlignment ? std::malloc( inSize ) : ::_aligned_malloc( inSize, inAlignment );
}

void WHeap::Free( void* inMemory, std::uint64_t inAlignment )
{
    if ( inAlignment <= kPlainAlignment )
        std::free( inMemory );
    else
        ::_aligned_free( inMemory );
}
