#include "Memory/XMemoryBlock.h"

#include "Core/XByteOrder.h"
#include "Core/XErrorNumbers.h"
#include "Memory/XMemoryHandle.h"
#include "Memory/XMemoryManager.h"
#include "Memory/XPurgeableBlocks.h"
#include "Memory/XTranslateBadAlloc.h"
#include "Threads/XLock.h"
#include "WClock.h"
#include "WThreadID.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{

/// Threads that lock at the same time may get the same number: it puts purges in order, no more.
std::uint64_t GetNextLockNumber()
{
    static std::atomic<std::uint64_t> sLast = 0;
    const std::uint64_t number = sLast.load( std::memory_order_relaxed ) + 1;
    sLast.store( number, std::memory_order_relaxed );
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
    return ( GetFlags() & kNeeded ) == kNeeded && GetLockCount() == 0;
}

void XMemoryBlock::Purge()
{
    XThrow( kErrorMemoryNotPurged );
}

void XMemoryBlock::ReservePlace()
{
    if ( !itsPlace )
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
    ioSource.CheckIntact();
    std::memcpy( GetData(), ioSource.GetData(), count );
    ioSource.CheckIntact();
    const XThreadLock sourceMutex( ioSource.GetMutex() );
    itsSwapOnLock = ioSource.itsIsSwapPending ? ioSource.itsSwapOnLock : kSwapNone;
    itsIsSwapPending = itsSwapOnLock != kSwapNone;
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

void XMemoryBlock::LockSelf( XLockMode )
{
    const std::int32_t locks = GetLockCount();
    XAssert( locks >= 0 );
    if ( !( GetFlags() & kInMemory ) )
    {
        const XMemoryManager::XTransit transit( itsManager );
        Reload();
    }
    NoteLockThread( locks );
    itsLocks.store( locks + 1, std::memory_order_release ); // who sees it locked knows by whom
    itsLastLockTime.store( WClock::GetCoarseTicks(), std::memory_order_relaxed );
    itsLastLockNumber.store( GetNextLockNumber(), std::memory_order_relaxed );
}

void XMemoryBlock::NoteLockThread( std::int32_t inOtherLocks )
{
    const std::uint32_t thread = WThreadID::GetCurrent();
    const bool isShared = inOtherLocks > 0 && GetLockThread() != thread;
    itsLockThread.store( isShared ? kSeveralThreads : thread, std::memory_order_relaxed );
}

void XMemoryBlock::UnlockSelf( XLockMode )
{
    const std::int32_t locks = GetLockCount() - 1;
    XAssert( locks >= 0 );
    itsLocks.store( locks, std::memory_order_relaxed );
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
    const std::int32_t locks = GetLockCount();
    XAssert( locks == 0 );
}
