#pragma once

#include "Threads/XLockable.h"

#include <memory>

class XMemoryHandle;
class XMemoryManager;
class XPurgeablePlace;

/// The size of the elements whose bytes are swapped when a block is locked.
enum XByteSwapMode : std::uint32_t
{
    kSwapNone = 0,
    kSwap16 = 2,
    kSwap32 = 4,
    kSwap64 = 8
};

/// A block of bytes that handles share. Derived classes store the bytes in plain heap memory, aligned heap
/// memory, or a mapping that can be purged while it is not locked and is reloaded by the next lock.
///
/// Ownership: shared by the handles that reference the block; the last one to unreference it deletes it. A
/// block that no handle has referenced yet belongs to its creator.
/// Threads: the block's mutex guards its lock count, flags and data, except that handles may change the lock
/// count without it, by quick locks. Lock holders synchronise their accesses to the bytes themselves.
/// Errors: unmatched locks are internal errors. Locking throws the errors of reloading the data: 1012 if the
/// budget has no room, 1020 if the bytes cannot be mapped.
class KORVALE_API XMemoryBlock : public XLockable
{
public:
    /// Flags.
    enum XFlags : std::uint32_t
    {
        kInMemory = 1,
        kOnDisk = 2,
        kPurgeable = 4 ///< has backing storage from which it can be reloaded
    };

    XMemoryBlock( const XMemoryBlock& ) = delete;
    XMemoryBlock& operator=( const XMemoryBlock& ) = delete;
    ~XMemoryBlock() override;

    /// The manager whose budget and purges apply to the block: the process's manager when the block was
    /// created.
    XMemoryManager& GetManager() const { return itsManager; }

    // ---- The data

    /// Valid until the unlock; an internal error unless the block is locked.
    virtual void* GetData() = 0;
    /// The size in bytes.
    virtual USize64 GetSize() const = 0;
    /// Keeps the bytes that fit; additional ones are undefined in heap memory and zero otherwise. An internal
    /// error while the block is locked. Throws 1012 or 1020, with nothing changed.
    virtual void Resize( USize64 inSize ) = 0;
    /// True if there is no data in memory for `GetData` to return.
    virtual bool IsEmpty() const = 0;
    /// Frees the data and its storage.
    virtual void DestroySelf() = 0;

    // ---- Address space

    /// The size including padding for alignment.
    virtual USize64 GetPaddedSize() const = 0;
    /// The address of the block and the size of its memory; 0 while it is not in memory.
    virtual std::uint64_t GetTrueAddress() const = 0;
    virtual USize64 GetTrueSize() const = 0;
    /// The size of the contiguous free range of address space that purging the block would create: its own
    /// and that of its free neighbours.
    virtual USize64 GetAddressSpaceMetric() const;

    // ---- Purging

    /// True if the block has backing storage, is in memory and is not locked.
    virtual bool CanPurge() const;
    /// Frees the memory and keeps the bytes in backing storage. Throws 1023 if the block cannot be purged,
    /// 2701 if another thread has held its mutex for 100 ms, and the errors of the disk; then nothing
    /// changes.
    virtual void Purge();
    /// Whether a purge must write the bytes to the disk, which may fail. Call it under the mutex.
    virtual bool IsPurgedByWriting() const { return false; }
    /// Ensures that the block can be added to the manager's list without memory from now on. Call it under
    /// the mutex. Throws 1012.
    void ReservePlace();
    /// Whether the block is locked, as far as can be known without the mutex.
    bool IsProbablyLocked() const { return GetLockCount() > 0; }

    std::uint32_t GetFlags() const { return itsFlags.load( std::memory_order_relaxed ); }
    /// Reliable only for lock holders, otherwise a hint: quick locks may change it at any time.
    std::int32_t GetLockCount() const
    {
        return static_cast<std::int32_t>( itsLocks.load( std::memory_order_relaxed ) & kCountMask );
    }
    /// The lock count, which cannot change until the caller unlocks the mutex. Call it under the mutex; ends
    /// quick locks.
    std::int32_t SettleLockCount() const;
    /// The time of the last lock in ticks of `WClock::GetCoarseTicks`; 0 if the block was never locked.
    std::int64_t GetLastLockTime() const { return itsLastLockTime.load( std::memory_order_relaxed ); }
    /// Orders locks of the same tick; for locks of several threads the order is approximate.
    std::uint64_t GetLastLockNumber() const { return itsLastLockNumber.load( std::memory_order_relaxed ); }
    /// The thread that took all current locks. After several threads have had the block locked at the same
    /// time, it is `kSeveralThreads` until all have unlocked it and it is locked again.
    std::uint32_t GetLockThread() const
    {
        return static_cast<std::uint32_t>( itsLocks.load( std::memory_order_relaxed ) >> kThreadShift );
    }
    static constexpr std::uint32_t kSeveralThreads = 0;

    // ---- Byte order

