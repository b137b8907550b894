#pragma once

#include "Files/WFile.h"
#include "Ground/XFileMappingBase.h"
#include "Memory/XHeapMemory.h"
#include "Memory/XMemoryBlock.h"

#include <atomic>
#include <filesystem>
#include <memory>

class XMappedStorage;

/// A block that can be purged: a view of the page file, of a temporary file, or of a range of a permanent
/// file. New memory is zero, is allocated from the page file, and only when the block is first locked. A
/// purge writes the bytes to a range of the manager's temporary file; later reloads map that range without
/// copying, and later purges unmap it.
///
/// Damage: if bytes cannot be read from their file while the block is locked, because the disk fails or the
/// file has been truncated, they read as zeros, and writes to them are not stored in the file. `CheckIntact`
/// reports this until the view is unmapped, and it is logged in the session log. A damaged view can be
/// neither purged (1020) nor locked again (1020). Exception: a view of a permanent file that has not been
/// written to since it was last intact is discarded and mapped again.
///
/// Threads: see XMemoryBlock.
/// Errors: locking throws 1012 and 1020 for lack of memory or budget, if the system cannot map the view even
/// after memory has been freed, if a permanent file is too short, and for damage. Purging throws 1020, 1023,
/// 2701 and the errors of the disk (1263, 1021). On an error nothing changes.
class KORVALE_API XMappedFileMemoryBlock : public XMemoryBlock
{
public:
    /// Where the bytes are stored.
    enum XStorageState : std::uint32_t
    {
        kUnallocated = 0,
        kHeap = 1,
        kPageFile = 2,
        kPermanentFile = 3,
        kTemporaryFile = 4
    };

    /// How changes to the bytes of a permanent file are handled. New memory may use either of the first two
    /// modes.
    enum XChangeMode : std::uint32_t
    {
        kPrivate = 0,      ///< the first write lock copies the bytes; the file is unchanged
        kPrivatePages = 1, ///< like kPrivate, but bytes that only have to be swapped are swapped in the view
        kPublic = 2        ///< changes are written to the file
    };

    /// Flags for files that are opened by path.
    enum XFileFlags : std::uint32_t
    {
        kOpenAtOnce = 0,
        kOpenWhenLocked = 1 ///< the first lock or resize opens the file instead of the constructor
    };

    static constexpr USize64 kDefaultHeapThreshold = 64 * 1024;

    /// New memory. `inHeapThreshold` is the largest size for which private copies are made in the heap.
    /// kPublic is an internal error.
    explicit XMappedFileMemoryBlock(
        USize64 inSize, XChangeMode inChangeMode = kPrivate,
        USize64 inHeapThreshold = kDefaultHeapThreshold );

    /// A range of an open file, which must be open for writing if the mode is kPublic. An unknown mode is an
    /// internal error.
    XMappedFileMemoryBlock(
        std::shared_ptr<WFile> inFile, std::uint64_t inOffset, USize64 inSize,
        XChangeMode inChangeMode = kPrivate );
    /// A range of a file that the block opens. Throws the errors of opening the file, and 1020 if it is too
    /// short; only `Resize` lengthens it.
    XMappedFileMemoryBlock(
        const std::filesystem::path& inPath, std::uint64_t inOffset, USize64 inSize,
        WFile::Mode inFileMode = WFile::kRead, std::uint32_t inFlags = kOpenAtOnce,
        XChangeMode inChangeMode = kPrivate );
    ~XMappedFileMemoryBlock() override;

    /// Maps the same range of the same permanent file as `inOther`. Internal errors unless `inOther` is
    /// unchanged and this block is unallocated.
    void ShareMapping( const XMappedFileMemoryBlock& inOther );

    void* GetData() override;
    USize64 GetSize() const override;
    /// A public range stays in its file; a file that is too short is lengthened. A private range moves to the
    /// page file, and so do the bytes of a temporary file if the block grows; otherwise the bytes stay where
    /// they are. Shrinking needs no memory, except for a private range. When bytes move from the temporary
    /// file, they are read from it, which may throw the errors of the disk; the block is then on disk, as
    /// after a purge.
    void Resize( USize64 inSize ) override;
    bool IsEmpty() const override;
    void DestroySelf() override;
    USize64 GetPaddedSize() const override;
    /// Call it under the block's mutex or, while the block is on the manager's list, under the memory mutex.
    std::uint64_t GetTrueAddress() const override;
    USize64 GetTrueSize() const override;
    void Purge() override;
    /// Throws 1013 for a public range, because its file would be changed.
    void SetSwapOnLock( XByteSwapMode inMode ) override;
    void PostLock( XLockMode inMode ) override;
    /// An unchanged permanent file is shared, not copied.
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
    XLockMode itsPendingCopy = kLockNone; // the mode of the lock that needs a private copy
    bool itsWasPurged = false;
    bool itsIsMoving = false;       // the bytes are being moved, which may need room
    bool itsMayHaveWritten = false; // to a public range since its view was last found intact

    // A permanent file; the path is empty once the file is open.
    std::shared_ptr<WFile> itsFile;
    std::filesystem::path itsPath;
    WFile::Mode itsFileMode = WFile::kRead;
    std::uint64_t itsOffset = 0;

    // the old storage, kept for outer locks after the bytes have moved
    std::unique_ptr<XMappedStorage> itsRetired;
};
