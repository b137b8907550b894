#include "Memory/WPages.h"

#include <sys/mman.h>

void* WPages::Allocate( std::uint64_t inSize )
{
    void* pages = ::mmap( nullptr, inSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0 );
    return pages == MAP_FAILED ? nullptr : pages;
}

void* WPages::Resize( void* inPages, std::uint64_t inOldSize, std::uint64_t inNewSize )
{
    void* pages = ::mremap( inPages, inOldSize, inNewSize, MREMAP_MAYMOVE );
    return pages == MAP_FAILED ? nullptr : pages;
}

void WPages::Free( void* inPages, std::uint64_t inSize )
{
    ::munmap( inPages, inSize );
}
