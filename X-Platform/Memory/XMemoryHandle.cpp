#include "Memory/XMemoryHandle.h"

#include "Ground/XErrorNumbers.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XLock.h"

#include <cstring>
#include <utility>

// The locks of a handle and those of its blocks.
//
// Each lock of the handle locks its block once. When a write lock moves the handle to another block, the
// previous block is retired: it keeps its locks, whose owners still use its bytes, and the new lock is on the
// new block. Therefore, under the mutex and outside of LockSelf and UnlockSelf:
//
// - `itsBlockLocks` is the number of this handle's locks on `itsBlock`, and `locks` the number of its locks
//   on each retired block.
// - While `itsLocks` is 0, nothing is retired and `itsBlockLocks` is 0.
// - While nothing is retired, `itsBlockLocks` equals `itsLocks`.
// - While blocks are retired, `itsBlockLocks` is above 0: lock holders get their data from `itsBlock`. No
//   block is unlocked before the last lock is released, because it is not recorded which lock is on which
//   block.
//
// So only a lock may replace the block of a locked handle, and a lock that fails after the replacement undoes
// it. All other functions that set the block reject a locked handle. A handle whose block is being locked,
// resized or copied counts as locked: these operations may need room, for which listeners may be called on
// the same thread, under the mutex; a lock by a listener must not replace the block.

namespace
{

/// A reference to a block that a handle is about to take over.
class BlockReference
{
public:
    BlockReference( const XMemoryHandle& inHandle, XMemoryBlock* inBlock )
        : itsHandle( inHandle ), itsBlock( inBlock )
    {
    }
    BlockReference( const BlockReference& ) = delete;
    BlockReference& operator=( const BlockReference& ) = delete;
    ~BlockReference()
    {
        if ( itsBlock )
            itsBlock->Unreference( itsHandle );
    }

    XMemoryBlock* Release() { return std::exchange( itsBlock, nullptr ); }

private:
    const XMemoryHandle& itsHandle;
    XMemoryBlock* itsBlock;
};

} // namespace

/// Marks the handle as busy, which counts as locked. Used under the mutex.
class XMemoryHandle::XBusy
{
public:
    explicit XBusy( const XMemoryHandle& inHandle ) : itsHandle( inHandle ) { ++itsHandle.itsBusyCount; }
    XBusy( const XBusy& ) = delete;
    XBusy& operator=( const XBusy& ) = delete;
    ~XBusy() { --itsHandle.itsBusyCount; }

private:
    const XMemoryHandle& itsHandle;
};

XMemoryHandle::XMemoryHandle( USize64 inSize )
    : XMemoryHandle( std::unique_ptr<XMemoryBlock>( XMemoryManager::GetManager()->MakeBlock( inSize ) ) )
{
}

XMemoryHandle::XMemoryHandle( std::unique_ptr<XMemoryBlock> inBlock )
{
    SetBlock( inBlock.release() );
}

XMemoryHandle::XMemoryHandle( const XMemoryHandle& inOther ) : XLockable( inOther ), XStorable( inOther )
{
    itsBlock = inOther.ShareBlockWith( *this );
}

XMemoryHandle& XMemoryHandle::operator=( const XMemoryHandle& inOther )
{
    if ( this == &inOther )
        return *this;
    CheckUnlocked();
    // Before the own mutex is taken: two threads that assign two handles to each other must not wait in a
    // circle.
    BlockReference block( *this, inOther.ShareBlockWith( *this ) );
    XDataFetcher* const fetcher = inOther.GetDataFetcher();
    const XThreadLock lock( GetMutex() ); // of the two only one at a time
    CheckUnlocked();                      // still
    SetDataFetcher( fetcher );
    SetDirtyFlag( inOther.IsDirty() );
    ReplaceBlock( block.Release() );
    return *this;
}

XMemoryHandle::~XMemoryHandle()
{
    ReplaceBlock( nullptr );
    ReleaseRetired();
}

/// Adds a reference for the copy. Bytes that are just being written are not shared, except with a file.
XMemoryBlock* XMemoryHandle::ShareBlockWith( XMemoryHandle& ioCopy ) const
{
    const XThreadLock lock( GetMutex() );
    XMemoryBlock* block = GetBlock();
    if ( !block )
        return nullptr;
    const XBusy busy( *this );
    if ( itsWriteLocks > 0 && !block->IsPublic() )
        // The copy would otherwise see bytes that change; a public range is meant to be seen by all.
        block = block->Clone( block->GetSize() );
    block->Reference( ioCopy );
    return block;
}

void XMemoryHandle::SetBlock( XMemoryBlock* inBlock )
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    if ( inBlock )
        inBlock->Reference( *this );
    ReplaceBlock( inBlock );
}

