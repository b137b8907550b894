#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Memory/XMemoryBlock.h"

#include <atomic>
#include <memory>

/// A value that stands for a block of bytes, which copies of the handle share until one of them is locked for
/// writing. The bytes are accessible only while the handle is locked with XLock:
///
///     const XLock lock( handle, kLockForWrite );
///     std::memset( handle.GetData(), 0, handle.GetDataSize() );
///
/// A handle that is locked for writing is copied byte by byte, unless changes go to a file: copies always
/// share such a range. A lock may have to move the bytes: the first write lock of a shared block, or of a
/// file range that must not be changed. Outer locks then keep using the old location until the last lock of
/// the handle is released.
///
/// Ownership: handles share ownership of their block.
/// Threads: any thread may lock, copy and change a handle; writers must exclude other users of the bytes by
/// other means.
/// Errors: 1012 and 1020 if the bytes are not available, 1013 for offsets outside the data. Internal errors:
/// using a handle without a block ("itsBlock"), accessing data that is not locked ("locks > 0"), and
/// resizing, assigning to, emptying or reading a locked handle ("locks == 0"). On an error the handle is
/// unchanged.
class KORVALE_API XMemoryHandle : public XLockable, public XStorable
{
public:
    /// How the stream form is compressed; the values are zlib's compression levels.
    enum XCompressionType : std::uint32_t
    {
        kNoCompression = 0,
        kFastestCompression = 1,
        kStandardCompression = 6,
        kBestCompression = 9
    };

    static constexpr XVersion GetClassVersion() { return XVersion( kClassMemoryHandle ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion( kClassNone ); }

    /// Creates a handle without a block; `Resize` and reading from a stream give it one.
    XMemoryHandle() = default;
    /// Creates uninitialised bytes in the block class that the manager selects.
    explicit XMemoryHandle( USize64 inSize );
    /// Takes ownership of a block that no handle references yet.
    explicit XMemoryHandle( std::unique_ptr<XMemoryBlock> inBlock );
    XMemoryHandle( const XMemoryHandle& inOther );
    XMemoryHandle& operator=( const XMemoryHandle& inOther );
    ~XMemoryHandle() override;

    bool HasBlock() const { return GetBlock() != nullptr; }
    /// The block, which may change with the next write lock. Null if there is none.
    XMemoryBlock* GetBlock() const { return itsBlock.load( std::memory_order_acquire ); }
    /// Makes the handle, which must not be locked, refer to a block that no handle references yet or whose
    /// owner shares it with this handle.
    void SetBlock( XMemoryBlock* inBlock );
    /// Replaces the block when a block prepares the handle for a write lock. The handle may be locked: outer
    /// locks keep their old block.
    void MoveToBlock( XMemoryBlock* inBlock );

    // ---- The bytes of a locked handle

    void* GetData() const;
    USize64 GetDataSize() const;
    std::uint8_t GetByte( USize64 inIndex ) const;
    void SetByte( USize64 inIndex, std::uint8_t inByte );
    std::uint8_t operator[]( USize64 inIndex ) const { return GetByte( inIndex ); }
    /// Throws 1020 if bytes could not be read from their file or changes are not stored there, because the
    /// disk fails or the file has been truncated. Call it after reading or writing and before the unlock: the
    /// next lock may read the file again.
    void CheckIntact() const;

    // ---- Operations that lock the handle themselves

    /// Keeps the bytes that fit. Copies of the handle keep their size.
    void Resize( USize64 inSize );
    /// Sets every byte to `inByte`.
    void Clear( std::uint8_t inByte = 0 );
    /// Frees the bytes; the size is then 0.
    void Empty();
    /// Purges the block. Does nothing if the block cannot be purged, or if another thread is using the handle
    /// or the block for 100 ms.
    void Purge();
    /// Returns a handle with a copy of the bytes in a block of its own, of the same class.
    XMemoryHandle CloneMemory() const;
    /// CopyDataFrom and CopyDataTo throw 1020 like `CheckIntact`.
    void CopyDataFrom( const void* inSource, USize64 inCount, USize64 inOffset = 0 );
    void CopyDataTo( void* outTarget, USize64 inCount, USize64 inOffset = 0 ) const;

    XByteSwapMode GetSwapOnLock() const;
    /// See XMemoryBlock; the handle gets a block of its own first.
    void SetSwapOnLock( XByteSwapMode inMode );

    // ---- The stream form

    /// A copy that shares the block; the caller owns it.
    XMemoryHandle* Clone() const override { return new XMemoryHandle( *this ); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    /// The size of the uncompressed stream form.
    USize64 GetStreamUsage() const override;
    /// Throws 1005 if the bytes are not the stream form of a handle.
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    /// Compresses at the level that the stream suggests.
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;
    void WriteStream( XStream& inStream, XCompressionType inCompression ) const;

    /// Reads the stream form up to the bytes of the handle: their number, the compression, and the number of
    /// bytes that they take in the stream from the new position on.
    static void GetHandleInfoFromStream(
        XStream& inStream, USize64& outSize, XCompressionType& outCompression, USize64& outStoredLength );

protected:
    /// Creates a block for this handle; the caller owns it.
    virtual XMemoryBlock* MakeBlock( USize64 inSize ) const;

    void LockSelf( XLockMode inMode ) override;
    void UnlockSelf( XLockMode inMode ) override;

private:
    /// A block that the handle no longer uses, with the number of locks that have yet to be undone.
    struct XRetired
    {
        XMemoryBlock* block;
        std::uint32_t locks;
    };

    class XBusy;

    XMemoryBlock& CheckedBlock() const;
    void CheckUnlocked() const;
    bool HasBytesToLock() const;
    void CheckRange( USize64 inCount, USize64 inOffset ) const;
    bool LockBlock( XLockMode inMode );
    void UnlockBlock( XMemoryBlock& ioBlock, XLockMode inMode );
    void ResizeBlock( XMemoryBlock& ioBlock, USize64 inSize );
    void ReleaseRetired();
    void BringBackRetired();
    XMemoryBlock* ShareBlockWith( XMemoryHandle& ioCopy ) const;
    void ReplaceBlock( XMemoryBlock* inBlock );

    // All guarded by the mutex; lock holders may read the block. The head of the source describes the
    // invariants.
    std::atomic<XMemoryBlock*> itsBlock = nullptr;
    std::atomic<XMemoryBlock*> itsQuickBlock = nullptr; // locked, and its bytes do not move; otherwise null
    std::uint32_t itsLocks = 0;
    std::uint32_t itsWriteLocks = 0; // of these
    std::uint32_t itsBlockLocks = 0; // of all locks, those on itsBlock
    XVector<XRetired> itsRetired;
    mutable std::uint32_t itsBusyCount = 0; // running operations during which the block must not be replaced
};
