#include "Memory/XMemoryManager.h"

#include "Core/Errors/XException.h"
#include "Files/WFolders.h"
#include "Ground/XErrorNumbers.h"
#include "Memory/Internal/XMemoryBudget.h"
#include "Memory/Internal/XPageHeap.h"
#include "Memory/Internal/XPurgePolicy.h"
#include "Memory/Internal/XPurgeableBlocks.h"
#include "Memory/Internal/XRegionQueries.h"
#include "Memory/Internal/XRoomWaiters.h"
#include "Memory/Internal/XSpareViews.h"
#include "Memory/Internal/XSpillPlace.h"
#include "Memory/WAddressSpace.h"
#include "Memory/WMemoryLimits.h"
#include "Memory/WMemoryManager.h"
#include "Memory/XMallocMemoryBlock.h"
#include "Memory/XMemoryManagerListener.h"
#include "Services/XSessionLogManager.h"
#include "Threads/XThreadLock.h"
#include "Time/WClock.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <limits>
#include <utility>

// How room is made. Every reservation is a compare-and-swap on the budget (XMemoryBudget::TryTake); only if
// that fails does AboutToAllocate enter its loop. One attempt of the loop tries, from the cheapest to the
// most expensive: spare views, which cost an unmapping; purges, from the least recently locked block on,
// which may write to the disk; listeners; and waiting for other threads. After each step the budget is tried
// again, since another thread may have taken what this one has freed.
//
// The loop ends because each attempt either freed something or waited for a change, and a wait is refused
// when nobody is left who could make room (see XRoomWaiters). Listeners are asked in the first attempt and
// once more before giving up, not in each one, as they may be slow and usually have nothing more to give.
//
// Purging without the memory mutex. The mutex guards the order of blocks and is held only while a block is
// chosen. LockNext returns the block with its own mutex locked, and since a block is removed from the list
// under its mutex, at the latest in its destructor, it cannot disappear while it is written to the disk. A
// block whose mutex another thread holds is skipped: that thread may be waiting for the memory mutex.
//
// Locks. The memory mutex may be taken under a block's mutex and under the allocation mutex, never the other
// way round: a search only tries the mutex of a block. The mutexes of XRoomWaiters come last. Listeners run
// under the allocation mutex, hence the restrictions that XMemoryManagerListener states.
//
// A refusing disk. A write of some size that fails will fail for larger sizes too, so one attempt tries no
// larger block that would have to be written (refusedSize), but still purges blocks whose bytes are in a file
// already.

namespace
{

// Stand-ins nest: each one restores its predecessor.
std::atomic<XMemoryManager*> sStandIn = nullptr; // the one constructed last

USize64 GetDefaultBudget()
{
    // The rest is for the program's other memory and for the file cache, which serves reloads.
    return WMemoryLimits::GetBytes() / 10 * 6;
}

USize64 AlignUp( USize64 inSize, USize64 inUnit )
{
    return ( inSize + inUnit - 1 ) & ~( inUnit - 1 );
}

std::int64_t GetMillisecondsSince( std::int64_t inTicks )
{
    return ( WClock::GetCoarseTicks() - inTicks ) * 1000 / CLOCKS_PER_SEC;
}

} // namespace

XMemoryManager::XMemoryManager( XRole inRole )
    : itsPrevious( sStandIn.load() ), itsBlocks( std::make_unique<XPurgeableBlocks>() ),
      itsBudget( std::make_unique<XMemoryBudget>( GetDefaultBudget() ) ),
      itsRoomWaiters( std::make_unique<XRoomWaiters>() ), itsSpareViews( std::make_unique<XSpareViews>() ),
      itsSpillPlace( std::make_unique<XSpillPlace>( *this ) ),
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
    ReleaseSpareViews( std::max( itsBudget->GetShortage( 0 ), GetSpareExcess() ) );
    itsRoomWaiters->SomethingChanged();
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

/// One thread's attempts to make room.
struct XMemoryManager::XRoomSearch
{
    explicit XRoomSearch( XRoomWaiters& ioWaiters ) : waiter( ioWaiters ) {}

