#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Ground/XErrorNumbers.h"
#include "Memory/Internal/XMappedStorage.h"
#include "Memory/Internal/XTranslateBadAlloc.h"
#include "Memory/XMappedFileMemoryBlock.h"
#include "Memory/XMemoryManager.h"
#include "Services/XSessionLogManager.h"
#include "Threads/XLock.h"

#include <algorithm>
#include <cstring>
#include <utility>

// Moves the bytes of a mapped-file block into and out of memory and between the kinds of storage. All
// functions run under the block's mutex and leave the block unchanged if they throw.
//
// Order of steps. Each change of storage follows one pattern: make and fill the new storage, retire or unmap
// the old one, then set the members, in statements that do not throw. Whatever fails before leaves the block
// as it was. Where the order has to be another (ReadFromTempFile gives up its view first, to make room for
// the new memory), the state in between is a valid one: that of a purged block.
//
// The manager's list. A block is on it exactly while it has a view and no move is under way: Map and
// UsePagefile add it last, TakeOutView, RetireMMap and ResizeView remove it first. So a thread that holds the
// memory mutex may read the address and the size of every block on the list.
//
// Outer locks. A write lock may move the bytes while other locks of the block are held, whose owners use the
// old address. RetireMMap then keeps the old storage in itsRetired until the last unlock (UnlockForMMap)
// instead of unmapping it.

/// For the time that the bytes are brought to another place. Listeners that are asked for the room run on the same
/// thread, inside the mutex: they may not lock the block.
class XMappedFileMemoryBlock::XMove
{
public:
    explicit XMove( XMappedFileMemoryBlock& ioBlock )
        : itsBlock( ioBlock ), itsTransit( ioBlock.GetManager() )
    {
        itsBlock.itsIsMoving = true;
    }
    XMove( const XMove& ) = delete;
    XMove& operator=( const XMove& ) = delete;
    ~XMove() { itsBlock.itsIsMoving = false; }

private:
    XMappedFileMemoryBlock& itsBlock;
    const XMemoryManager::XTransit itsTransit;
};

/// Even a block without bytes has storage.
USize64 XMappedFileMemoryBlock::GetStorageSize() const
{
    return std::max<USize64>( itsSize, 1 );
}

void* XMappedFileMemoryBlock::GetViewData() const
{
    return fileMapping ? fileMapping->GetViewData() : nullptr;
}

// ---- Allocation

void XMappedFileMemoryBlock::AllocateForMalloc()
{
    const void* mallocPtr = itsHeap.GetData();
    XAssert( !mallocPtr );
    itsHeap.Allocate( itsSize );
    itsState = kHeap;
    SetFlags( kInMemory );
}

void XMappedFileMemoryBlock::AllocateForMMap()
{
    XAssert( !fileMapping );
    fileMapping = std::make_unique<XMappedStorage>( GetManager(), GetStorageSize() );
    itsViewAccess = XFileMappingBase::kPageReadWrite;
    itsState = kPageFile;
}

/// Unless it is open.
void XMappedFileMemoryBlock::OpenFile()
{
    if ( itsFile )
        return;
    itsFile = std::make_shared<WFile>( itsPath, itsFileMode );
    itsPath.clear();
}

void XMappedFileMemoryBlock::OpenPermanentFile()
{
    OpenFile();
    fileMapping =
        MakeStorage( GetManager().MakeFileMapping( itsFile, itsOffset, GetStorageSize(), itsViewAccess ) );
}

std::unique_ptr<XMappedStorage>
XMappedFileMemoryBlock::MakeStorage( std::unique_ptr<XFileMappingBase> inMapping ) const
{
    return std::make_unique<XMappedStorage>( GetManager(), std::move( inMapping ) );
}

void XMappedFileMemoryBlock::DestroyMalloc()
{
    const void* mallocPtr = itsHeap.GetData();
    XAssert( mallocPtr );
    itsHeap.Free();
}

void XMappedFileMemoryBlock::DestroyMMap()
{
    TakeOutView( &XMappedStorage::GiveUpView );
    fileMapping.reset();
}

/// For a mapping that the bytes have moved away from: outer locks may still look at its view.
void XMappedFileMemoryBlock::RetireMMap()
{
    if ( SettleLockCount() <= 1 )
        return DestroyMMap();
    GetManager().RemoveBlock( this );
    itsRetired = std::move( fileMapping );
}

