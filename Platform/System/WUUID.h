#pragma once

#include "WPlatform.h"

#include <cstdint>

/// A UUID in the layout of the system's record: the first field of 32 bits and the two of 16 bits are in the
/// byte order of the machine.
struct KORVALE_API WUUID
{
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::uint8_t data4[8] = {};

    /// Generates a random UUID (version 4). Returns 0, or the system's status on failure; `outUUID` is then
    /// unchanged.
    /// Threads: any; safe in a child process after a fork.
    static std::uint32_t Create( WUUID& outUUID );
};
