#include "Memory/XMappedFileMemoryBlock.h"

#include "Ground/XErrorNumbers.h"
#include "Memory/Internal/XMappedStorage.h"
#include "Memory/Internal/XTranslateBadAlloc.h"
#include "Memory/XMemoryManager.h"

#include <algorithm>
#include <typeinfo>

// The interface of mapped-file blocks. XMappedFileStorage.cpp moves their bytes between the kinds of storage.
//
// The states (itsState) and who changes them; all changes are under the block's mutex:
//
//   unallocated     first lock       -> page file
//   page file       purge            -> temporary file (the next lock maps it, the next purge only unmaps it)
//   temporary file  growing          -> page file
//   permanent file  write lock, or a lock that must swap bytes in a read-only view -> heap or page file
//                   (only private ranges; a public range stays in its file)
//
// A lock needs two steps, because only after the first one are the bytes in memory: LockSelf maps the view
// and notes in itsPendingCopy whether the bytes have to move (LockForMMap), and PostLock moves them and swaps
// them. Bytes up to itsHeapThreshold are copied to the heap: a mapping takes whole pages and a system call or
// two. Heap bytes cannot be purged; it is not worth writing so few to the disk.

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr USize64 XMappedFileMemoryBlock::kDefaultHeapThreshold;

XMappedFileMemoryBlock::XMappedFileMemoryBlock(
    USize64 inSize, XChangeMode inChangeMode, USize64 inHeapThreshold )
    : itsSize( inSize ), itsChangeMode( inChangeMode ), itsHeapThreshold( inHeapThreshold ),
      itsHeap( GetManager() )
{
    XAssert( inChangeMode != kPublic );
}

XMappedFileMemoryBlock::XMappedFileMemoryBlock(
    std::shared_ptr<WFile> inFile, std::uint64_t inOffset, USize64 inSize, XChangeMode inChangeMode )
    : itsState( kPermanentFile ), itsSize( inSize ), itsChangeMode( inChangeMode ),
      itsHeapThreshold( kDefaultHeapThreshold ),
      itsViewAccess( PermanentFileChangeModeToProtection( inChangeMode ) ), itsHeap( GetManager() ),
      itsFile( std::move( inFile ) ), itsOffset( inOffset )
{
    XAssert( itsFile );
    OpenPermanentFile();
    SetFlags( kOnDisk );
}

XMappedFileMemoryBlock::XMappedFileMemoryBlock(
    const std::filesystem::path& inPath, std::uint64_t inOffset, USize64 inSize, WFile::Mode inFileMode,
    std::uint32_t inFlags, XChangeMode inChangeMode )
    : itsState( kPermanentFile ), itsSize( inSize ), itsChangeMode( inChangeMode ),
      itsHeapThreshold( kDefaultHeapThreshold ),
      itsViewAccess( PermanentFileChangeModeToProtection( inChangeMode ) ), itsHeap( GetManager() ),
      itsPath( inPath ), itsFileMode( inFileMode ), itsOffset( inOffset )
{
    if ( !( inFlags & kOpenWhenLocked ) )
        OpenPermanentFile();
    SetFlags( kOnDisk );
}

XMappedFileMemoryBlock::~XMappedFileMemoryBlock()
{
    const XThreadLock lock( GetMutex() );
    Destroy();
}

void XMappedFileMemoryBlock::ShareMapping( const XMappedFileMemoryBlock& inOther )
{
    const XThreadLock lock( GetMutex() );
    const XThreadLock otherLock( inOther.GetMutex() );
    XAssert( IsUnallocated() );
    XAssert( inOther.itsState == kPermanentFile );
    itsFile = inOther.itsFile;
    itsPath = inOther.itsPath;
    itsFileMode = inOther.itsFileMode;
    // The two blocks share the file, not the mapping: each has a view of its own that is mapped and purged
    // by itself.
    itsOffset = inOther.itsOffset;
    itsSize = inOther.itsSize;
    itsViewAccess = PermanentFileChangeModeToProtection( itsChangeMode );
    itsState = kPermanentFile;
    SetFlags( kOnDisk );
    SetSwapOnLock( inOther.GetSwapOnLock() );
}

void* XMappedFileMemoryBlock::GetData()
{
    CheckLocked();
    XAssert( !IsUnallocated() );
    if ( !IsMapped() )
        return itsHeap.GetData();
    XAssert( fileMapping );
    return fileMapping->GetViewData();
}

USize64 XMappedFileMemoryBlock::GetSize() const
{
    const XThreadLock lock( GetMutex() );
    return itsSize;
}

void XMappedFileMemoryBlock::Resize( USize64 inSize )
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    XTranslateBadAlloc(
        [&]
        {
            if ( itsState == kUnallocated )
                itsSize = inSize;
            else if ( itsState == kHeap )
                ResizeForMalloc( inSize );
            else if ( IsPublic() )
                ResizePublicFile( inSize );
            else
                ResizeForMMap( inSize );
        } );
}

bool XMappedFileMemoryBlock::IsEmpty() const
{
    const XThreadLock lock( GetMutex() );
    return !( IsMapped() ? GetViewData() : itsHeap.GetData() );
}

