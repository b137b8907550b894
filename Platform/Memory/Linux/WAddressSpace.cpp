#include "Memory/WAddressSpace.h"

#include <charconv>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace
{

/// The whole of /proc/self/maps, in as few reads as the system allows.
std::string ReadMaps()
{
    const int descriptor = ::open( "/proc/self/maps", O_RDONLY | O_CLOEXEC );
    if ( descriptor == -1 )
        return {};
    std::string text;
    std::size_t used = 0;
    for ( ;; )
    {
        text.resize( used + 256 * 1024 );
        const auto count = ::read( descriptor, text.data() + used, text.size() - used );
        if ( count <= 0 )
            break;
        used += static_cast<std::size_t>( count );
    }
    ::close( descriptor );
    text.resize( used );
    return text;
}

/// "7f2a3c000000-7f2a3c021000 rw-p 00000000 00:00 0 ...", without its line break.
WAddressSpace::Region ParseLine( const char* inBegin, const char* inEnd )
{
    std::uint64_t base = 0;
    std::uint64_t end = 0;
    const char* dash = std::from_chars( inBegin, inEnd, base, 16 ).ptr;
    const char* protection = std::from_chars( dash + 1, inEnd, end, 16 ).ptr + 1;
    std::uint32_t bits = 0;
    bits |= protection[0] == 'r' ? WAddressSpace::kCanRead : 0;
    bits |= protection[1] == 'w' ? WAddressSpace::kCanWrite : 0;
    bits |= protection[2] == 'x' ? WAddressSpace::kCanExecute : 0;
    return { base, end - base, bits ? WAddressSpace::kInUse : WAddressSpace::kReserved, bits };
}

void AppendFreeUpTo( std::uint64_t inBase, std::vector<WAddressSpace::Region>& ioRegions )
{
    const std::uint64_t end = ioRegions.empty() ? 0 : ioRegions.back().GetEnd();
    if ( end < inBase )
        ioRegions.push_back( { end, inBase - end, WAddressSpace::kFree, 0 } );
}

} // namespace

std::vector<WAddressSpace::Region> WAddressSpace::ReadRegions()
{
    const std::string text = ReadMaps();
    std::vector<Region> regions;
    for ( std::size_t begin = 0; begin < text.size(); )
    {
        const std::size_t end = std::min( text.find( '\n', begin ), text.size() );
        const Region region = ParseLine( text.data() + begin, text.data() + end );
        begin = end + 1;
        if ( region.base >= GetEnd() ) // the system's own pages
            break;
        AppendFreeUpTo( region.base, regions );
        regions.push_back( region );
    }
    AppendFreeUpTo( GetEnd(), regions );
    return regions;
}

std::uint64_t WAddressSpace::GetEnd()
{
    return 0x7FFFFFFFF000;
}

std::uint64_t WAddressSpace::GetPageSize()
{
    static const auto sSize = static_cast<std::uint64_t>( ::sysconf( _SC_PAGESIZE ) );
    return sSize;
}

std::uint64_t WAddressSpace::GetAllocationGranularity()
{
    return GetPageSize();
}