void XMappedFileMemoryBlock::Destroy()
{
    itsRetired.reset();
    if ( fileMapping )
        DestroyMMap();
    itsHeap.Free();
    itsMayHaveWritten = false;
    itsFile.reset();
    itsPath.clear();
    itsState = kUnallocated;
    itsSize = 0;
    SetFlags( 0 );
}

// ---- Into memory and out of it

/// A damaged view is given up for another try where nothing is lost with it.
void XMappedFileMemoryBlock::LockForMMap( XLockMode inMode )
{
    XAssert( !itsIsMoving );
    if ( itsState != kPermanentFile || SettleLockCount() > 0 || itsMayHaveWritten )
        CheckViewIntact();
    else if ( !IsViewIntact() )
        Unmap();
    if ( itsState != kPermanentFile )
        return;
    const bool mustSwapElsewhere =
        GetSwapOnLock() != kSwapNone && itsViewAccess == XFileMappingBase::kPageReadOnly;
    const bool mustCopy = ( inMode & kLockForWrite ) || mustSwapElsewhere;
    itsPendingCopy = IsPrivateFile() && mustCopy ? inMode : kLockNone;
}

/// After the last lock. A damaged view cannot be purged, so the manager is not to try.
void XMappedFileMemoryBlock::UnlockForMMap()
{
    itsRetired.reset();
    if ( IsViewIntact() )
    {
        // No writer is left and the view is intact, so what was written is in the file.
        itsMayHaveWritten = false;
        return;
    }
    GetManager().RemoveBlock( this );
    XSwallowErrors(
        []
        {
            XSessionLogManager::Log(
                kLogError, "Bytes of a mapped file could not be read, or changes to them not be kept" );
        } );
}

void XMappedFileMemoryBlock::Reload()
{
    const XMove move( *this );
    XTranslateBadAlloc(
        [&]
        {
            if ( IsUnallocated() )
                AllocateForMMap();
            else if ( !fileMapping )
                OpenPermanentFile();
            Map();
        } );
    if ( std::exchange( itsWasPurged, false ) )
        GetManager().NoteReload( GetTrueSize() );
}

/// Maps the view before adding the block to the manager's list; removal is in the opposite order.
void XMappedFileMemoryBlock::Map()
{
    XAssert( fileMapping );
    if ( fileMapping->GetViewData() )
        return;
    ReservePlace();
    MapView( *fileMapping, GetStorageSize(), itsViewAccess );
    SetFlags( kInMemory | kPurgeable );
    if ( itsState == kPermanentFile )
        HasReadOriginal();
    GetManager().AddBlock( this );
}

/// Where the address space has no hole of the size, purging may open one.
void XMappedFileMemoryBlock::MapView(
    XMappedStorage& ioStorage, USize64 inSize, XFileMappingBase::XPageProtection inAccess ) const
{
    try
    {
        ioStorage.MapView( inSize, inAccess );
    }
    catch ( const XException& error )
    {
        // A file that is too short fails for another reason, which no purge would mend.
        if ( error.GetErrorNumber() != kErrorMemoryNotMapped || !CanBeMapped( ioStorage, inSize ) )
            throw;
        GetManager().FreeMemory( inSize );
        ioStorage.MapView( inSize, inAccess );
    }
}

/// False for a permanent file that is too short.
bool XMappedFileMemoryBlock::CanBeMapped( const XMappedStorage& inStorage, USize64 inSize ) const
{
    const bool isOfFile = itsState == kPermanentFile && &inStorage == fileMapping.get();
    return !isOfFile || itsFile->GetSize() >= itsOffset + inSize;
}

void XMappedFileMemoryBlock::Unmap()
{
    XAssert( fileMapping );
    TakeOutView( &XMappedStorage::UnmapView );
}

void XMappedFileMemoryBlock::TakeOutView( void ( XMappedStorage::*inTakeOut )() )
{
    if ( !fileMapping->GetViewData() )
        return;
    const XMemoryManager::XTransit transit( GetManager() );
    GetManager().RemoveBlock( this );
    ( *fileMapping.*inTakeOut )();
    SetFlags( kOnDisk );
}

