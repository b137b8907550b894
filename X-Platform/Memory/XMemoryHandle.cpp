#include "Memory/XMemoryHandle.h"

#include "Core/XErrorNumbers.h"
#include "Memory/XMemoryManager.h"
#include "Threads/XLock.h"

#include <cstring>
#include <utility>

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
    XLockable::operator=( inOther );
    XMemoryBlock* block = inOther.ShareBlockWith( *this );
    const XThreadLock lock( GetMutex() );
    ReplaceBlock( block );
    return *this;
}

XMemoryHandle::~XMemoryHandle()
{
    ReplaceBlock( nullptr );
    ReleaseRetired();
}

/// Adds a reference for the copy. Bytes that are just being written are not shared.
XMemoryBlock* XMemoryHandle::ShareBlockWith( XMemoryHandle& ioCopy ) const
{
    const XThreadLock lock( GetMutex() );
    XMemoryBlock* block = GetBlock();
    if ( !block )
        return nullptr;
    if ( itsWriteLocks > 0 )
        block = block->Clone( block->GetSize() );
    block->Reference( ioCopy );
    return block;
}

void XMemoryHandle::SetBlock( XMemoryBlock* inBlock )
{
    if ( inBlock )
        inBlock->Reference( *this );
    const XThreadLock lock( GetMutex() );
    ReplaceBlock( inBlock );
}

/// Under the mutex, with a block that is referenced already.
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
            UnlockFor( *retired.block, kLockForRead );
        retired.block->Unreference( *this );
    }
}

XMemoryBlock& XMemoryHandle::CheckedBlock() const
{
    XAssert( itsBlock );
    return *GetBlock();
}

// ---- Locks

void XMemoryHandle::LockSelf( XLockMode inMode )
{
    if ( inMode & kLockForWrite )
        CheckedBlock().PrepareForWriteLock( *this, inMode );
    LockBlock( inMode );
    ++itsLocks;
    ++itsBlockLocks;
    if ( inMode & kLockForWrite )
    {
        ++itsWriteLocks;
        SetDirtyFlag( true );
    }
}

void XMemoryHandle::LockBlock( XLockMode inMode )
{
    XMemoryBlock& block = CheckedBlock();
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
}

/// With blocks retired it is not known which lock was on which block, so all of them stay locked until no lock is left.
void XMemoryHandle::UnlockSelf( XLockMode inMode )
{
    XAssert( itsLocks > 0 );
    --itsLocks;
    if ( inMode & kLockForWrite )
        --itsWriteLocks;
    if ( !itsRetired.empty() && itsLocks > 0 )
        return;
    for ( ; itsBlockLocks > itsLocks; --itsBlockLocks )
        UnlockFor( *GetBlock(), inMode );
    if ( !itsRetired.empty() )
        ReleaseRetired();
}

// ---- The bytes

/// Under the mutex: while another thread locks the handle to write, its new block may not be locked yet.
void* XMemoryHandle::GetData() const
{
    const XThreadLock lock( GetMutex() );
    return CheckedBlock().GetData();
}

USize64 XMemoryHandle::GetDataSize() const
{
    const XThreadLock lock( GetMutex() );
    const XMemoryBlock* block = GetBlock();
    return block ? block->GetSize() : 0;
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
    const std::uint32_t locks = itsLocks;
    XAssert( locks == 0 );
    if ( block->GetRefCount() > 1 )
        SetBlock( block->Clone( inSize ) );
    else
        block->Resize( inSize );
    SetDirtyFlag( true );
}

void XMemoryHandle::Clear( std::uint8_t inByte )
{
    const XLock lock( this, kLockForWrite );
    std::memset( GetData(), inByte, GetDataSize() );
}

void XMemoryHandle::Empty()
{
    const XThreadLock lock( GetMutex() );
    if ( HasBlock() )
        SetBlock( MakeBlock( 0 ) );
    SetDirtyFlag( true );
}

void XMemoryHandle::Purge()
{
    const XThreadLock handleLock( GetMutex() );
    XMemoryBlock& block = CheckedBlock();
    constexpr std::uint32_t kTimeoutMs = 100;
    try
    {
        const XThreadLock lock( block.GetMutex(), kTimeoutMs );
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
    return XMemoryHandle( std::unique_ptr<XMemoryBlock>( block.Clone( block.GetSize() ) ) );
}

void XMemoryHandle::CopyDataFrom( const void* inSource, USize64 inCount, USize64 inOffset )
{
    CheckRange( inCount, inOffset );
    if ( inCount == 0 )
        return;
    const XLock lock( this, kLockForWrite );
    std::memcpy( static_cast<std::uint8_t*>( GetData() ) + inOffset, inSource, inCount );
}

/// Locking is no change that a reader of the handle could notice.
void XMemoryHandle::CopyDataTo( void* outTarget, USize64 inCount, USize64 inOffset ) const
{
    CheckRange( inCount, inOffset );
    if ( inCount == 0 )
        return;
    const XLock lock( const_cast<XMemoryHandle*>( this ), kLockForRead );
    std::memcpy( outTarget, static_cast<const std::uint8_t*>( GetData() ) + inOffset, inCount );
    GetBlock()->CheckIntact();
}

XByteSwapMode XMemoryHandle::GetSwapOnLock() const
{
    const XThreadLock lock( GetMutex() );
    return CheckedBlock().GetSwapOnLock();
}

void XMemoryHandle::SetSwapOnLock( XByteSwapMode inMode )
{
    const XThreadLock lock( GetMutex() );
    CheckedBlock().PrepareForWriteLock( *this, kLockForWrite );
    CheckedBlock().SetSwapOnLock( inMode );
}

XMemoryBlock* XMemoryHandle::MakeBlock( USize64 inSize ) const
{
    return XMemoryManager::GetManager()->MakeBlock( inSize );
}