void XMappedFileMemoryBlock::DestroySelf()
{
    const XThreadLock lock( GetMutex() );
    CheckUnlocked();
    Destroy();
}

USize64 XMappedFileMemoryBlock::GetPaddedSize() const
{
    return XMemoryManager::AlignSizeToPageSize( std::max<USize64>( GetSize(), 1 ) );
}

std::uint64_t XMappedFileMemoryBlock::GetTrueAddress() const
{
    // A view begins at a multiple of the granularity; the bytes may begin later in it.
    const auto address = reinterpret_cast<std::uint64_t>( GetViewData() );
    return address & ~( XMemoryManager::GetAllocationGranularity() - 1 );
}

USize64 XMappedFileMemoryBlock::GetTrueSize() const
{
    const auto address = reinterpret_cast<std::uint64_t>( GetViewData() );
    return address == 0
        ? 0
        : XMemoryManager::AlignSizeToPageSize( address - GetTrueAddress() + fileMapping->GetViewSize() );
}

void XMappedFileMemoryBlock::Purge()
{
    constexpr std::uint32_t kTimeoutMS = 100;
    // The purging thread may choose another block, so it does not wait long for one that is in use.
    const XThreadLock lock( GetMutex(), kTimeoutMS );
    if ( !CanPurge() )
        XThrow( kErrorMemoryNotPurged );
    CheckViewIntact();
    const USize64 size = GetTrueSize();
    // Memory without backing storage has to be written out; the view of a file is only unmapped.
    if ( itsState == kPageFile && GetViewData() )
    {
        XTranslateBadAlloc( [&] { CopyToTempFile(); } );
        XAssert( !fileMapping->GetViewData() );
    }
    else
        Unmap();
    itsWasPurged = true;
    GetManager().NotePurge( size );
}

void XMappedFileMemoryBlock::SetSwapOnLock( XByteSwapMode inMode )
{
    const XThreadLock lock( GetMutex() );
    if ( IsPublic() && inMode != kSwapNone )
        XThrow( kErrorBadParameters );
    XMemoryBlock::SetSwapOnLock( inMode );
}

XMemoryBlock* XMappedFileMemoryBlock::Clone( USize64 inSize )
{
    {
        const XThreadLock lock( GetMutex() );
        // The clone maps the same range of the file: nothing is copied until one of the two is written.
        if ( IsPrivateFile() && inSize == itsSize )
        {
            auto clone = std::make_unique<XMappedFileMemoryBlock>( 0, itsChangeMode, itsHeapThreshold );
            clone->ShareMapping( *this );
            return clone.release();
        }
    }
    return XMemoryBlock::Clone( inSize );
}

XMemoryBlock* XMappedFileMemoryBlock::CloneResized( USize64 inSize )
{
    if ( !IsPublic() )
        return XMemoryBlock::CloneResized( inSize );
    const XThreadLock lock( GetMutex() );
    CheckViewIntact();
    // Both blocks map the file, which must be long enough for the larger one.
    LengthenFile( inSize );
    return new XMappedFileMemoryBlock( itsFile, itsOffset, inSize, itsChangeMode );
}

XFileMappingBase::XPageProtection
XMappedFileMemoryBlock::PermanentFileChangeModeToProtection( XChangeMode inChangeMode )
{
    switch ( inChangeMode )
    {
    case kPrivate:
        return XFileMappingBase::kPageReadOnly;
    case kPrivatePages:
        return XFileMappingBase::kPageWriteCopy;
    case kPublic:
        return XFileMappingBase::kPageReadWrite;
    }
    XAssert( false );
    return XFileMappingBase::kPageReadOnly;
}

void XMappedFileMemoryBlock::LockSelf( XLockMode inMode )
{
    LockForMMap( inMode );
    XMemoryBlock::LockSelf( inMode );
    itsMayHaveWritten |= IsPublic() && ( inMode & kLockForWrite );
}

void XMappedFileMemoryBlock::UnlockSelf( XLockMode inMode )
{
    XMemoryBlock::UnlockSelf( inMode );
    if ( SettleLockCount() == 0 )
        UnlockForMMap();
}

/// Bytes in a file may be damaged, or must be copied before a write.
bool XMappedFileMemoryBlock::AllowsQuickLocks() const
{
    const bool isInFile = itsState != kPageFile && itsState != kHeap;
    return !isInFile && !itsIsMoving && !itsRetired && typeid( *this ) == typeid( XMappedFileMemoryBlock );
}

void XMappedFileMemoryBlock::PostLock( XLockMode inMode )
{
    if ( itsPendingCopy != kLockNone && IsPrivateFile() )
    {
        XTranslateBadAlloc( [&] { itsSize <= itsHeapThreshold ? CopyToMalloc() : CopyToPagefile(); } );
        itsPendingCopy = kLockNone;
    }
    XMemoryBlock::PostLock( inMode );
}

XMemoryBlock* XMappedFileMemoryBlock::MakeSimilar( USize64 inSize ) const
{
    // A block without a file of its own cannot be public.
    const XChangeMode mode = itsChangeMode == kPublic ? kPrivate : itsChangeMode;
    return new XMappedFileMemoryBlock( inSize, mode, itsHeapThreshold );
}
