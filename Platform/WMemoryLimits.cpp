#include "WMemoryLimits.h"

#include <algorithm>

std::uint64_t WMemoryLimits::GetBytes()
{
    return std::min( GetMachineBytes(), GetContainerBytes() );
}
