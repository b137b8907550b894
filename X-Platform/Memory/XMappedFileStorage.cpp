#include "Core/XErrorNumbers.h"
#include "Core/XException.h"
#include "Memory/XMappedFileMemoryBlock.h"
#include "Memory/XMappedStorage.h"
#include "Memory/XMemoryManager.h"

#include <algorithm>
#include <cstring>
#include <utility>

// How the bytes of a mapped-file block get into memory, out of it, and from one kind of storage to another. All of it
// runs under the block's mutex, and leaves the block as it was when it throws.

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
    fileMapping = MakeStorage( GetManager().MakePageFileMapping( GetStorageSize() ) );
    itsViewAccess = XFileMappingBase::kPageReadWrite;
    itsState = kPageFile;
}

void XMappedFileMemoryBlock::OpenPermanentFile()
{
    if ( !itsFile )
    {
        itsFile = std::make_shared<WFile>( itsPath, itsFileMode );
        itsPath.clear();
    }
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
    Unmap();
    fileMapping.reset();
}

/// For a mapping that the bytes have moved away from: outer locks may still look at its view.
void XMappedFileMemoryBlock::RetireMMap()
{
    if ( GetLockCount() <= 1 )
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
    itsFile.reset();
    itsPath.clear();
    itsState = kUnallocated;
    itsSize = 0;
    SetFlags( 0 );
}

// ---- Into memory and out of it

/// Only a permanent file can be damaged, or must not be written to.
void XMappedFileMemoryBlock::LockForMMap( XLockMode inMode )
{
    if ( itsState != kPermanentFile )
        return;
    // A view with damage in it is given up for another try.
    if ( GetViewData() && !fileMapping->IsViewIntact() && GetLockCount() == 0 )
        Unmap();
    const bool mustSwapElsewhere =
        GetSwapOnLock() != kSwapNone && itsViewAccess == XFileMappingBase::kPageReadOnly;
    const bool mustCopy = ( inMode & kLockForWrite ) || mustSwapElsewhere;
    itsPendingCopy = IsPrivateFile() && mustCopy ? inMode : kLockNone;
}

void XMappedFileMemoryBlock::Reload()
{
    if ( IsUnallocated() )
        AllocateForMMap();
    else if ( !fileMapping )
        OpenPermanentFile();
    Map();
    if ( std::exchange( itsWasPurged, false ) )
        GetManager().NoteReload( GetTrueSize() );
}

/// The view is there before the block is on the manager's list, and the block is off the list before the view goes.
void XMappedFileMemoryBlock::Map()
{
    XAssert( fileMapping );
    if ( fileMapping->GetViewData() )
        return;
    MapView( *fileMapping, GetStorageSize() );
    SetFlags( kInMemory | kPurgeable );
    if ( itsState == kPermanentFile )
        HasReadOriginal();
    GetManager().AddBlock( this );
}

/// Where the address space has no hole of the size, purging may open one.
void XMappedFileMemoryBlock::MapView( XMappedStorage& ioStorage, USize64 inSize )
{
    try
    {
        ioStorage.MapView( inSize, itsViewAccess );
    }
    catch ( const XException& error )
    {
        if ( itsState == kPermanentFile || error.GetErrorNumber() != kErrorMemoryNotMapped )
            throw;
        GetManager().FreeMemory( inSize );
        ioStorage.MapView( inSize, itsViewAccess );
    }
}

void XMappedFileMemoryBlock::Unmap()
{
    XAssert( fileMapping );
    if ( !fileMapping->GetViewData() )
        return;
    GetManager().RemoveBlock( this );
    fileMapping->UnmapView();
    SetFlags( kOnDisk );
}

void XMappedFileMemoryBlock::CheckIntact() const
{
    const XThreadLock lock( GetMutex() );
    if ( GetViewData() && !fileMapping->IsViewIntact() )
        XThrow( kErrorMemoryNotMapped );
}

// ---- From one kind of storage to another

void XMappedFileMemoryBlock::CopyView( void* outData, USize64 inSize ) const
{
    std::memcpy( outData, GetViewData(), inSize );
    CheckIntact();
}

void XMappedFileMemoryBlock::CopyToMalloc()
{
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
    const USize64 size = std::max<USize64>( inSize, 1 );
    auto storage = MakeStorage( GetManager().MakePageFileMapping( size ) );
    storage->MapView( size, XFileMappingBase::kPageReadWrite );
    CopyView( storage->GetViewData(), std::min( inSize, itsSize ) );
    RetireMMap();
    HasKeptChanges();
    fileMapping = std::move( storage );
    itsState = kPageFile;
    itsViewAccess = XFileMappingBase::kPageReadWrite;
    itsSize = inSize;
    SetFlags( kInMemory | kPurgeable );
    GetManager().AddBlock( this );
}

void XMappedFileMemoryBlock::CopyToTempFile()
{
    const std::shared_ptr<WFile> file = GetManager().MakeTemporaryFile();
    file->WriteAt( 0, GetViewData(), GetStorageSize() );
    auto storage = MakeStorage(
        GetManager().MakeFileMapping( file, 0, GetStorageSize(), XFileMappingBase::kPageReadWrite ) );
    Unmap();
    fileMapping = std::move( storage );
    itsState = kTemporaryFile;
}

// ---- Sizes

void XMappedFileMemoryBlock::ResizeForMalloc( USize64 inSize )
{
    itsHeap.Resize( inSize );
    itsSize = inSize;
}

void XMappedFileMemoryBlock::ResizePublicFile( USize64 inSize )
{
    if ( !itsFile )
        OpenPermanentFile();
    const USize64 size = std::max<USize64>( inSize, 1 );
    LengthenFile( itsOffset + size );
    auto storage = MakeStorage( GetManager().MakeFileMapping( itsFile, itsOffset, size, itsViewAccess ) );
    if ( fileMapping )
        Unmap();
    fileMapping = std::move( storage );
    itsSize = inSize;
}

/// Written, not just lengthened: the disk has to have room before somebody writes to the view.
void XMappedFileMemoryBlock::LengthenFile( std::uint64_t inFileSize )
{
    constexpr USize64 kStep = 1024 * 1024;
    std::uint64_t end = itsFile->GetSize();
    const XVector<std::uint8_t> zeros( std::min( inFileSize - std::min( end, inFileSize ), kStep ) );
    for ( ; end < inFileSize; end = std::min( end + kStep, inFileSize ) )
        itsFile->WriteAt( end, zeros.data(), std::min( inFileSize - end, kStep ) );
}
