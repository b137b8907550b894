#pragma once

#include "WPlatform.h"

#include <cstdint>

/// Whole pages of zeroed memory from the system. Sizes are in bytes and rounded up to pages.
class KORVALE_API WPages
{
public:
    /// Returns null if the system has no memory left.
    static void* Allocate( std::uint64_t inSize );

    /// Keeps the contents that fit; the pages may move. Returns null, with nothing changed, if the system has
    /// no memory left.
    static void* Resize( void* inPages, std::uint64_t inOldSize, std::uint64_t inNewSize );

    static void Free( void* inPages, std::uint64_t inSize );
};
