#pragma once

#include "WPlatform.h"

#include <cstdint>

/// Heap memory with an alignment, which must be a power of two.
class KORVALE_API WHeap
{
public:
    /// The alignment of all memory from malloc.
    static constexpr std::uint64_t kPlainAlignment = 16;

    /// Returns null if there is no memory. A piece must be freed with the alignment it was allocated with.
    static void* Allocate( std::uint64_t inSize, std::uint64_t inAlignment );

    /// Keeps the bytes that fit. Returns null, with nothing changed, if there is no memory.
    static void*
    Reallocate( void* inMemory, std::uint64_t inOldSize, std::uint64_t inSize, std::uint64_t inAlignment );

    static void Free( void* inMemory, std::uint64_t inAlignment );
};
