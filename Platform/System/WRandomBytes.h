#pragma once

#include "WPlatform.h"

#include <cstddef>
#include <cstdint>

/// Random bytes of the system, fit for keys.
class KORVALE_API WRandomBytes
{
public:
    WRandomBytes() = delete;

    /// Returns 0 or the system's error code. Each call asks the system.
    /// Threads: any.
    static std::uint32_t Fill( void* outBytes, std::size_t inCount );
};