    XRoomWaiters::XWaiter waiter;
    std::int64_t hopefulTime =
        WClock::GetCoarseTicks();     // when there was last more than busy threads to wait for
    bool asksListeners = true;        // in the next attempt
    XPurgeableBlocks::XSearch blocks; // of the last attempt, as the next one
    bool hasPurgeFailed = false;
    USize64 refusedSize = std::numeric_limits<USize64>::max(); // by the disk: no more so large ones are tried
};

/// Out of memory because the disk refuses purges.
class XMemoryManager::XNoRoomException : public XException
{
public:
    explicit XNoRoomException( const XString& inCause ) : XException( kErrorOutOfMemory ), itsCause( inCause )
    {
    }

    XString GetRawErrorMessage() const override { return XException::GetRawErrorMessage() + "; " + itsCause; }

private:
    XString itsCause;
};

/// Other threads may take the memory that this one has freed, or briefly lock blocks that it could purge.
void XMemoryManager::AboutToAllocate( USize64 inSize )
{
    if ( itsBudget->TryTake( inSize ) )
        return;
    XRoomSearch search( *itsRoomWaiters );
    while ( !itsBudget->TryTake( inSize ) )
    {
        // No purge can help; asked each time because the budget may change meanwhile.
        if ( inSize > GetBudget() )
            XThrow( kErrorOutOfMemory );
        const USize64 shortage = itsBudget->GetShortage( inSize );
        if ( !ReleaseSpareViews( shortage ) && !MakeRoom( shortage, search ) && !WaitForRoom( search ) )
            ThrowNoRoom( search );
        search.waiter.BeginAttempt();
    }
}

void XMemoryManager::ThrowNoRoom( const XRoomSearch& inSearch ) const
{
    const XString cause = inSearch.hasPurgeFailed ? itsSpillPlace->GetFailure() : XString();
    if ( cause.IsEmpty() )
        XThrow( kErrorOutOfMemory );
    throw XNoRoomException( cause );
}

void XMemoryManager::HasFreed( USize64 inSize )
{
    itsBudget->Give( inSize );
    itsRoomWaiters->SomethingChanged();
}

/// The results of listeners are not trusted: the bytes in use afterwards are decisive.
bool XMemoryManager::MakeRoom( USize64 inBytes, XRoomSearch& ioSearch )
{
    // Partial success counts too: the caller tries the budget again and comes back for the rest.
    const USize64 purged = PurgeOldest( inBytes, ioSearch );
    if ( purged >= inBytes )
        return true;
    const USize64 before = GetBytesInUse();
    if ( ioSearch.asksListeners )
        NotifyListenersFreeMemory( inBytes - purged );
    return purged > 0 || GetBytesInUse() < before;
}

USize64 XMemoryManager::PurgeOldest( USize64 inBytes, XRoomSearch& ioSearch )
{
    ioSearch.blocks = {};
    ioSearch.hasPurgeFailed = false;
    // Each attempt starts anew, since the disk may have room again.
    ioSearch.refusedSize = std::numeric_limits<USize64>::max();
    const auto lockNext = [&]
    {
        const XThreadLock lock( itsMemoryMutex );
        return itsBlocks->LockNext( ioSearch.blocks );
    };
    XPurgeResult sum;
    while ( sum.bytes < inBytes )
    {
        XMemoryBlock* const block = lockNext();
        if ( !block )
            break;
        const bool isWritten = block->IsPurgedByWriting();
        const USize64 size = block->GetTrueSize();
        if ( isWritten && size >= ioSearch.refusedSize )
        {
            // Passed over, as it would be refused too.
            block->GetMutex().Unlock();
            continue;
        }
        const XPurgeResult purged = PurgeLocked( *block );
        sum.bytes += purged.bytes;
        ioSearch.hasPurgeFailed |= purged.hasFailed;
        if ( isWritten && purged.hasFailed )
            ioSearch.refusedSize = size;
    }
    return sum.bytes;
}

/// Listeners are asked at first, and once more before the search ends. Returns false when it has ended.
bool XMemoryManager::WaitForRoom( XRoomSearch& ioSearch )
{
    // While the search only waits, listeners are left alone: see the head of this file.
    const bool hasAskedListeners = std::exchange( ioSearch.asksListeners, false );
    if ( MayWait() && ioSearch.waiter.WaitForChange( [&] { return GetPatienceFor( ioSearch ); } ) )
        return true;
    ioSearch.asksListeners = true;
    return !hasAskedListeners;
}

