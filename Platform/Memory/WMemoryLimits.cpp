#include "Memory/WMemoryLimits.h"

#include <algorithm>

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr std::uint64_t WMemoryLimits::kUnlimited;

std::uint64_t WMemoryLimits::GetBytes()
{
    return std::min( GetMachineBytes(), GetContainerBytes() );
}
