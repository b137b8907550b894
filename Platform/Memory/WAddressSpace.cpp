#include "Memory/WAddressSpace.h"

#include <algorithm>

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr std::uint32_t WAddressSpace::kCanRead;
constexpr std::uint32_t WAddressSpace::kCanWrite;
constexpr std::uint32_t WAddressSpace::kCanExecute;

const WAddressSpace::Region*
WAddressSpace::Find( const std::vector<Region>& inRegions, std::uint64_t inAddress )
{
    const auto found = std::ranges::upper_bound( inRegions, inAddress, {}, &Region::base );
    if ( found == inRegions.begin() || inAddress >= std::prev( found )->GetEnd() )
        return nullptr;
    return &*std::prev( found );
}
