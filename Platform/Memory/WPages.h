#pragma once

#include "WPlatform.h"

#include <cstdint>

/// Whole pages of memory straight from the system, zeroed. Sizes are in bytes and rounded up to pages.
class KORVALE_API WPages
{
public:
    /// Null when the system has none left.
    static void* Allocate( std::uint64_t inSize );

    /// Keeps the contents as far as they fit and may move them. Null, with everything as it was, when the system has
    /// no more.
    static void* Resize( void* inPages, std::uint64_t inOldSize, std::uint64_t inNewSize );

    static void Free( void* inPages, std::uint64_t inSize );
};