/// Not with what others need to make room, or to decide whether to wait.
bool XMemoryManager::MayWait() const
{
    // Another thread needs the first to unlock a block (HasUnlocked), and the second to call its listeners.
    return !itsMemoryMutex.IsLockedByCurrentThread() && !itsAllocationMutex.IsLockedByCurrentThread();
}

/// The number of milliseconds to wait for a change. Neither a thread that is busy with a block nor a failing
/// purge announces its end.
std::uint32_t XMemoryManager::GetPatienceFor( XRoomSearch& ioSearch )
{
    // Short where the end of what is waited for announces nothing (the mutex of a busy block), long where a
    // change wakes the waiters and the limit is only a precaution.
    constexpr std::uint32_t kShortWaitMS = 10;
    constexpr std::uint32_t kLongWaitMS = 500;
    // The disk refuses: no other thread's unlock would help, since its block could not be written either.
    if ( ioSearch.hasPurgeFailed )
        return 0;
    const auto isActive = [&]( std::uint32_t inThread )
    { return !ioSearch.waiter.HasWaitedMeanwhile( inThread ); };
    const bool isBusy = ioSearch.blocks.HasBusyThread( isActive );
    // A thread that carries a block in or out of memory will end that by itself, so its transit needs no
    // patience.
    const std::uint32_t lockPatience = itsRoomWaiters->HasTransits() ? kLongWaitMS : GetPatienceForLocks();
    if ( lockPatience > 0 )
        ioSearch.hopefulTime = WClock::GetCoarseTicks();
    if ( isBusy )
        return std::min( kShortWaitMS, GetPatienceSince( ioSearch.hopefulTime ) );
    return std::min( kLongWaitMS, lockPatience );
}

/// For how long one of the locks that were found is still waited for.
std::uint32_t XMemoryManager::GetPatienceForLocks()
{
    const XThreadLock lock( itsMemoryMutex );
    std::uint32_t patience = 0;
    itsBlocks->IsAnySetAside(
        [&]( const XMemoryBlock& inBlock )
        {
            const bool isWaiting = itsRoomWaiters->IsWaiting( inBlock.GetLockThread() );
            patience = isWaiting ? 0 : GetPatienceSince( inBlock.GetLastLockTime() );
            return patience > 0;
        } );
    return patience;
}

/// The remaining patience, in milliseconds, for a lock taken at that time.
std::uint32_t XMemoryManager::GetPatienceSince( std::int64_t inTicks ) const
{
    const std::int64_t patience = itsPatience;
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>( patience - GetMillisecondsSince( inTicks ), 0, patience ) );
}

USize64 XMemoryManager::GetMaxBlockSize( USize64 inSize )
{
    const XThreadLock lock( itsMemoryMutex );
    // What cannot be purged: heap memory, locked blocks, and whatever else has been reserved.
    USize64 fixed = GetBytesInUse();
    for ( const XMemoryBlock* block : itsBlocks->GetAll() )
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
    ReleaseSpareViews( itsBudget->GetSpare() );
    // Here `inBytes` is an address.
    if ( inFlags & ( kFreeBelowAddress | kFreeAboveAddress ) )
    {
        const USize64 below = inFlags & kFreeBelowAddress ? FreeBlocksInRange( 0, inBytes ) : 0;
        constexpr std::uint64_t kEnd = std::numeric_limits<std::uint64_t>::max();
        return below + ( inFlags & kFreeAboveAddress ? FreeBlocksInRange( inBytes, kEnd ) : 0 );
    }
    USize64 freed = FreeMemorySelf( inBytes );
    if ( freed < inBytes )
        freed += NotifyListenersFreeMemory( inBytes - freed );
    ReleaseSpareViews( itsBudget->GetSpare() ); // what listeners have given up
    ++itsFreeCount;
    return freed;
}

