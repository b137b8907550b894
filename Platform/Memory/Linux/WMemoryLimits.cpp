#include "Memory/WMemoryLimits.h"

#include <algorithm>
#include <fstream>
#include <string>

#include <unistd.h>

namespace
{

using Path = std::filesystem::path;

/// "max", and files that are not there, limit nothing.
std::uint64_t ReadLimit( const Path& inFile )
{
    std::ifstream file( inFile );
    std::uint64_t bytes = 0;
    return file >> bytes ? bytes : WMemoryLimits::kUnlimited;
}

/// A group is limited by every group around it too.
std::uint64_t ReadLimits( const Path& inRoot, Path inGroup, const char* inFileName )
{
    std::uint64_t least = ReadLimit( inRoot / inFileName );
    // Within a container the group's path may be that of the host and not exist here; its files then limit
    // nothing.
    for ( ; inGroup.has_relative_path(); inGroup = inGroup.parent_path() )
        least = std::min( least, ReadLimit( inRoot / inGroup.relative_path() / inFileName ) );
    return least;
}

} // namespace

std::uint64_t WMemoryLimits::GetMachineBytes()
{
    return static_cast<std::uint64_t>( ::sysconf( _SC_PHYS_PAGES ) ) *
        static_cast<std::uint64_t>( ::sysconf( _SC_PAGESIZE ) );
}

std::uint64_t WMemoryLimits::GetProcessBytes()
{
    std::ifstream file( "/proc/self/statm" ); // in pages: the address space, then what is in memory
    std::uint64_t reserved = 0;
    std::uint64_t resident = 0;
    return file >> reserved >> resident ? resident * static_cast<std::uint64_t>( ::sysconf( _SC_PAGESIZE ) )
                                        : 0;
}

std::uint64_t WMemoryLimits::GetContainerBytes()
{
    return ReadControlGroups( "/sys/fs/cgroup", "/proc/self/cgroup" );
}

/// Each line names a group: "0::/group" in version 2, "7:memory:/group" for a controller of version 1.
std::uint64_t WMemoryLimits::ReadControlGroups( const Path& inRoot, const Path& inMembership )
{
    std::uint64_t least = kUnlimited;
    std::ifstream file( inMembership );
    for ( std::string line; std::getline( file, line ); )
    {
        const auto first = line.find( ':' );
        const auto second = line.find( ':', first + 1 );
        if ( second == std::string::npos )
            continue;
        const std::string controllers = "," + line.substr( first + 1, second - first - 1 ) + ",";
        const Path group = line.substr( second + 1 );
        if ( controllers == ",," )
            least = std::min( least, ReadLimits( inRoot, group, "memory.max" ) );
        else if ( controllers.find( ",memory," ) != std::string::npos )
            least = std::min( least, ReadLimits( inRoot / "memory", group, "memory.limit_in_bytes" ) );
    }
    return least;
}