    /// Declares that the current bytes hold elements in the other byte order: the next lock swaps each
    /// element once. Trailing bytes that are not a whole element are unchanged. Data that is read from its
    /// file again is swapped again.
    virtual void SetSwapOnLock( XByteSwapMode inMode );
    /// The mode until the bytes have been swapped permanently.
    XByteSwapMode GetSwapOnLock() const;

    /// Once a block has a fetcher, its locks always take the mutex, so that they wait while data is fetched.
    void SetDataFetcher( XDataFetcher* inFetcher ) override;

    // ---- For handles

    virtual void Reference( const XMemoryHandle& inHandle );
    /// Deletes the block when the last reference is released.
    virtual void Unreference( const XMemoryHandle& inHandle );
    std::uint32_t GetRefCount() const { return itsRefCount.load( std::memory_order_acquire ); }

    /// Called before a handle locks the block for writing. If other handles share the block, the handle gets
    /// its own, by `XMemoryHandle::MoveToBlock`.
    virtual void PrepareForWriteLock( XMemoryHandle& ioHandle, XLockMode inMode );
    /// Called under the mutex after a lock, for work that needs the bytes in memory.
    virtual void PostLock( XLockMode inMode );

    /// Lock and unlock without the mutex, by changing the lock count only. Return false, with nothing
    /// changed, if that is not sufficient.
    bool TryQuickLock();
    bool TryQuickUnlock();
    /// Enables quick locks if `AllowsQuickLocks`, and returns whether it did; the bytes then do not move
    /// until the last unlock. Called under the mutex after a lock and its `PostLock`.
    bool BeginQuickLocks();

    /// Returns a new block of `inSize` bytes with a copy of the data as far as it fits. Owned by the caller.
    virtual XMemoryBlock* Clone( USize64 inSize );

    /// Returns the block of `inSize` bytes that replaces this one in a handle that shares it: a clone, or
    /// another range of the same file if changes are written to the file. Owned by the caller.
    virtual XMemoryBlock* CloneResized( USize64 inSize ) { return Clone( inSize ); }

    /// True if changes are visible to all users of the bytes: handles then share the block even while it is
    /// written to.
    virtual bool IsPublic() const { return false; }

    /// Throws 1020 if bytes of the data could not be read from storage, or written bytes are not stored. Call
    /// it after reading or writing and before the unlock: the next lock may map the data again.
    virtual void CheckIntact() const {}

protected:
    XMemoryBlock();

    void LockSelf( XLockMode inMode ) override;
    void UnlockSelf( XLockMode inMode ) override;

    /// Whether `LockSelf`, `PostLock` and `UnlockSelf` would now only count locks, in any mode, until the
    /// lock count is settled. Return true only if no derived class does more. Called under the mutex.
    virtual bool AllowsQuickLocks() const { return false; }

    /// Reloads the data. Purgeable classes override it; here it is an internal error.
    virtual void Reload();

    /// Returns a new block of the same class; owned by the caller.
    virtual XMemoryBlock* MakeSimilar( USize64 inSize ) const = 0;

    /// False for data whose changes are lost in a purge.
    virtual bool AreChangesKept() const { return true; }

    // The functions below are called under the mutex.

    void CheckLocked() const;
    void CheckUnlocked() const;
    void SetFlags( std::uint32_t inFlags ) { itsFlags.store( inFlags, std::memory_order_relaxed ); }

    /// Call when the data has been read from its file again.
    void HasReadOriginal() { itsIsSwapPending = itsSwapOnLock != kSwapNone; }
    /// Call when the current data has moved to storage that keeps changes.
    void HasKeptChanges();

private:
    friend class XPurgeableBlocks;

    // Parts of itsLocks: the lock count; whether quick locks are enabled; the lock thread.
    static constexpr std::uint64_t kCountMask = 0x7FFFFFFF;
    static constexpr std::uint64_t kQuick = 0x80000000;
    static constexpr unsigned kThreadShift = 32;

    static std::uint64_t AddLock( std::uint64_t inLocks, std::uint32_t inThread );
    void NoteLockTime( std::uint32_t inThread );
    /// Whether the next unlock must notify the manager. Call it under the mutex.
    void SetAside( bool inIsSetAside ) { itsIsSetAside = inIsSetAside; }
    void SwapData();
    void CopyBytesFrom( XMemoryBlock& ioSource );

    XMemoryManager& itsManager;
    std::atomic<std::uint32_t> itsRefCount = 0;
    // Written under the mutex; the manager reads them without it, as hints.
    std::atomic<std::uint32_t> itsFlags = 0;
    mutable std::atomic<std::uint64_t> itsLocks = 0;
    std::atomic<std::int64_t> itsLastLockTime = 0;
    std::atomic<std::uint64_t> itsLastLockNumber = 0;
    std::unique_ptr<XPurgeablePlace> itsPlace; // the entry for the manager's list, once reserved
    bool itsHasFetcher = false;                // or had one; guarded by the mutex
    bool itsIsSetAside = false;                // by the manager, because it was locked; guarded by the mutex
    XByteSwapMode itsSwapOnLock = kSwapNone;   // of the data as stored in its file
    bool itsIsSwapPending = false;
};