USize64 XMemoryManager::FreeMemorySelf( USize64 inBytes )
{
    // Holds the memory mutex, so that the blocks in the policy's list cannot disappear while it looks at
    // them. During a purge (XGap) they can: LockListed then looks them up again by their addresses.
    XRegionQueries queries( *this );
    const auto purge = [&]( XMemoryBlock* inBlock ) -> USize64
    {
        if ( !LockListed( inBlock ) )
            return 0;
        const XRegionQueries::XGap gap( queries );
        return PurgeLocked( *inBlock ).bytes;
    };
    XPurgePolicy policy( *this, itsBlocks->GetAll(), purge );
    return policy.Free( inBytes );
}

USize64 XMemoryManager::FreeBlocksInRange( std::uint64_t inBegin, std::uint64_t inEnd )
{
    const auto isInRange = [&]( const XMemoryBlock* inBlock )
    {
        const std::uint64_t address = inBlock->GetTrueAddress();
        return address < inEnd && address + inBlock->GetTrueSize() > inBegin;
    };
    XVector<XMemoryBlock*> blocks;
    {
        const XThreadLock lock( itsMemoryMutex );
        blocks = itsBlocks->GetAll();
        std::erase_if( blocks, std::not_fn( isInRange ) );
    }
    USize64 freed = 0;
    for ( XMemoryBlock* block : blocks )
        freed += LockListed( block ) ? PurgeLocked( *block ).bytes : 0;
    return freed;
}

/// Locks the mutex of a block that may have been destroyed: returns true if it is on the list and not locked.
/// A block that another thread is using is skipped at once: that thread may be waiting for the memory mutex.
bool XMemoryManager::LockListed( XMemoryBlock* inBlock )
{
    const XThreadLock lock( itsMemoryMutex );
    return itsBlocks->Contains( inBlock ) && !inBlock->IsProbablyLocked() && inBlock->GetMutex().TryLock();
}

/// Purges a block whose mutex the calling thread has locked, and unlocks that: from then on the block may be gone.
XMemoryManager::XPurgeResult XMemoryManager::PurgeLocked( XMemoryBlock& ioBlock )
{
    // The mutex is recursive: the guard takes it a second time, then the caller's lock is undone, so that it
    // is unlocked exactly once however this ends.
    const XThreadLock lock( ioBlock.GetMutex() ); // in the place of the caller's
    ioBlock.GetMutex().Unlock();
    const USize64 size = ioBlock.GetTrueSize();
    XPurgeResult result;
    // Its end wakes the waiters after a success and after a failure.
    const XTransit transit( *this );
    try
    {
        ioBlock.Purge();
        ++itsPurgeCount;
        result.bytes = size;
    }
    catch ( const XException& error )
    {
        result.hasFailed = error.GetErrorNumber() != kErrorMemoryNotPurged;
    }
    catch ( ... )
    {
        result.hasFailed = true;
    }
    return result;
}

std::uint32_t XMemoryManager::GetPurgeableBlockCount()
{
    const XThreadLock lock( itsMemoryMutex );
    return static_cast<std::uint32_t>( itsBlocks->GetCount() );
}

USize64 XMemoryManager::GetLargestPurgeableBlockSize()
{
    const XThreadLock lock( itsMemoryMutex );
    USize64 largest = 0;
    for ( const XMemoryBlock* block : itsBlocks->GetAll() )
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
    // The loop in NotifyListenersFreeMemory goes by index, so the places must not move under it.
    if ( itsIsAskingListeners )
        std::ranges::replace( itsListeners, inListener, nullptr );
    else
        std::erase( itsListeners, inListener );
}

/// A listener may add and remove listeners, including itself. Allocations of a listener do not call
/// listeners, nor do those of a thread that holds the memory mutex, which must be taken after the allocation
/// mutex.
USize64 XMemoryManager::NotifyListenersFreeMemory( USize64 inBytes )
{
    if ( itsMemoryMutex.IsLockedByCurrentThread() )
        return 0;
    const XThreadLock lock( itsAllocationMutex, kNoTimeout, true );
    if ( std::exchange( itsIsAskingListeners, true ) )
        return 0;
    USize64 freed = 0;
    // Listeners added by listeners come later in the vector and have to wait for the next time.
    const std::size_t count = itsListeners.size();
    for ( std::size_t i = 0; i < count && freed < inBytes; ++i )
    {
        try
        {
            freed += itsListeners[i] ? itsListeners[i]->FreeMemory( inBytes - freed ) : 0;
        }
        catch ( ... )
        {
            // The next listener may still free enough.
        }
    }
    itsIsAskingListeners = false;
    std::erase( itsListeners, nullptr );
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
    // The only step that needs memory, before the list is touched.
    inBlock->ReservePlace();
    const XThreadLock lock( itsMemoryMutex );
    itsBlocks->Add( *inBlock );
}