bool XMappedFileMemoryBlock::IsViewIntact() const
{
    return !GetViewData() || fileMapping->IsViewIntact();
}

void XMappedFileMemoryBlock::CheckViewIntact() const
{
    if ( !IsViewIntact() )
        XThrow( kErrorMemoryNotMapped );
}

void XMappedFileMemoryBlock::CheckIntact() const
{
    const XThreadLock lock( GetMutex() );
    CheckViewIntact();
    if ( itsRetired && !itsRetired->IsViewIntact() )
        XThrow( kErrorMemoryNotMapped );
}

// ---- From one kind of storage to another

void XMappedFileMemoryBlock::CopyView( void* outData, USize64 inSize ) const
{
    std::memcpy( outData, GetViewData(), inSize );
    CheckViewIntact();
}

void XMappedFileMemoryBlock::CopyToMalloc()
{
    const XMove move( *this );
    // AllocateForMalloc sets state and flags for the heap; the handler below restores them if the copy fails.
    const XStorageState state = itsState;
    const std::uint32_t flags = GetFlags();
    AllocateForMalloc();
    try
    {
        CopyView( itsHeap.GetData(), itsSize );
    }
    catch ( ... )
    {
        DestroyMalloc();
        itsState = state;
        SetFlags( flags );
        throw;
    }
    RetireMMap();
    SetFlags( kInMemory );
    HasKeptChanges();
}

void XMappedFileMemoryBlock::CopyToPagefile()
{
    MoveToPagefile( itsSize );
}

void XMappedFileMemoryBlock::MoveToPagefile( USize64 inSize )
{
    const XMove move( *this );
    const USize64 size = std::max<USize64>( inSize, 1 );
    auto storage = std::make_unique<XMappedStorage>( GetManager(), size );
    // May purge other blocks, but not this one: its mutex is held and it is marked as moving.
    MapView( *storage, size, XFileMappingBase::kPageReadWrite );
    CopyView( storage->GetViewData(), std::min( inSize, itsSize ) );
    RetireMMap();
    HasKeptChanges();
    UsePagefile( std::move( storage ), inSize );
}

/// The block has been mapped before, so it has its place on the list.
void XMappedFileMemoryBlock::UsePagefile( std::unique_ptr<XMappedStorage> inStorage, USize64 inSize )
{
    fileMapping = std::move( inStorage );
    itsState = kPageFile;
    itsViewAccess = XFileMappingBase::kPageReadWrite;
    itsSize = inSize;
    SetFlags( kInMemory | kPurgeable );
    GetManager().AddBlock( this );
}

void XMappedFileMemoryBlock::CopyToTempFile()
{
    // The bytes are in the file, and its mapping is made, before the view is unmapped: a full disk leaves the
    // block in memory.
    auto range = GetManager().Spill( GetViewData(), GetStorageSize() );
    auto mapping = GetManager().MakeFileMapping(
        range->GetFile(), range->GetOffset(), GetStorageSize(), XFileMappingBase::kPageReadWrite );
    auto storage = std::make_unique<XMappedStorage>( GetManager(), std::move( mapping ), std::move( range ) );
    Unmap();
    fileMapping = std::move( storage );
    itsState = kTemporaryFile;
}

/// To memory of another size. Its view would only take up room: without it the block is as after a purge, and stays so
/// where this fails.
void XMappedFileMemoryBlock::ReadFromTempFile( USize64 inSize )
{
    CheckViewIntact();
    const XMove move( *this );
    Unmap();
    auto storage = std::make_unique<XMappedStorage>( GetManager(), inSize );
    MapView( *storage, inSize, XFileMappingBase::kPageReadWrite );
    // Read rather than mapped and copied: that would need room for the bytes twice.
    const XSpillRange& range = *fileMapping->GetRange();
    const USize64 size = std::min( itsSize, inSize );
    if ( range.GetFile()->ReadAt( range.GetOffset(), storage->GetViewData(), size ) < size )
        XThrow( kErrorMemoryNotMapped );
    UsePagefile( std::move( storage ), inSize );
}

// ---- Sizes

void XMappedFileMemoryBlock::ResizeForMalloc( USize64 inSize )
{
    const XMove move( *this );
    itsHeap.Resize( inSize );
    itsSize = inSize;
}

