#pragma once

#include "Threads/XLockable.h"

#include <memory>

class XMemoryHandle;
class XMemoryManager;
class XPurgeablePlace;

/// The elements whose bytes are reversed when a block is locked.
enum XByteSwapMode : std::uint32_t
{
    kSwapNone = 0,
    kSwap16 = 2,
    kSwap32 = 4,
    kSwap64 = 8
};

/// Bytes that handles share. What keeps the bytes is the kind's: plain heap memory, aligned heap memory, or a mapping
/// that can be purged while nobody has it locked and comes back with the next lock.
///
/// Ownership: the handles that reference a block own it together; the last one to unreference it deletes it.
/// A block that no handle has referenced yet belongs to who made it.
/// Threads: the block's own mutex guards its lock count, its flags and its data; handles may change the lock count
/// without it, by quick locks. Reading and writing the bytes is the business of those who hold locks.
/// Errors: internal errors for locks that do not match. Locking may throw whatever bringing the data back
/// throws: 1012 when the budget has no room, 1020 when the bytes cannot be mapped.
class KORVALE_API XMemoryBlock : public XLockable
{
public:
    /// Bits of the flags.
    enum XFlags : std::uint32_t
    {
        kInMemory = 1,
        kOnDisk = 2,
        kPurgeable = 4 ///< has a backing store, from which it can be brought back
    };

    XMemoryBlock( const XMemoryBlock& ) = delete;
    XMemoryBlock& operator=( const XMemoryBlock& ) = delete;
    ~XMemoryBlock() override;

    /// The manager whose budget and purges the block is subject to: the one that was the process's when it was made.
    XMemoryManager& GetManager() const { return itsManager; }

    // ---- The data

    /// Valid until the unlock; internal errors unless the block is locked.
    virtual void* GetData() = 0;
    /// Bytes.
    virtual USize64 GetSize() const = 0;
    /// Keeps the bytes as far as they fit; further ones are undefined in heap memory and zero elsewhere. An internal
    /// error while the block is locked. Throws 1012 or 1020 with everything as it was.
    virtual void Resize( USize64 inSize ) = 0;
    /// True when there is nothing in memory that `GetData` could give.
    virtual bool IsEmpty() const = 0;
    /// Gives up the data and what keeps it.
    virtual void DestroySelf() = 0;

    // ---- Place in the address space

    /// The size with what the kind adds to it for alignment.
    virtual USize64 GetPaddedSize() const = 0;
    /// Where the block begins and what it takes up; 0 while it is not in memory.
    virtual std::uint64_t GetTrueAddress() const = 0;
    virtual USize64 GetTrueSize() const = 0;
    /// The contiguous stretch of address space that purging the block would open: itself and what is free beside it.
    virtual USize64 GetAddressSpaceMetric() const;

    // ---- Purging

    /// True when the block has a backing store, is in memory and is not locked.
    virtual bool CanPurge() const;
    /// Gives up the memory and keeps the bytes. Throws 1023 when the block cannot be purged, 2701 when another thread
    /// has held its mutex for 100 ms, and what the disk refuses; then everything is as it was.
    virtual void Purge();
    /// Whether a purge has to write the bytes to the disk, which may refuse. Under the mutex.
    virtual bool IsPurgedByWriting() const { return false; }
    /// Makes sure, under the mutex, that the block can be put on the manager's list without memory, from now on. 1012.
    void ReservePlace();
    /// Locked right now, as far as one can tell without the mutex.
    bool IsProbablyLocked() const { return GetLockCount() > 0; }

    std::uint32_t GetFlags() const { return itsFlags.load( std::memory_order_relaxed ); }
    /// For whoever holds a lock, or as a hint: quick locks may change it at any time.
    std::int32_t GetLockCount() const
    {
        return static_cast<std::int32_t>( itsLocks.load( std::memory_order_relaxed ) & kCountMask );
    }
    /// The lock count, which stays as it is until the caller unlocks the mutex. Under the mutex; ends quick locks.
    std::int32_t SettleLockCount() const;
    /// When the block was last locked, as `WClock::GetCoarseTicks` tells the time; 0 if it never was.
    std::int64_t GetLastLockTime() const { return itsLastLockTime.load( std::memory_order_relaxed ); }
    /// Puts the locks of one moment into their order; those of several threads only roughly.
    std::uint64_t GetLastLockNumber() const { return itsLastLockNumber.load( std::memory_order_relaxed ); }
    /// The thread that has taken the locks on it; once several threads have had it locked at the same time,
    /// `kSeveralThreads` until all have unlocked it and one locks it again.
    std::uint32_t GetLockThread() const
    {
        return static_cast<std::uint32_t>( itsLocks.load( std::memory_order_relaxed ) >> kThreadShift );
    }
    static constexpr std::uint32_t kSeveralThreads = 0;

    // ---- Byte order

    /// States that the bytes, as they are now, hold elements in the other byte order: the next lock reverses each, once.
    /// Bytes at the end that are no whole element stay as they are. Data that comes from a file again is reversed again.
    virtual void SetSwapOnLock( XByteSwapMode inMode );
    /// The mode until the bytes have been reversed for good.
    XByteSwapMode GetSwapOnLock() const;

