#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Memory/XMemoryBlock.h"

#include <atomic>
#include <memory>

/// A value of bytes, kept in a block that copies of the handle share until one of them is locked for writing. The bytes
/// can be reached only while the handle is locked, through XLock:
///
///     const XLock lock( handle, kLockForWrite );
///     std::memset( handle.GetData(), 0, handle.GetDataSize() );
///
/// A handle that is locked for writing is copied byte by byte, unless its changes go to a file: such a range copies share
/// all the time. Where a lock has to bring the bytes to another place - the first write lock of a shared block, or of a
/// range of a file that is not to be changed - outer locks keep looking at the old place until all of the handle's locks
/// are gone.
///
/// Ownership: handles own their block together.
/// Threads: any thread may lock, copy and change a handle; who writes keeps others out in another way.
/// Errors: 1012 and 1020 where bytes cannot be had, 1013 for bytes outside the data; internal errors for a
/// handle without a block ("itsBlock"), for data that is not locked ("locks > 0"), and for resizing, assigning
/// to, emptying or reading from a stream a handle that is ("locks == 0"). Each leaves the handle as it was.
class KORVALE_API XMemoryHandle : public XLockable, public XStorable
{
public:
    /// How the stream form is compressed: by how much work zlib puts into it.
    enum XCompressionType : std::uint32_t
    {
        kNoCompression = 0,
        kFastestCompression = 1,
        kStandardCompression = 6,
        kBestCompression = 9
    };

    static constexpr XVersion GetClassVersion() { return XVersion( kClassMemoryHandle ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion( kClassNone ); }

    /// Without a block; `Resize` and reading from a stream give it one.
    XMemoryHandle() = default;
    /// Bytes in the kind of block that the manager makes, undefined at first.
    explicit XMemoryHandle( USize64 inSize );
    /// Takes over a block that no handle references yet.
    explicit XMemoryHandle( std::unique_ptr<XMemoryBlock> inBlock );
    XMemoryHandle( const XMemoryHandle& inOther );
    XMemoryHandle& operator=( const XMemoryHandle& inOther );
    ~XMemoryHandle() override;

    bool HasBlock() const { return GetBlock() != nullptr; }
    /// The block, which may be another after the next write lock. Null if there is none.
    XMemoryBlock* GetBlock() const { return itsBlock.load( std::memory_order_acquire ); }
    /// Lets the handle, which is not locked, refer to a block that no handle references yet, or whose owner shares it
    /// this way.
    void SetBlock( XMemoryBlock* inBlock );
    /// The same for blocks that prepare the handle for a write lock. The handle may be locked: outer locks keep the block
    /// that they have locked.
    void MoveToBlock( XMemoryBlock* inBlock );

    // ---- The bytes of a locked handle

    void* GetData() const;
    USize64 GetDataSize() const;
    std::uint8_t GetByte( USize64 inIndex ) const;
    void SetByte( USize64 inIndex, std::uint8_t inByte );
    std::uint8_t operator[]( USize64 inIndex ) const { return GetByte( inIndex ); }
    /// Throws 1020 if bytes could not be read from the file they lie in, or changes do not get there: the disk fails, or
    /// the file has been cut off. For whoever has read or written bytes, before the unlock: the next lock may read anew.
    void CheckIntact() const;

    // ---- Operations that lock for themselves

    /// Keeps the bytes as far as they fit. Copies of the handle keep their size.
    void Resize( USize64 inSize );
    /// Sets every byte.
    void Clear( std::uint8_t inByte = 0 );
    /// Gives up the bytes: the size is 0 afterwards.
    void Empty();
    /// Asks the block to give up its memory; nothing happens if it cannot, or if another thread is busy with the handle
    /// or the block for 100 ms.
    void Purge();
    /// A handle with a copy of the bytes in a block of its own, of the same kind.
    XMemoryHandle CloneMemory() const;
    /// Both throw 1020 where `CheckIntact` does.
    void CopyDataFrom( const void* inSource, USize64 inCount, USize64 inOffset = 0 );
    void CopyDataTo( void* outTarget, USize64 inCount, USize64 inOffset = 0 ) const;

    XByteSwapMode GetSwapOnLock() const;
    /// See XMemoryBlock; the block becomes the handle's own first.
    void SetSwapOnLock( XByteSwapMode inMode );

    // ---- The stream form

    /// A copy that shares the block; the caller owns it.
    XMemoryHandle* Clone() const override { return new XMemoryHandle( *this ); }
    XVersion GetVersion() const override { return GetClassVersion(); }
    /// Of the form without compression.
    USize64 GetStreamUsage() const override;
    /// Throws 1005 for bytes that are not the form of a handle.
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    /// Compresses as hard as the stream suggests.
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;
    void WriteStream( XStream& inStream, XCompressionType inCompression ) const;

    /// Reads what precedes the bytes of a handle: their number, how they are compressed, and how many bytes of the stream
    /// they take up, which begin at the position then.
    static void GetHandleInfoFromStream(
        XStream& inStream, USize64& outSize, XCompressionType& outCompression, USize64& outStoredLength );

protected:
    /// A new block for this handle; the caller owns it.
    virtual XMemoryBlock* MakeBlock( USize64 inSize ) const;

    void LockSelf( XLockMode inMode ) override;
    void UnlockSelf( XLockMode inMode ) override;

private:
    /// A block that the handle no longer uses, with the locks that are still to be undone.
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

    // All guarded by the mutex; the block may be read by who holds a lock. How they belong together is at the head of the
    // source.
    std::atomic<XMemoryBlock*> itsBlock = nullptr;
    std::atomic<XMemoryBlock*> itsQuickBlock =
        nullptr; // locked, with bytes that stay in their place; else null
    std::uint32_t itsLocks = 0;
    std::uint32_t itsWriteLocks = 0; // of these
    std::uint32_t itsBlockLocks = 0; // of all, on itsBlock
    XVector<XRetired> itsRetired;
    mutable std::uint32_t itsBusyCount =
        0; // operations in the middle of which the block must not be exchanged
};