void XMappedFileMemoryBlock::ResizeForMMap( USize64 inSize )
{
    if ( inSize == itsSize )
        return;
    if ( itsState == kPageFile && !GetViewData() )
    {
        // Memory that has not been allocated successfully yet.
        fileMapping = std::make_unique<XMappedStorage>( GetManager(), std::max<USize64>( inSize, 1 ) );
        itsSize = inSize;
    }
    else if ( IsPrivateFile() || inSize > itsSize )
        GrowForMMap( inSize );
    else
        ShrinkForMMap( inSize );
}

/// Memory grows where it is, if the system can, and what becomes larger than its file moves.
void XMappedFileMemoryBlock::GrowForMMap( USize64 inSize )
{
    if ( itsState == kTemporaryFile )
        return ReadFromTempFile( inSize );
    const XLock lockForMove( this, kLockForRead ); // else making room might purge this very block
    const USize64 oldViewSize = fileMapping->GetViewSize();
    if ( itsState != kPageFile || !ResizeView( inSize ) )
        return MoveToPagefile( inSize );
    // What an earlier shrinking could not cut off.
    // New bytes read as zero, also those that the system left behind when the view was shrunk.
    if ( oldViewSize > itsSize )
        std::memset(
            static_cast<std::uint8_t*>( GetViewData() ) + itsSize, 0,
            std::min( oldViewSize, inSize ) - itsSize );
    itsSize = inSize;
}

/// Needs no memory. Memory that the system cannot cut off remains after the bytes until the view is unmapped.
/// A file's view is unmapped at once: the next lock maps less of it.
void XMappedFileMemoryBlock::ShrinkForMMap( USize64 inSize )
{
    CheckViewIntact();
    if ( itsState == kPageFile )
        ResizeView( inSize );
    else
        Unmap();
    itsSize = inSize;
}

/// A block on the manager's list must stay where it is. It has its place there, so that adding does not fail.
bool XMappedFileMemoryBlock::ResizeView( USize64 inSize )
{
    const XMove move( *this );
    GetManager().RemoveBlock( this );
    bool isDone = false;
    try
    {
        isDone = fileMapping->ResizeView( std::max<USize64>( inSize, 1 ) );
    }
    catch ( ... )
    {
        GetManager().AddBlock( this );
        throw;
    }
    GetManager().AddBlock( this );
    return isDone;
}

/// A range that has not been mapped yet will be with its next lock.
void XMappedFileMemoryBlock::ResizePublicFile( USize64 inSize )
{
    CheckViewIntact();
    LengthenFile( inSize );
    if ( !fileMapping )
        itsSize = inSize;
    else if ( inSize <= itsSize )
        ShrinkForMMap( inSize );
    else
        GrowPublicFile( inSize );
}

void XMappedFileMemoryBlock::GrowPublicFile( USize64 inSize )
{
    auto storage = MakeStorage( GetManager().MakeFileMapping( itsFile, itsOffset, inSize, itsViewAccess ) );
    Unmap();
    fileMapping = std::move( storage );
    itsSize = inSize;
}

/// Extends the file for a range of `inSize` bytes. It is written, not just extended, because the disk must
/// have room before anything is written to the view.
void XMappedFileMemoryBlock::LengthenFile( USize64 inSize )
{
    OpenFile();
    constexpr USize64 kStep = 1024 * 1024;
    const std::uint64_t fileSize = itsOffset + std::max<USize64>( inSize, 1 );
    static XMutex sMutex; // keeps zeros off what another block has just lengthened the file for
    const XThreadLock lock( sMutex );
    const std::uint64_t before = itsFile->GetSize();
    const XVector<std::uint8_t> zeros( std::min( fileSize - std::min( before, fileSize ), kStep ) );
    try
    {
        // Not sparse: a hole would be filled by writes to the view, and there a full disk can only be
        // reported by a signal.
        for ( std::uint64_t end = before; end < fileSize; end = std::min( end + kStep, fileSize ) )
            itsFile->WriteAt( end, zeros.data(), std::min( fileSize - end, kStep ) );
    }
    catch ( ... )
    {
        XSwallowErrors( [&] { itsFile->SetSize( before ); } );
        throw;
    }
}