    /// Locks of a block that has had a fetcher always come to the mutex, so that they wait while data is fetched.
    void SetDataFetcher( XDataFetcher* inFetcher ) override;

    // ---- For handles

    virtual void Reference( const XMemoryHandle& inHandle );
    /// Deletes the block when no reference is left.
    virtual void Unreference( const XMemoryHandle& inHandle );
    std::uint32_t GetRefCount() const { return itsRefCount.load( std::memory_order_acquire ); }

    /// Called before a handle locks the block to write. Where others share the block, the handle gets one of its own, by
    /// `XMemoryHandle::MoveToBlock`.
    virtual void PrepareForWriteLock( XMemoryHandle& ioHandle, XLockMode inMode );
    /// Called under the mutex after a lock: does what needs the bytes in memory.
    virtual void PostLock( XLockMode inMode );

    /// Lock and unlock without the mutex, by nothing but counting. False, with nothing done, while that is not enough.
    bool TryQuickLock();
    bool TryQuickUnlock();
    /// Begins quick locks if `AllowsQuickLocks`. Called under the mutex after a lock and its `PostLock`. Returns whether it
    /// did; then the bytes stay where they are until the last lock is gone.
    bool BeginQuickLocks();

    /// A new block with a copy of the bytes, `inSize` of them, as far as there are so many. It belongs to the caller.
    virtual XMemoryBlock* Clone( USize64 inSize );

    /// The block of `inSize` bytes that a handle refers to instead of this one, which it shares with others: a clone, or
    /// another range of the same file where changes go to the file. It belongs to the caller.
    virtual XMemoryBlock* CloneResized( USize64 inSize ) { return Clone( inSize ); }

    /// True where changes are meant for everybody who looks at the bytes: handles share the block while it is written to.
    virtual bool IsPublic() const { return false; }

    /// 1020 if bytes of the data could not be read from where they lie, or what was written does not get there. To be
    /// called before the unlock by whoever has read or written: the next lock may start anew.
    virtual void CheckIntact() const {}

protected:
    XMemoryBlock();

    void LockSelf( XLockMode inMode ) override;
    void UnlockSelf( XLockMode inMode ) override;

    /// Whether `LockSelf`, `PostLock` and `UnlockSelf` would do nothing now but count locks, whatever their mode, until
    /// the lock count is settled. Only for a kind that knows that no class derived from it does more. Under the mutex.
    virtual bool AllowsQuickLocks() const { return false; }

    /// Brings the data back. A kind that can be purged overrides it; here it is an internal error.
    virtual void Reload();

    /// A new block of the same kind that belongs to the caller.
    virtual XMemoryBlock* MakeSimilar( USize64 inSize ) const = 0;

    /// False for data whose changes are lost when it is purged.
    virtual bool AreChangesKept() const { return true; }

    // The rest is called under the mutex.

    void CheckLocked() const;
    void CheckUnlocked() const;
    void SetFlags( std::uint32_t inFlags ) { itsFlags.store( inFlags, std::memory_order_relaxed ); }

    bool IsSwapPending() const { return itsIsSwapPending; }
    /// The data has come from its file again.
    void HasReadOriginal() { itsIsSwapPending = itsSwapOnLock != kSwapNone; }
    /// The data, as it is, has moved to where changes are kept.
    void HasKeptChanges();

private:
    friend class XPurgeableBlocks;

    // Parts of itsLocks: the count; whether quick locks are on; the lock thread.
    static constexpr std::uint64_t kCountMask = 0x7FFFFFFF;
    static constexpr std::uint64_t kQuick = 0x80000000;
    static constexpr unsigned kThreadShift = 32;

    static std::uint64_t AddLock( std::uint64_t inLocks, std::uint32_t inThread );
    void NoteLockTime( std::uint32_t inThread );
    /// Whether the next unlock has to tell the manager. Under the mutex.
    void SetAside( bool inIsSetAside ) { itsIsSetAside = inIsSetAside; }
    void SwapData();
    void CopyBytesFrom( XMemoryBlock& ioSource );

    XMemoryManager& itsManager;
    std::atomic<std::uint32_t> itsRefCount = 0;
    // Written under the mutex; the manager reads them without it, as a hint.
    std::atomic<std::uint32_t> itsFlags = 0;
    mutable std::atomic<std::uint64_t> itsLocks = 0;
    std::atomic<std::int64_t> itsLastLockTime = 0;
    std::atomic<std::uint64_t> itsLastLockNumber = 0;
    std::unique_ptr<XPurgeablePlace> itsPlace; // on the manager's list, once it is reserved
    bool itsHasFetcher = false;                // or had one; guarded by the mutex
    bool itsIsSetAside = false;                // by the manager, which found it locked; guarded by the mutex
    XByteSwapMode itsSwapOnLock = kSwapNone;   // of the data as its file has it
    bool itsIsSwapPending = false;
};
