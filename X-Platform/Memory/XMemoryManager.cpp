#include "Memory/XMemoryManager.h"

#include "Core/XErrorNumbers.h"
#include "Core/XException.h"
#include "Memory/WMemoryManager.h"
#include "Memory/XMallocMemoryBlock.h"
#include "Memory/XMemoryBudget.h"
#include "Memory/XMemoryManagerListener.h"
#include "Memory/XPageHeap.h"
#include "Memory/XPurgePolicy.h"
#include "Memory/XRegionQueries.h"
#include "Services/XSessionLogManager.h"
#include "Threads/XThreadLock.h"
#include "WAddressSpace.h"
#include "WFolders.h"
#include "WMemoryLimits.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>

namespace
{

std::atomic<XMemoryManager*> sStandIn = nullptr; // the one constructed last

USize64 GetDefaultBudget()
{
    return WMemoryLimits::GetBytes() / 10 * 6;
}

USize64 AlignUp( USize64 inSize, USize64 inUnit )
{
    return ( inSize + inUnit - 1 ) & ~( inUnit - 1 );
}

} // namespace

XMemoryManager::XMemoryManager( XRole inRole )
    : itsPrevious( sStandIn.load() ), itsBudget( std::make_unique<XMemoryBudget>( GetDefaultBudget() ) ),
      itsPageHeap( std::make_unique<XPageHeap>( *this ) )
{
    if ( inRole == kStandIn )
        sStandIn = this;
}

XMemoryManager::~XMemoryManager()
{
    if ( sStandIn == this )
        sStandIn = itsPrevious;
}

/// The process's manager lives until the process ends, since blocks may live as long. No thread sees it before it is
/// complete.
XMemoryManager* XMemoryManager::GetManager()
{
    if ( XMemoryManager* manager = sStandIn.load( std::memory_order_acquire ) )
        return manager;
    static XMemoryManager* const sOwn = new WMemoryManager( kProcessManager );
    return sOwn;
}

// ---- The budget

void XMemoryManager::SetBudget( USize64 inBytes )
{
    itsBudget->SetLimit( inBytes );
}

USize64 XMemoryManager::GetBudget() const
{
    return itsBudget->GetLimit();
}

USize64 XMemoryManager::GetBytesInUse() const
{
    return itsBudget->GetInUse();
}

USize64 XMemoryManager::GetPeakBytesInUse() const
{
    return itsBudget->GetPeak();
}

void XMemoryManager::ResetPeak()
{
    itsBudget->ResetPeak();
}

/// Other threads may take what this one has freed, or keep locked for a moment what it could free. So it tries for as
/// long as a purge waits for a block, unless the disk is what refuses.
void XMemoryManager::AboutToAllocate( USize64 inSize )
{
    constexpr int kMostFutileTurns = 100;
    for ( int futileTurns = 0; !itsBudget->TryTake( inSize ); )
    {
        const XRoomResult result =
            inSize > GetBudget() ? kCannotMakeRoom : MakeRoom( itsBudget->GetShortage( inSize ) );
        if ( result == kMadeRoom )
            continue;
        if ( result == kCannotMakeRoom || ++futileTurns > kMostFutileTurns )
            XThrow( kErrorOutOfMemory );
        std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
    }
}

void XMemoryManager::HasFreed( USize64 inSize )
{
    itsBudget->Give( inSize );
}

/// Listeners may claim what they like: what counts is what is in use afterwards.
XMemoryManager::XRoomResult XMemoryManager::MakeRoom( USize64 inBytes )
{
    const XPurgeResult purged = PurgeOldest( inBytes );
    if ( purged.bytes >= inBytes )
        return kMadeRoom;
    const USize64 before = GetBytesInUse();
    NotifyListenersFreeMemory( inBytes - purged.bytes );
    if ( purged.bytes > 0 || GetBytesInUse() < before )
        return kMadeRoom;
    return purged.hasFailed || GetPurgeableBlockCount() == 0 ? kCannotMakeRoom : kMayMakeRoomSoon;
}