void XMemoryManager::RemoveBlock( XMemoryBlock* inBlock )
{
    // Waits for the end of another thread's purge of this block.
    const XThreadLock blockLock( inBlock->GetMutex() );
    const XThreadLock lock( itsMemoryMutex );
    itsBlocks->Remove( *inBlock );
}

/// Under the memory mutex, so that it is one step for threads that decide whether a lock is left to wait for.
void XMemoryManager::HasUnlocked( XMemoryBlock& inBlock )
{
    const XThreadLock lock( itsMemoryMutex );
    itsBlocks->HasBeenUnlocked( inBlock );
    itsRoomWaiters->SomethingChanged();
}

XMemoryManager::XTransit::XTransit( XMemoryManager& ioManager ) : itsWaiters( *ioManager.itsRoomWaiters )
{
    itsWaiters.BeginTransit();
}

XMemoryManager::XTransit::~XTransit()
{
    itsWaiters.EndTransit();
}

/// Where too much is in use, others want it more.
void XMemoryManager::KeepSpareView( XSpareView inView )
{
    const USize64 bytes = inView.bytes;
    if ( bytes > GetMaxSpareBytes() || itsBudget->GetShortage( 0 ) > 0 )
    {
        inView.mapping.reset();
        return HasFreed( bytes );
    }
    // From here on the bytes are not in use but still taken from the budget, so no other thread can reserve
    // them before TakeSpareView reuses them.
    itsBudget->Spare( bytes );
    // The number of spare views is limited too: the oldest gives way.
    while ( !itsSpareViews->Keep( inView ) )
        Release( itsSpareViews->TakeOldest() );
    while ( ReleaseSpareViews( GetSpareExcess() ) )
    {
    }
    itsRoomWaiters->SomethingChanged();
}

USize64 XMemoryManager::GetMaxSpareBytes() const
{
    return std::min( kMaxSpareBytes, GetBudget() / 16 );
}

/// The number of spare bytes that exceed the limit for the current budget.
USize64 XMemoryManager::GetSpareExcess() const
{
    const USize64 spare = itsBudget->GetSpare();
    return spare - std::min( spare, GetMaxSpareBytes() );
}

XSpareView XMemoryManager::TakeSpareView( USize64 inSize )
{
    XSpareView view = itsSpareViews->Take( inSize );
    if ( view.mapping )
        itsBudget->Reuse( view.bytes );
    return view;
}

void XMemoryManager::Release( XSpareView inView )
{
    inView.mapping.reset();
    itsBudget->GiveSpare( inView.bytes );
    itsRoomWaiters->SomethingChanged();
}

/// Returns whether there was a view to release. If there is none, no transit begins, because its end would
/// wake other waiters, and theirs this thread.
bool XMemoryManager::ReleaseSpareViews( USize64 inBytes )
{
    if ( inBytes == 0 || itsSpareViews->IsEmpty() )
        return false;
    const XTransit transit( *this );
    USize64 released = 0;
    while ( released < inBytes )
    {
        XSpareView view = itsSpareViews->TakeOldest();
        if ( !view.mapping )
            break;
        released += view.bytes;
        Release( std::move( view ) );
    }
    return released > 0;
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
    {
        const XThreadLock lock( itsFolderMutex );
        itsTemporaryFolder = inFolder;
    }
    // Ranges in the old file keep it open; only new ranges go to the new folder.
    itsSpillPlace->StartAnew();
}

std::unique_ptr<XSpillRange> XMemoryManager::Spill( const void* inData, USize64 inSize )
{
    return itsSpillPlace->Write( inData, inSize );
}

std::filesystem::path XMemoryManager::GetTemporaryFolder() const
{
    const XThreadLock lock( itsFolderMutex );
    return itsTemporaryFolder.empty() ? WFolders::GetTemporaryFolder() : itsTemporaryFolder;
}