void XMemoryHandle::MoveToBlock( XMemoryBlock* inBlock )
{
    const XThreadLock lock( GetMutex() );
    inBlock->Reference( *this );
    BlockReference block( *this, inBlock );
    XAssert( itsBusyCount <= 1 ); // but for the operation itself
    // ReplaceBlock must not throw.
    itsRetired.reserve( itsRetired.size() + 1 );
    ReplaceBlock( block.Release() );
}

/// Called under the mutex, with a block that is already referenced. Does not throw: room for the retired
/// block is reserved.
void XMemoryHandle::ReplaceBlock( XMemoryBlock* inBlock )
{
    XMemoryBlock* before = itsBlock.exchange( inBlock, std::memory_order_acq_rel );
    if ( !before )
        return;
    if ( itsLocks == 0 )
        before->Unreference( *this );
    else
        itsRetired.push_back( { before, std::exchange( itsBlockLocks, 0 ) } );
}

void XMemoryHandle::ReleaseRetired()
{
    for ( const XRetired& retired : std::exchange( itsRetired, {} ) )
    {
        for ( std::uint32_t i = 0; i < retired.locks; ++i )
            // The mode matters to counters of the handle only, and those count its own locks.
            UnlockBlock( *retired.block, kLockForRead );
        retired.block->Unreference( *this );
    }
}

/// Undoes the last exchange of blocks, with no lock on the new one yet.
void XMemoryHandle::BringBackRetired()
{
    const XRetired last = itsRetired.back();
    itsRetired.pop_back();
    itsBlockLocks = last.locks;
    itsBlock.exchange( last.block, std::memory_order_acq_rel )->Unreference( *this );
}

void XMemoryHandle::CheckUnlocked() const
{
    const XThreadLock lock( GetMutex() );
    const std::uint32_t locks = itsLocks + itsBusyCount;
    XAssert( locks == 0 );
}

XMemoryBlock& XMemoryHandle::CheckedBlock() const
{
    XAssert( itsBlock );
    return *GetBlock();
}

// ---- Locks

void XMemoryHandle::LockSelf( XLockMode inMode )
{
    const XBusy busy( *this );
    const std::size_t retired = itsRetired.size();
    bool isQuick = false;
    try
    {
        if ( inMode & kLockForWrite )
            // May exchange the block (MoveToBlock), which the handler below undoes.
            CheckedBlock().PrepareForWriteLock( *this, inMode );
        isQuick = LockBlock( inMode );
    }
    catch ( ... )
    {
        if ( itsRetired.size() > retired )
            BringBackRetired();
        throw;
    }
    // Published last: GetData reads it without the mutex and takes it to mean that the block is locked.
    itsQuickBlock.store( isQuick ? GetBlock() : nullptr, std::memory_order_release );
    ++itsLocks;
    ++itsBlockLocks;
    if ( inMode & kLockForWrite )
    {
        ++itsWriteLocks;
        SetDirtyFlag( true );
    }
}

/// Returns whether the bytes stay where they are until the last lock is gone.
bool XMemoryHandle::LockBlock( XLockMode inMode )
{
    XMemoryBlock& block = CheckedBlock();
    // The common case: the block is in memory and needs nothing but the count.
    if ( block.TryQuickLock() )
        return true;
    const XThreadLock lock( block.GetMutex() );
    LockFor( block, inMode );
    try
    {
        block.PostLock( inMode );
    }
    catch ( ... )
    {
        UnlockFor( block, inMode );
        throw;
    }
    return block.BeginQuickLocks();
}

void XMemoryHandle::UnlockBlock( XMemoryBlock& ioBlock, XLockMode inMode )
{
    if ( !ioBlock.TryQuickUnlock() )
        UnlockFor( ioBlock, inMode );
}

void XMemoryHandle::UnlockSelf( XLockMode inMode )
{
    XAssert( itsLocks > 0 );
    --itsLocks;
    if ( inMode & kLockForWrite )
        --itsWriteLocks;
    if ( itsLocks == 0 )
        itsQuickBlock.store( nullptr, std::memory_order_relaxed );
    else if ( !itsRetired.empty() )
        return;
    // At the last unlock this releases as many locks as were taken on the current block while others were
    // retired.
    for ( ; itsBlockLocks > itsLocks; --itsBlockLocks )
        UnlockBlock( *GetBlock(), inMode );
    if ( !itsRetired.empty() )
        ReleaseRetired();
}

// ---- The bytes

/// Under the mutex where bytes may move: while another thread locks the handle to write, its new block may not be locked
/// yet, or the block copies its bytes.
void* XMemoryHandle::GetData() const
{
    if ( XMemoryBlock* const block = itsQuickBlock.load( std::memory_order_acquire ) )
        return block->GetData();
    const XThreadLock lock( GetMutex() );
    return CheckedBlock().GetData();
}

USize64 XMemoryHandle::GetDataSize() const
{
    const XThreadLock lock( GetMutex() );
    const XMemoryBlock* block = GetBlock();
    return block ? block->GetSize() : 0;
}

