#pragma once

#include <cstdint>
#include <fstream>

/// Resident bytes of the process; 0 where the system does not show them.
inline std::uint64_t GetMemoryInUse()
{
    constexpr std::uint64_t kPageBytes = 4096;
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    std::ifstream( "/proc/self/statm" ) >> total >> resident;
    return resident * kPageBytes;
}