XMemoryManager::XPurgeResult XMemoryManager::PurgeOldest( USize64 inBytes )
{
    const XThreadLock lock( itsMemoryMutex );
    XVector<XMemoryBlock*> blocks = CopyBlocks();
    std::erase_if( blocks, []( const XMemoryBlock* inBlock ) { return inBlock->IsProbablyLocked(); } );
    XPurgePolicy::SortByAge( blocks );
    XPurgeResult result;
    for ( auto block = blocks.begin(); block != blocks.end() && result.bytes < inBytes; ++block )
    {
        const XPurgeResult purged = TryToPurge( **block );
        result.bytes += purged.bytes;
        result.hasFailed |= purged.hasFailed;
    }
    return result;
}

USize64 XMemoryManager::GetMaxBlockSize( USize64 inSize )
{
    const XThreadLock lock( itsMemoryMutex );
    USize64 fixed = GetBytesInUse();
    for ( const XMemoryBlock* block : itsBlocks )
        if ( !block->IsProbablyLocked() )
            fixed -= std::min( fixed, block->GetTrueSize() );
    const USize64 budget = GetBudget();
    return std::min( inSize, budget > fixed ? budget - fixed : 0 );
}

// ---- Freeing memory and address space

USize64 XMemoryManager::FreeMemory( USize64 inBytes, std::uint32_t inFlags )
{
    if ( !( inFlags & kFreeWithoutLogEntry ) )
        XSessionLogManager::Log( kLogInformation, "Memory low - freeing memory to make space" );
    if ( inFlags & ( kFreeBelowAddress | kFreeAboveAddress ) )
    {
        const USize64 below = inFlags & kFreeBelowAddress ? FreeBlocksInRange( 0, inBytes ) : 0;
        constexpr std::uint64_t kEnd = std::numeric_limits<std::uint64_t>::max();
        return below + ( inFlags & kFreeAboveAddress ? FreeBlocksInRange( inBytes, kEnd ) : 0 );
    }
    USize64 freed = FreeMemorySelf( inBytes );
    if ( freed < inBytes )
        freed += NotifyListenersFreeMemory( inBytes - freed );
    ++itsFreeCount;
    return freed;
}

USize64 XMemoryManager::FreeMemorySelf( USize64 inBytes )
{
    const XRegionQueries queries( *this );
    XPurgePolicy policy(
        *this, CopyBlocks(), [this]( XMemoryBlock& ioBlock ) { return TryToPurge( ioBlock ).bytes > 0; } );
    return policy.Free( inBytes );
}

USize64 XMemoryManager::FreeBlocksInRange( std::uint64_t inBegin, std::uint64_t inEnd )
{
    const XThreadLock lock( itsMemoryMutex );
    USize64 freed = 0;
    for ( XMemoryBlock* block : CopyBlocks() )
    {
        const std::uint64_t address = block->GetTrueAddress();
        const bool isInRange = address < inEnd && address + block->GetTrueSize() > inBegin;
        if ( isInRange && !block->IsProbablyLocked() )
            freed += TryToPurge( *block ).bytes;
    }
    return freed;
}

/// A block that another thread is busy with is passed over at once: that thread may be waiting for the memory mutex.
XMemoryManager::XPurgeResult XMemoryManager::TryToPurge( XMemoryBlock& ioBlock )
{
    if ( !ioBlock.GetMutex().TryLock() )
        return {};
    const XThreadLock lock( ioBlock.GetMutex() ); // in the place of the one above
    ioBlock.GetMutex().Unlock();
    const USize64 size = ioBlock.GetTrueSize();
    try
    {
        ioBlock.Purge();
        ++itsPurgeCount;
        return { size, false };
    }
    catch ( const XException& error )
    {
        return { 0, error.GetErrorNumber() != kErrorMemoryNotPurged };
    }
    catch ( ... )
    {
        return { 0, true };
    }
}

std::uint32_t XMemoryManager::GetPurgeableBlockCount()
{
    const XThreadLock lock( itsMemoryMutex );
    return static_cast<std::uint32_t>( itsBlocks.size() );
}

USize64 XMemoryManager::GetLargestPurgeableBlockSize()
{
    const XThreadLock lock( itsMemoryMutex );
    USize64 largest = 0;
    for ( const XMemoryBlock* block : itsBlocks )
        largest = std::max( largest, block->GetTrueSize() );
    return largest;
}

void XMemoryManager::AddListener( XMemoryManagerListener* inListener )
{
    const XThreadLock lock( itsAllocationMutex );
    itsListeners.push_back( inListener );
}

