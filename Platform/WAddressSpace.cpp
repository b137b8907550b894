#include "WAddressSpace.h"

#include <algorithm>

const WAddressSpace::Region*
WAddressSpace::Find( const std::vector<Region>& inRegions, std::uint64_t inAddress )
{
    const auto found = std::ranges::upper_bound( inRegions, inAddress, {}, &Region::base );
    if ( found == inRegions.begin() || inAddress >= std::prev( found )->GetEnd() )
        return nullptr;
    return &*std::prev( found );
}
