#pragma once

#include "WPlatform.h"

#include <cstddef>
#include <cstdint>

/// Cryptographically secure random bytes from the system.
class KORVALE_API WRandomBytes
{
public:
    WRandomBytes() = delete;

    /// Returns 0 or the system's error code. Each call asks the system.
    /// Threads: any.
    static std::uint32_t Fill( void* outBytes, std::size_t inCount );
};