void XMemoryManager::RemoveListener( XMemoryManagerListener* inListener )
{
    const XThreadLock lock( itsAllocationMutex );
    std::erase( itsListeners, inListener );
}

/// Over a copy: a listener may remove itself.
USize64 XMemoryManager::NotifyListenersFreeMemory( USize64 inBytes )
{
    const XThreadLock lock( itsAllocationMutex, kNoTimeout, true );
    USize64 freed = 0;
    for ( XMemoryManagerListener* listener : XVector<XMemoryManagerListener*>( itsListeners ) )
    {
        if ( freed >= inBytes )
            break;
        try
        {
            freed += listener->FreeMemory( inBytes - freed );
        }
        catch ( ... )
        {
            // The next one may still free what is wanted.
        }
    }
    return freed;
}

// ---- The address space

std::uint64_t XMemoryManager::GetFreeSpaceBeforeAddr( std::uint64_t inAddress )
{
    std::uint64_t base = 0;
    std::uint64_t size = 0;
    std::uint32_t protection = 0;
    XRegionState state = kRegionInUse;
    if ( inAddress == 0 || !QueryRegionInfo( inAddress - 1, base, size, state, protection ) )
        return 0;
    return state == kRegionFree ? ( inAddress - base ) & ~( GetAllocationGranularity() - 1 ) : 0;
}

std::uint64_t XMemoryManager::GetFreeSpaceAfterAddr( std::uint64_t inAddress )
{
    std::uint64_t base = 0;
    std::uint64_t size = 0;
    std::uint32_t protection = 0;
    XRegionState state = kRegionInUse;
    if ( !QueryRegionInfo( inAddress, base, size, state, protection ) )
        return 0;
    return state == kRegionFree ? ( base + size - inAddress ) & ~( GetAllocationGranularity() - 1 ) : 0;
}

std::uint64_t XMemoryManager::GetAllocationGranularity()
{
    return WAddressSpace::GetAllocationGranularity();
}

USize64 XMemoryManager::AlignSizeToAllocationGranularity( USize64 inSize )
{
    return AlignUp( inSize, WAddressSpace::GetAllocationGranularity() );
}

USize64 XMemoryManager::AlignSizeToPageSize( USize64 inSize )
{
    return AlignUp( inSize, WAddressSpace::GetPageSize() );
}

// ---- Memory in whole pages

void* XMemoryManager::PageAlignedAlloc( USize64 inSize )
{
    return itsPageHeap->Allocate( inSize );
}

void* XMemoryManager::PageAlignedRealloc( void* inMemory, USize64 inSize )
{
    return itsPageHeap->Reallocate( inMemory, inSize );
}

void XMemoryManager::PageAlignedFree( void* inMemory )
{
    itsPageHeap->Free( inMemory );
}

USize64 XMemoryManager::PageAlignedGetSize( const void* inMemory )
{
    return itsPageHeap->GetSize( inMemory );
}

// ---- Blocks

XMemoryBlock* XMemoryManager::MakeBlock( USize64 inSize )
{
    return new XMallocMemoryBlock( inSize );
}

void XMemoryManager::AddBlock( XMemoryBlock* inBlock )
{
    const XThreadLock lock( itsMemoryMutex );
    itsBlocks.insert( inBlock );
}

void XMemoryManager::RemoveBlock( XMemoryBlock* inBlock )
{
    const XThreadLock lock( itsMemoryMutex );
    itsBlocks.erase( inBlock );
}

XVector<XMemoryBlock*> XMemoryManager::CopyBlocks() const
{
    return XVector<XMemoryBlock*>( itsBlocks.begin(), itsBlocks.end() );
}

void XMemoryManager::NotePurge( USize64 inSize )
{
    ++itsPurges;
    itsPurgedBytes += inSize;
}

void XMemoryManager::NoteReload( USize64 inSize )
{
    ++itsReloads;
    itsReloadedBytes += inSize;
}

void XMemoryManager::SetTemporaryFolder( const std::filesystem::path& inFolder )
{
    const XThreadLock lock( itsFolderMutex );
    itsTemporaryFolder = inFolder;
}

std::filesystem::path XMemoryManager::GetTemporaryFolder() const
{
    const XThreadLock lock( itsFolderMutex );
    return itsTemporaryFolder.empty() ? WFolders::GetTemporaryFolder() : itsTemporaryFolder;
}
