#pragma once

#include "WPlatform.h"

#include <cstdint>

/// Heap memory of an alignment, which is a power of two.
class KORVALE_API WHeap
{
public:
    /// What every piece of memory is aligned to that malloc gives.
    static constexpr std::uint64_t kPlainAlignment = 16;

    /// Null when there is none left. A piece is freed with the alignment that it was allocated with.
    static void* Allocate( std::uint64_t inSize, std::uint64_t inAlignment );

    /// Keeps the bytes as far as they fit. Null, with everything as it was, when there is no more.
    static void*
    Reallocate( void* inMemory, std::uint64_t inOldSize, std::uint64_t inSize, std::uint64_t inAlignment );

    static void Free( void* inMemory, std::uint64_t inAlignment );
};
