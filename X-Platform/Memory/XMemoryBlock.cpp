#include "Memory/XMemoryBlock.h"

#include "Core/Streams/XByteOrder.h"
#include "Ground/XErrorNumbers.h"
#include "Memory/Internal/XPurgeableBlocks.h"
#include "Memory/Internal/XTranslateBadAlloc.h"
#include "Memory/XMemoryHandle.h"
#include "Memory/XMemoryManager.h"
#include "System/WThreadID.h"
#include "Threads/XLock.h"
#include "Time/WClock.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

// The lock count.
//
// While quick locks are disabled, it changes under the mutex only. While they are enabled (bit kQuick of the
// same word), handles change it by a compare-and-swap without the mutex: the bytes are in memory, and a lock
// requires nothing else. Code that decides by the count first clears the bit, under the mutex: then the count
// does not change without the mutex, and every lock and unlock must take the mutex. The next lock of a handle
// under the mutex sets the bit again.

namespace
{

/// The last lock of the threads that share a slot. Numbers start again with each tick of the clock. A single
/// counter for all threads would make each lock wait for the cache line of the previous one.
struct alignas( 64 ) LastLock
{
    std::atomic<std::int64_t> time = 0;
    std::atomic<std::uint64_t> number = 0;
};

constexpr std::size_t kSlots = 64;
constinit std::array<LastLock, kSlots> sLastLocks;

std::uint64_t GetNextLockNumber( std::uint32_t inThread, std::int64_t inTime )
{
    LastLock& last = sLastLocks[inThread % kSlots];
    const bool isSameTick = last.time.load( std::memory_order_relaxed ) == inTime;
    const std::uint64_t number = isSameTick ? last.number.load( std::memory_order_relaxed ) + 1 : 1;
    // Threads of one slot may overwrite each other's numbers: the order of locks within a tick is
    // approximate, which purges tolerate.
    last.time.store( inTime, std::memory_order_relaxed );
    last.number.store( number, std::memory_order_relaxed );
    return number;
}

} // namespace

XMemoryBlock::XMemoryBlock() : itsManager( *XMemoryManager::GetManager() ) {}

XMemoryBlock::~XMemoryBlock() = default;

USize64 XMemoryBlock::GetAddressSpaceMetric() const
{
    const XThreadLock lock( GetMutex() );
    const USize64 size = GetTrueSize();
    if ( size == 0 )
        return 0;
    return itsManager.GetFreeSpaceBeforeAddr( GetTrueAddress() ) + size +
        itsManager.GetFreeSpaceAfterAddr( GetTrueAddress() + size );
}

bool XMemoryBlock::CanPurge() const
{
    const XThreadLock lock( GetMutex() );
    constexpr std::uint32_t kNeeded = kInMemory | kPurgeable;
    return ( GetFlags() & kNeeded ) == kNeeded && SettleLockCount() == 0;
}

void XMemoryBlock::Purge()
{
    XThrow( kErrorMemoryNotPurged );
}

void XMemoryBlock::ReservePlace()
{
    if ( !itsPlace )
        // Node and key are allocated once and then travel between the block and the manager's list.
        itsPlace = XTranslateBadAlloc( [&] { return std::make_unique<XPurgeablePlace>( *this ); } );
}

void XMemoryBlock::SetSwapOnLock( XByteSwapMode inMode )
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    itsSwapOnLock = inMode;
    itsIsSwapPending = inMode != kSwapNone;
}

XByteSwapMode XMemoryBlock::GetSwapOnLock() const
{
    const XThreadLock lock( GetMutex() );
    return itsSwapOnLock;
}

void XMemoryBlock::SetDataFetcher( XDataFetcher* inFetcher )
{
    const XThreadLock lock( GetMutex() );
    XLockable::SetDataFetcher( inFetcher );
    itsHasFetcher |= inFetcher != nullptr;
    SettleLockCount(); // the next lock has to fetch
}

void XMemoryBlock::Reference( const XMemoryHandle& )
{
    itsRefCount.fetch_add( 1, std::memory_order_relaxed );
}

void XMemoryBlock::Unreference( const XMemoryHandle& )
{
    const std::uint32_t before = itsRefCount.fetch_sub( 1, std::memory_order_acq_rel );
    XAssert( before > 0 );
    if ( before == 1 )
        delete this;
}

void XMemoryBlock::PrepareForWriteLock( XMemoryHandle& ioHandle, XLockMode )
{
    if ( GetRefCount() > 1 && !IsPublic() )
        ioHandle.MoveToBlock( Clone( GetSize() ) );
}

XMemoryBlock* XMemoryBlock::Clone( USize64 inSize )
{
    std::unique_ptr<XMemoryBlock> clone( MakeSimilar( inSize ) );
    clone->CopyBytesFrom( *this );
    return clone.release();
}

