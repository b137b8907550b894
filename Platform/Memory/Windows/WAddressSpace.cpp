#include "Memory/WAddressSpace.h"

#include <windows.h>

namespace
{

const SYSTEM_INFO& GetInfo()
{
    static const SYSTEM_INFO sInfo = []
    {
        SYSTEM_INFO info = {};
        ::GetSystemInfo( &info );
        return info;
    }();
    return sInfo;
}

std::uint32_t ToProtection( DWORD inProtect )
{
    constexpr std::uint32_t kRead = WAddressSpace::kCanRead;
    constexpr std::uint32_t kWrite = WAddressSpace::kCanWrite;
    constexpr std::uint32_t kExecute = WAddressSpace::kCanExecute;
    switch ( inProtect & 0xFF )
    {
    case PAGE_READONLY:
        return kRead;
    case PAGE_READWRITE:
    case PAGE_WRITECOPY:
        return kRead | kWrite;
    case PAGE_EXECUTE:
        return kExecute;
    case PAGE_EXECUTE_READ:
        return kRead | kExecute;
    case PAGE_EXECUTE_READWRITE:
    case PAGE_EXECUTE_WRITECOPY:
        return kRead | kWrite | kExecute;
    default:
        return 0;
    }
}

WAddressSpace::Region ToRegion( const MEMORY_BASIC_INFORMATION& inInfo )
{
    const auto base = reinterpret_cast<std::uint64_t>( inInfo.BaseAddress );
    switch ( inInfo.State )
    {
    case MEM_FREE:
        return { base, inInfo.RegionSize, WAddressSpace::kFree, 0 };
    case MEM_RESERVE:
        return { base, inInfo.RegionSize, WAddressSpace::kReserved, 0 };
    default:
        return { base, inInfo.RegionSize, WAddressSpace::kInUse, ToProtection( inInfo.Protect ) };
    }
}

} // namespace

std::vector<WAddressSpace::Region> WAddressSpace::ReadRegions()
{
    std::vector<Region> regions;
    std::uint64_t address = 0;
    MEMORY_BASIC_INFORMATION info = {};
    while ( address < GetEnd() &&
            ::VirtualQuery( reinterpret_cast<void*>( address ), &info, sizeof( info ) ) )
    {
        const Region region = ToRegion( info );
        const bool isFreeNeighbour =
            !regions.empty() && region.state == kFree && regions.back().state == kFree;
        if ( isFreeNeighbour )
            regions.back().size += region.size;
        else
            regions.push_back( region );
        address = region.GetEnd();
    }
    return regions;
}

std::uint64_t WAddressSpace::GetEnd()
{
    return reinterpret_cast<std::uint64_t>( GetInfo().lpMaximumApplicationAddress ) + 1;
}

std::uint64_t WAddressSpace::GetPageSize()
{
    return GetInfo().dwPageSize;
}

std::uint64_t WAddressSpace::GetAllocationGranularity()
{
    return GetInfo().dwAllocationGranularity;
}
