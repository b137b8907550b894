#pragma once

#include "Files/WFile.h"
#include "Ground/XFileMappingBase.h"
#include "Memory/XHeapMemory.h"
#include "Memory/XMemoryBlock.h"

#include <atomic>
#include <filesystem>
#include <memory>

class XMappedStorage;

/// Bytes that can be purged: a view of the page file, of a temporary file, or of a range of a permanent file that the
/// block presents as memory. Fresh memory is zero, lies in the page file and is first allocated when it is locked. A
/// purge writes it to a range of the manager's temporary file, from which later purges and reloads map it without
/// copying.
///
/// Damage: bytes that cannot be read from their file while the block is locked, since the disk fails or the file has been
/// cut off, are zeros, and what is written to them does not get to the file. `CheckIntact` tells until the view goes, and
/// the session log does. A damaged view is not purged (1020). It cannot be locked either (1020), except that of a
/// permanent file which nobody has written to since it was last intact: that one is given up, and mapped anew.
///
/// Threads: see XMemoryBlock.
/// Errors: 1012 and 1020 when locking, for want of memory or budget or because the system refuses the view, even after
/// memory has been freed for it, or a permanent file is too short, or for damage; 1020, 1023, 2701 and what the disk
/// refuses (1263, 1021) when purging. Everything is as it was then.
class KORVALE_API XMappedFileMemoryBlock : public XMemoryBlock
{
public:
    /// Where the bytes live.
    enum XStorageState : std::uint32_t
    {
        kUnallocated = 0,
        kHeap = 1,
        kPageFile = 2,
        kPermanentFile = 3,
        kTemporaryFile = 4
    };

    /// What becomes of changes to a permanent file's bytes. Fresh memory may be either of the first two.
    enum XChangeMode : std::uint32_t
    {
        kPrivate = 0,      ///< The first lock for writing copies the bytes; the file stays as it is.
        kPrivatePages = 1, ///< The same, and bytes that only have to be swapped are swapped in the view.
        kPublic = 2        ///< Changes go to the file.
    };

    /// Bits of the flags of files that are opened by their path.
    enum XFileFlags : std::uint32_t
    {
        kOpenAtOnce = 0,
        kOpenWhenLocked = 1 ///< the first lock, or a resize, opens the file and not the constructor
    };

    static constexpr USize64 kDefaultHeapThreshold = 64 * 1024;

    /// Fresh memory. `inHeapThreshold`: the largest size of which private copies go to the heap. A change mode of kPublic
    /// is an internal error.
    explicit XMappedFileMemoryBlock(
        USize64 inSize, XChangeMode inChangeMode = kPrivate,
        USize64 inHeapThreshold = kDefaultHeapThreshold );

    /// A range of an open file, which must be open for writing if the mode is kPublic. Other modes than the three are an
    /// internal error.
    XMappedFileMemoryBlock(
        std::shared_ptr<WFile> inFile, std::uint64_t inOffset, USize64 inSize,
        XChangeMode inChangeMode = kPrivate );
    /// A range of a file that the block opens. What opening the file throws, and 1020 where it is too short: `Resize`
    /// alone lengthens it.
    XMappedFileMemoryBlock(
        const std::filesystem::path& inPath, std::uint64_t inOffset, USize64 inSize,
        WFile::Mode inFileMode = WFile::kRead, std::uint32_t inFlags = kOpenAtOnce,
        XChangeMode inChangeMode = kPrivate );
    ~XMappedFileMemoryBlock() override;

    /// Presents the same range of the same permanent file as `inOther`, which must be unchanged, as this block must be
    /// unallocated: both internal errors.
    void ShareMapping( const XMappedFileMemoryBlock& inOther );

    void* GetData() override;
    USize64 GetSize() const override;
    /// A public range of a file stays one, and a file that is too short is lengthened. A private range moves to the page
    /// file, and so do a temporary file's bytes to become more; other bytes stay where they are. Fewer bytes than before
    /// take no memory, except those of a private range. Bytes that grow out of the temporary file are read from it, which
    /// may throw what the disk refuses; they are on the disk then, as after a purge.
    void Resize( USize64 inSize ) override;
    bool IsEmpty() const override;
    void DestroySelf() override;
    USize64 GetPaddedSize() const override;
    /// To be asked under the block's mutex or, while the block is on the manager's list, under the memory mutex.
    std::uint64_t GetTrueAddress() const override;
    USize64 GetTrueSize() const override;
    void Purge() override;
    /// 1013 for a public range, whose file would be changed.
    void SetSwapOnLock( XByteSwapMode inMode ) override;
    void PostLock( XLockMode inMode ) override;
    /// A permanent file of which nothing has changed is shared, not copied.
    XMemoryBlock* Clone( USize64 inSize ) override;
    XMemoryBlock* CloneResized( USize64 inSize ) override;
    bool IsPurgedByWriting() const override { return itsState == kPageFile; }
    bool IsPublic() const override { return itsState == kPermanentFile && itsChangeMode == kPublic; }
    void CheckIntact() const override;