void XMemoryHandle::CheckIntact() const
{
    const XThreadLock lock( GetMutex() );
    CheckedBlock().CheckIntact();
    for ( const XRetired& retired : itsRetired )
        retired.block->CheckIntact();
}

void XMemoryHandle::CheckRange( USize64 inCount, USize64 inOffset ) const
{
    const USize64 size = GetDataSize();
    if ( inOffset > size || inCount > size - inOffset )
        XThrow( kErrorBadParameters );
}

std::uint8_t XMemoryHandle::GetByte( USize64 inIndex ) const
{
    CheckRange( 1, inIndex );
    return static_cast<const std::uint8_t*>( GetData() )[inIndex];
}

void XMemoryHandle::SetByte( USize64 inIndex, std::uint8_t inByte )
{
    CheckRange( 1, inIndex );
    static_cast<std::uint8_t*>( GetData() )[inIndex] = inByte;
}

void XMemoryHandle::Resize( USize64 inSize )
{
    const XThreadLock lock( GetMutex() );
    XMemoryBlock* block = GetBlock();
    if ( !block )
        return SetBlock( MakeBlock( inSize ) );
    CheckUnlocked();
    ResizeBlock( *block, inSize );
    SetDirtyFlag( true );
}

void XMemoryHandle::ResizeBlock( XMemoryBlock& ioBlock, USize64 inSize )
{
    const XBusy busy( *this );
    // The only reference stays the only one: other handles get theirs from this one, whose mutex is held.
    if ( ioBlock.GetRefCount() > 1 )
        MoveToBlock( ioBlock.CloneResized( inSize ) );
    else
        ioBlock.Resize( inSize );
}

void XMemoryHandle::Clear( std::uint8_t inByte )
{
    const XLock lock( this, kLockForWrite );
    std::memset( GetData(), inByte, GetDataSize() );
    CheckIntact();
}

void XMemoryHandle::Empty()
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    if ( HasBlock() )
        SetBlock( MakeBlock( 0 ) );
    SetDirtyFlag( true );
}

void XMemoryHandle::Purge()
{
    constexpr std::uint32_t kTimeoutMS = 100;
    XAssert( itsBlock );
    try
    {
        // The order of locks: the handle's first, then the block's.
        const XThreadLock handleLock( GetMutex(), kTimeoutMS );
        XMemoryBlock& block = CheckedBlock();
        const XThreadLock lock( block.GetMutex(), kTimeoutMS );
        block.Purge();
    }
    catch ( ... )
    {
        // The bytes stay in memory.
    }
}

XMemoryHandle XMemoryHandle::CloneMemory() const
{
    const XThreadLock lock( GetMutex() );
    XMemoryBlock& block = CheckedBlock();
    const XBusy busy( *this );
    return XMemoryHandle( std::unique_ptr<XMemoryBlock>( block.Clone( block.GetSize() ) ) );
}

/// False for a handle that has no bytes and gets none from a lock.
bool XMemoryHandle::HasBytesToLock() const
{
    return HasBlock() || GetDataFetcher();
}

/// How many bytes there are is known when the handle is locked: the lock may fetch them.
void XMemoryHandle::CopyDataFrom( const void* inSource, USize64 inCount, USize64 inOffset )
{
    if ( inCount == 0 && !HasBytesToLock() )
        return CheckRange( 0, inOffset );
    const XLock lock( this, inCount > 0 ? kLockForWrite : kLockForRead );
    CheckRange( inCount, inOffset );
    if ( inCount > 0 )
        std::memcpy( static_cast<std::uint8_t*>( GetData() ) + inOffset, inSource, inCount );
    CheckIntact();
}

/// Locks a const handle: a lock does not change its value.
void XMemoryHandle::CopyDataTo( void* outTarget, USize64 inCount, USize64 inOffset ) const
{
    if ( inCount == 0 && !HasBytesToLock() )
        return CheckRange( 0, inOffset );
    const XLock lock( const_cast<XMemoryHandle*>( this ), kLockForRead );
    CheckRange( inCount, inOffset );
    if ( inCount > 0 )
        std::memcpy( outTarget, static_cast<const std::uint8_t*>( GetData() ) + inOffset, inCount );
    CheckIntact();
}

XByteSwapMode XMemoryHandle::GetSwapOnLock() const
{
    const XThreadLock lock( GetMutex() );
    return CheckedBlock().GetSwapOnLock();
}

void XMemoryHandle::SetSwapOnLock( XByteSwapMode inMode )
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    const XBusy busy( *this );
    CheckedBlock().PrepareForWriteLock( *this, kLockForWrite );
    CheckedBlock().SetSwapOnLock( inMode );
}

XMemoryBlock* XMemoryHandle::MakeBlock( USize64 inSize ) const
{
    return XMemoryManager::GetManager()->MakeBlock( inSize );
}
