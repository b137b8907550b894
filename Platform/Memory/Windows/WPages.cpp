#include "Memory/WPages.h"

#include <algorithm>
#include <cstring>

#include <windows.h>

void* WPages::Allocate( std::uint64_t inSize )
{
    return ::VirtualAlloc( nullptr, inSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE );
}

void* WPages::Resize( void* inPages, std::uint64_t inOldSize, std::uint64_t inNewSize )
{
    void* pages = Allocate( inNewSize );
    if ( !pages )
        return nullptr;
    std::memcpy( pages, inPages, std::min( inOldSize, inNewSize ) );
    Free( inPages, inOldSize );
    return pages;
}

void WPages::Free( void* inPages, std::uint64_t )
{
    ::VirtualFree( inPages, 0, MEM_RELEASE );
}