void XMemoryBlock::CopyBytesFrom( XMemoryBlock& ioSource )
{
    const USize64 count = std::min( GetSize(), ioSource.GetSize() );
    if ( count == 0 )
        return;
    const XLock sourceLock( ioSource, kLockForRead );
    const XLock lock( this, kLockForWrite );
    const auto copy = [&]
    {
        ioSource.CheckIntact();
        std::memcpy( GetData(), ioSource.GetData(), count );
        ioSource.CheckIntact();
    };
    {
        const XThreadLock sourceMutex( ioSource.GetMutex() );
        itsIsSwapPending = ioSource.itsIsSwapPending;
        itsSwapOnLock = itsIsSwapPending ? ioSource.itsSwapOnLock : kSwapNone;
        if ( itsIsSwapPending )
            // The copy inherits the bytes as they are stored, together with the duty to swap them.
            return copy(); // before the lock of another handle reverses the bytes
    }
    copy();
}

void XMemoryBlock::PostLock( XLockMode )
{
    if ( !itsIsSwapPending )
        return;
    SwapData();
    itsIsSwapPending = false;
    if ( AreChangesKept() )
        itsSwapOnLock = kSwapNone;
}

void XMemoryBlock::HasKeptChanges()
{
    if ( !itsIsSwapPending )
        itsSwapOnLock = kSwapNone;
}

void XMemoryBlock::SwapData()
{
    const unsigned width = itsSwapOnLock;
    XSwapCopy( GetData(), GetData(), GetSize() / width, width );
}

/// The time is stored first, because a thread that sees the block locked may read it at once.
bool XMemoryBlock::TryQuickLock()
{
    std::uint64_t locks = itsLocks.load( std::memory_order_relaxed );
    if ( !( locks & kQuick ) )
        return false;
    const std::uint32_t thread = WThreadID::GetCurrent();
    NoteLockTime( thread );
    do
    {
        if ( !( locks & kQuick ) )
            return false;
    } while ( !itsLocks.compare_exchange_weak(
        locks, AddLock( locks, thread ), std::memory_order_acq_rel, std::memory_order_relaxed ) );
    return true;
}

/// Without locks the mutex is needed too, for the internal error.
bool XMemoryBlock::TryQuickUnlock()
{
    std::uint64_t locks = itsLocks.load( std::memory_order_relaxed );
    do
    {
        if ( !( locks & kQuick ) || ( locks & kCountMask ) == 0 )
            return false;
    } while ( !itsLocks.compare_exchange_weak(
        locks, locks - 1, std::memory_order_release, std::memory_order_relaxed ) );
    return true;
}

/// A thread that sees a block locked also sees by which thread, since both are in one word.
std::uint64_t XMemoryBlock::AddLock( std::uint64_t inLocks, std::uint32_t inThread )
{
    const bool isShared = ( inLocks & kCountMask ) > 0 && ( inLocks >> kThreadShift ) != inThread;
    const std::uint64_t thread = isShared ? kSeveralThreads : inThread;
    return ( thread << kThreadShift ) | ( ( inLocks & ( kQuick | kCountMask ) ) + 1 );
}

bool XMemoryBlock::BeginQuickLocks()
{
    if ( itsHasFetcher || itsIsSetAside || itsIsSwapPending || !( GetFlags() & kInMemory ) ||
         !AllowsQuickLocks() )
        return false;
    // Release: a thread that then locks by the count alone sees the bytes and flags as they are now.
    itsLocks.fetch_or( kQuick, std::memory_order_release );
    return true;
}

std::int32_t XMemoryBlock::SettleLockCount() const
{
    if ( itsLocks.load( std::memory_order_relaxed ) & kQuick )
        itsLocks.fetch_and( ~kQuick, std::memory_order_acq_rel );
    return GetLockCount();
}

void XMemoryBlock::NoteLockTime( std::uint32_t inThread )
{
    const std::int64_t time = WClock::GetCoarseTicks();
    itsLastLockTime.store( time, std::memory_order_relaxed );
    itsLastLockNumber.store( GetNextLockNumber( inThread, time ), std::memory_order_relaxed );
}

void XMemoryBlock::LockSelf( XLockMode )
{
    const std::int32_t locks = SettleLockCount();
    XAssert( locks >= 0 );
    if ( !( GetFlags() & kInMemory ) )
    {
        const XMemoryManager::XTransit transit( itsManager );
        Reload();
    }
    const std::uint32_t thread = WThreadID::GetCurrent();
    // A plain store is enough: with kQuick cleared, the count changes only under the mutex.
    itsLocks.store(
        AddLock( itsLocks.load( std::memory_order_relaxed ), thread ), std::memory_order_release );
    NoteLockTime( thread );
}

void XMemoryBlock::UnlockSelf( XLockMode )
{
    const std::int32_t locks = SettleLockCount() - 1;
    XAssert( locks >= 0 );
    itsLocks.store( itsLocks.load( std::memory_order_relaxed ) - 1, std::memory_order_release );
    // The search that found the block locked waits for this unlock.
    if ( locks == 0 && itsIsSetAside )
        itsManager.HasUnlocked( *this );
}

void XMemoryBlock::Reload()
{
    XAssert( false );
}

void XMemoryBlock::CheckLocked() const
{
    const std::int32_t locks = GetLockCount();
    XAssert( locks > 0 );
}

void XMemoryBlock::CheckUnlocked() const
{
    const std::int32_t locks = SettleLockCount();
    XAssert( locks == 0 );
}
