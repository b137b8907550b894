#include "Imaging/Measurements/XMeasurementMemory.h"

#include "Core/Errors/XException.h"
#include "Ground/XErrorNumbers.h"
#include "Memory/XMappedFileMemoryHandle.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

// Measurements of finished pages wait in purgeable chunks until the table is made. A page's vectors are
// copied one behind the other into the current chunk; a chunk is shared by consecutive pages and goes with
// the last of them. The chunks are small beside the budget, as a page's turn needs its chunk locked.
//
// Memory is optional here: a page that cannot be kept stays where it is (Keep), and a table that does not fit
// is still made, only not counted any more (itsIsFull).

namespace
{
constexpr std::uint64_t kMostChunkBytes = 256 * 1024;
constexpr std::uint64_t kChunksInBudget = 64; // at least: chunks take little of the room that pages need

std::size_t GetChunkSize()
{
    const auto share = XMemoryManager::GetManager()->GetBudget() / kChunksInBudget;
    return static_cast<std::size_t>(
        XMemoryManager::AlignSizeToPageSize( std::clamp<std::uint64_t>( share, 1, kMostChunkBytes ) ) );
}

/// Calls `inAction( values )` for each vector of the page's objects.
template<class TPage, class TAction>
void ForEachPart( TPage& ioPage, TAction inAction )
{
    inAction( ioPage.shapes );
    inAction( ioPage.statistics );
    inAction( ioPage.forms );
    inAction( ioPage.parents );
}

template<class T>
std::size_t CountBytes( const std::vector<T>& inPart )
{
    static_assert( std::is_trivially_copyable_v<T> );
    return inPart.size() * sizeof( T );
}

/// Runs the action; returns false if there is no room or no mapping.
template<class TAction>
bool HasRoomFor( TAction inAction )
{
    try
    {
        inAction();
        return true;
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorOutOfMemory && error.GetErrorNumber() != kErrorMemoryNotMapped )
            throw;
        return false;
    }
}
} // namespace

XMeasurementMemory::~XMeasurementMemory()
{
    UncountTable();
}

void XMeasurementMemory::Keep( XPageMeasurement& ioPage )
{
    std::size_t size = 0;
    ForEachPart( ioPage, [&]( const auto& inPart ) { size += CountBytes( inPart ); } );
    if ( size == 0 )
        return;
    const auto place = Reserve( size );
    const auto keep = [&]
    {
        const auto bytes = itsPages.Lock( *place.chunk, kLockForWrite );
        auto* to = bytes.get() + place.offset;
        const auto keepPart = [&]( const auto& inPart )
        {
            if ( !inPart.empty() )
                std::memcpy( to, inPart.data(), CountBytes( inPart ) );
            to += CountBytes( inPart );
        };
        ForEachPart( ioPage, keepPart );
    };
    if ( !HasRoomFor( keep ) )
        return;
    ioPage.Release();
    ioPage.kept = place.chunk;
    ioPage.keptOffset = place.offset;
}

XMeasurementMemory::XPlace XMeasurementMemory::Reserve( std::size_t inBytes )
{
    // Guards the division of chunks only: threads copy to their places at the same time.
    const XThreadLock lock( itsMutex );
    if ( !itsChunk || inBytes > itsChunk->GetDataSize() - itsChunkEnd )
    {
        itsChunk = std::make_shared<XMappedFileMemoryHandle>( std::max( inBytes, GetChunkSize() ) );
        itsChunkEnd = 0;
    }
    return { itsChunk, std::exchange( itsChunkEnd, itsChunkEnd + inBytes ) };
}

void XMeasurementMemory::BringBack( XPageMeasurement& ioPage )
{
    if ( !ioPage.kept )
        return;
    itsChunk.reset(); // It goes with the last of its pages.
    if ( HasRoomFor( [&] { BringBackNow( ioPage ); } ) )
        return;
    itsIsFull = true;
    UncountTable();
    BringBackNow( ioPage );
}

void XMeasurementMemory::BringBackNow( XPageMeasurement& ioPage )
{
    // A copy, so that a failure leaves the page as it was.
    auto page = ioPage;
    page.kept.reset();
    page.parents.resize( std::exchange( page.releasedChildren, 0 ) );
    page.shapes.resize( std::exchange( page.releasedOuter, 0 ) + page.parents.size() );
    page.statistics.resize( page.shapes.size() * page.channels );
    page.forms.resize( page.hasForms ? page.shapes.size() : 0 );
    {
        const auto bytes = itsPages.Lock( *ioPage.kept, kLockForRead );
        const auto* from = bytes.get() + ioPage.keptOffset;
        const auto takePart = [&]( auto& outPart )
        {
            if ( !outPart.empty() )
                std::memcpy( outPart.data(), from, CountBytes( outPart ) );
            from += CountBytes( outPart );
        };
        ForEachPart( page, takePart );
        ioPage.kept->CheckIntact();
    }
    ioPage = std::move( page );
}

void XMeasurementMemory::CountTable( std::uint64_t inBytes )
{
    if ( itsIsFull || inBytes <= itsTableBytes )
        return;
    const auto more = inBytes - itsTableBytes;
    itsIsFull = !HasRoomFor( [&] { XMemoryManager::GetManager()->AboutToAllocate( more ); } );
    if ( !itsIsFull )
        itsTableBytes = inBytes;
}

void XMeasurementMemory::UncountTable()
{
    XMemoryManager::GetManager()->HasFreed( std::exchange( itsTableBytes, 0 ) );
}
