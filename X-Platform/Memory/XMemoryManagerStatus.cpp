#include "Core/Errors/XException.h"
#include "Memory/Internal/XMemoryBudget.h"
#include "Memory/Internal/XRegionQueries.h"
#include "Memory/XMappedFileMemoryHandle.h"
#include "Memory/XResourceTracker.h"
#include "Threads/XLock.h"

#include <algorithm>
#include <new>
#include <string>

// Reports on the manager and the address space.

template<class TVisit>
void XMemoryManager::VisitRegions( TVisit inVisit )
{
    const XRegionQueries queries( *this );
    std::uint64_t base = 0;
    std::uint64_t size = 0;
    XRegionState state = kRegionFree;
    std::uint32_t protection = 0;
    for ( std::uint64_t address = 0; QueryRegionInfo( address, base, size, state, protection );
          address = base + size )
        inVisit( base, size, state );
}

std::uint64_t XMemoryManager::GetAddressSpaceInUse()
{
    std::uint64_t inUse = 0;
    VisitRegions( [&]( std::uint64_t, std::uint64_t inSize, XRegionState inState )
                  { inUse += inState == kRegionFree ? 0 : inSize; } );
    return inUse;
}

XMemoryManager::XFigures XMemoryManager::GetFigures()
{
    return { GetPurgeableBlockCount(), itsPurges,       itsPurgedBytes,      itsReloads,
             itsReloadedBytes,         GetBytesInUse(), GetPeakBytesInUse(), GetBudget() };
}

XString XMemoryManager::GetDebugStatus()
{
    const XFigures figures = GetFigures();
    std::string text;
    const auto addLine = [&]( const char* inLabel, std::uint64_t inValue )
    { text += std::string( inLabel ) + ": " + std::to_string( inValue ) + "\n"; };
    addLine( "budget", figures.budget );
    addLine( "bytes in use", figures.bytesInUse );
    addLine( "peak bytes in use", figures.peakBytes );
    addLine( "bytes kept for new blocks", itsBudget->GetSpare() );
    addLine( "purgeable blocks", figures.purgeableBlocks );
    addLine( "largest purgeable block", GetLargestPurgeableBlockSize() );
    addLine( "blocks purged", figures.purges );
    addLine( "bytes purged", figures.purgedBytes );
    addLine( "blocks reloaded", figures.reloads );
    addLine( "bytes reloaded", figures.reloadedBytes );
    addLine( "requests to free memory", GetFreeCount() );
    addLine( "address space", GetAddressSpaceSize() );
    addLine( "address space in use", GetAddressSpaceInUse() );
    for ( const auto& [kind, count] : XResourceTracker::GetAll() )
    {
        addLine( ( kind + ", number" ).c_str(), count.number );
        addLine( ( kind + ", bytes" ).c_str(), count.bytes );
    }
    return XString( text );
}

void XMemoryManager::MakeHeapImage( XMemoryHandle& outHandle, USize64 inSize )
{
    struct XRange
    {
        std::uint64_t begin;
        std::uint64_t end;
    };
    XVector<XRange> ranges;
    VisitRegions(
        [&]( std::uint64_t inBase, std::uint64_t inLength, XRegionState inState )
        {
            if ( inState != kRegionFree )
                // Collected first: resizing the handle changes the address space.
                ranges.push_back( { inBase, inBase + inLength } );
        } );
    outHandle.Resize( inSize );
    outHandle.Clear( 0 );
    if ( ranges.empty() || inSize == 0 )
        return;

    const XLock lock( outHandle, kLockForWrite );
    auto* pixels = static_cast<std::uint8_t*>( outHandle.GetData() );
    const std::uint64_t first = ranges.front().begin;
    const double part = static_cast<double>( ranges.back().end - first ) / static_cast<double>( inSize );
    XVector<double> shares( inSize );
    for ( const XRange& range : ranges )
    {
        const double begin = static_cast<double>( range.begin - first ) / part;
        const double end = static_cast<double>( range.end - first ) / part;
        const auto last = std::min( static_cast<USize64>( end ), inSize - 1 );
        for ( auto i = static_cast<USize64>( begin ); i <= last; ++i )
        {
            const auto left = static_cast<double>( i );
            // The overlap of the range with the part [i, i + 1), in units of parts.
            shares[i] += std::max( std::min( end, left + 1 ) - std::max( begin, left ), 0.0 );
        }
    }
    // A region in use must be visible even in an image of a mostly empty address space.
    for ( USize64 i = 0; i < inSize; ++i )
        pixels[i] =
            shares[i] > 0 ? static_cast<std::uint8_t>( std::clamp( shares[i] * 255, 1.0, 255.0 ) ) : 0;
}

void XMemoryManager::TestOutOfMemory( USize64 blockSize )
{
    XAssert( blockSize != 0 );
    XVector<XMappedFileMemoryHandle> handles;
    try
    {
        while ( GetPurgeCount() == 0 )
        {
            handles.emplace_back( blockSize );
            const XLock lock( handles.back(), kLockForReadWrite );
        }
    }
    // Out of memory, or of address space, is one of the two ends of the test.
    catch ( const XException& )
    {
    }
    catch ( const std::bad_alloc& )
    {
    }
}