    XStorageState GetStorageState() const { return itsState; }
    XChangeMode GetChangeMode() const { return itsChangeMode; }
    USize64 GetHeapThreshold() const { return itsHeapThreshold; }
    bool IsUnallocated() const { return GetStorageState() == kUnallocated; }

    static XFileMappingBase::XPageProtection PermanentFileChangeModeToProtection( XChangeMode inChangeMode );

protected:
    void LockSelf( XLockMode inMode ) override;
    void UnlockSelf( XLockMode inMode ) override;
    bool AllowsQuickLocks() const override;
    void Reload() override;
    XMemoryBlock* MakeSimilar( USize64 inSize ) const override;
    bool AreChangesKept() const override { return itsState != kPermanentFile; }

private:
    class XMove;

    bool IsMapped() const { return itsState >= kPageFile; }
    bool IsPrivateFile() const { return itsState == kPermanentFile && itsChangeMode != kPublic; }
    bool IsViewIntact() const;
    void CheckViewIntact() const;
    USize64 GetStorageSize() const;
    void* GetViewData() const;
    std::unique_ptr<XMappedStorage> MakeStorage( std::unique_ptr<XFileMappingBase> inMapping ) const;

    // Storage
    void AllocateForMalloc();
    void AllocateForMMap();
    void OpenFile();
    void OpenPermanentFile();
    void Map();
    void
    MapView( XMappedStorage& ioStorage, USize64 inSize, XFileMappingBase::XPageProtection inAccess ) const;
    bool CanBeMapped( const XMappedStorage& inStorage, USize64 inSize ) const;
    void Unmap();
    void TakeOutView( void ( XMappedStorage::*inTakeOut )() );
    void DestroyMalloc();
    void DestroyMMap();
    void RetireMMap();
    void Destroy();
    void CopyView( void* outData, USize64 inSize ) const;
    void CopyToMalloc();
    void CopyToPagefile();
    void MoveToPagefile( USize64 inSize );
    void UsePagefile( std::unique_ptr<XMappedStorage> inStorage, USize64 inSize );
    void CopyToTempFile();
    void ReadFromTempFile( USize64 inSize );
    void LockForMMap( XLockMode inMode );
    void UnlockForMMap();
    void ResizeForMalloc( USize64 inSize );
    void ResizeForMMap( USize64 inSize );
    void GrowForMMap( USize64 inSize );
    void ShrinkForMMap( USize64 inSize );
    bool ResizeView( USize64 inSize );
    void ResizePublicFile( USize64 inSize );
    void GrowPublicFile( USize64 inSize );
    void LengthenFile( USize64 inSize );

    std::atomic<XStorageState> itsState = kUnallocated; // written under the mutex
    USize64 itsSize = 0;
    const XChangeMode itsChangeMode;
    const USize64 itsHeapThreshold;
    std::unique_ptr<XMappedStorage> fileMapping; // null unless storage is mapped
    XFileMappingBase::XPageProtection itsViewAccess = XFileMappingBase::kPageReadWrite;
    XHeapMemory itsHeap;                  // holds memory in the heap state only
    XLockMode itsPendingCopy = kLockNone; // the mode of the lock for which a private copy is to be made
    bool itsWasPurged = false;
    bool itsIsMoving = false;       // bytes are brought to another place, which may need room
    bool itsMayHaveWritten = false; // to a public range, since its view was last seen intact

    // A permanent file; the path is empty once the file is open.
    std::shared_ptr<WFile> itsFile;
    std::filesystem::path itsPath;
    WFile::Mode itsFileMode = WFile::kRead;
    std::uint64_t itsOffset = 0;

    std::unique_ptr<XMappedStorage> itsRetired; // what outer locks still look at after the bytes have moved
};
