#pragma once

#include "Core/Strings/XString.h"
#include "Files/WFile.h"
#include "Ground/XFileMappingBase.h"
#include "Threads/XMutex.h"

#include <atomic>
#include <filesystem>
#include <memory>

class XMemoryBlock;
class XMemoryBudget;
class XMemoryHandle;
class XMemoryManagerListener;
class XPageHeap;
class XPurgeableBlocks;
class XPurgePolicy;
class XRoomWaiters;
class XSpareViews;
class XSpillPlace;
class XSpillRange;
struct XSpareView;

/// Keeps the memory of the process's blocks inside a budget and frees memory and address space when they run short, by
/// purging blocks that nobody has locked and then by asking its listeners.
///
/// One at a time: the process's manager is made when it is first asked for. A stand-in that is constructed takes its
/// place until it is destroyed, which must not be before the blocks made meanwhile are gone; no other thread may use
/// the manager while a stand-in comes or goes.
///
/// Threads: any. The memory mutex guards the list of purgeable blocks and is held while blocks are chosen, but not while
/// they are purged: a chosen block stays alive because its own mutex is held until its purge is over. The
/// allocation mutex guards the list of listeners and is held while they are called and while blocks allocate
/// from the heap. A thread may lock the memory mutex while it holds the allocation mutex, not the other way
/// round. Blocks whose mutex another thread holds are passed over.
/// Errors: 1012 where neither blocks nor listeners can free what is needed; see `AboutToAllocate`.
///
/// Of the memory that mapped blocks give up a small part (at most `kMaxSpareBytes` and a sixteenth of the budget) is kept
/// for the next blocks of the same size. It is not in use, but stays inside the budget, and is the first to be given back
/// to the system when room or address space is lacking.
/// Units: bytes.
class KORVALE_API XMemoryManager
{
public:
    enum XRegionState : std::uint32_t
    {
        kRegionFree = 0,
        kRegionReserved = 1,
        kRegionInUse = 2
    };

    /// Whether a manager is the process's own or takes its place while it lives.
    enum XRole : std::uint32_t
    {
        kProcessManager,
        kStandIn
    };

    /// Bits of the flags of `FreeMemory`.
    enum XFreeFlags : std::uint32_t
    {
        kFreeByPolicy = 0,
        kFreeWithoutLogEntry = 1,
        kFreeBelowAddress = 2,
        kFreeAboveAddress = 4
    };

    /// What has gone on so far, for reports.
    struct XFigures
    {
        std::uint32_t purgeableBlocks; ///< in memory now
        std::uint64_t purges;          ///< of blocks, by whomever
        std::uint64_t purgedBytes;
        std::uint64_t reloads; ///< of blocks that had been purged
        std::uint64_t reloadedBytes;
        USize64 bytesInUse;
        USize64 peakBytes;
        USize64 budget;
    };

    /// For as long as it lives, the calling thread brings a block into memory or out of it, which therefore is not on the
    /// list yet, or no longer: others that lack room know that there is something to wait for. For kinds of blocks,
    /// around what maps and unmaps their bytes.
    class KORVALE_API XTransit
    {
    public:
        explicit XTransit( XMemoryManager& ioManager );
        XTransit( const XTransit& ) = delete;
        XTransit& operator=( const XTransit& ) = delete;
        ~XTransit();

    private:
        XRoomWaiters& itsWaiters;
    };

    /// How long a lock is waited for, in milliseconds.
    static constexpr std::uint32_t kDefaultPatience = 10'000;

    /// The most memory that is kept for blocks to come.
    static constexpr USize64 kMaxSpareBytes = 16 * 1024 * 1024;

    virtual ~XMemoryManager();
    XMemoryManager( const XMemoryManager& ) = delete;
    XMemoryManager& operator=( const XMemoryManager& ) = delete;

    static XMemoryManager* GetManager();

    XMutex& GetMemoryMutex() { return itsMemoryMutex; }
    XMutex& GetAllocationMutex() { return itsAllocationMutex; }

    // ---- The budget

    /// The most bytes that blocks and page-aligned memory may take up together. What is in use beyond a smaller budget
    /// is purged with the next allocation. 60 % of the machine's or the container's memory at first.
    void SetBudget( USize64 inBytes );
    USize64 GetBudget() const;
    USize64 GetBytesInUse() const;
    USize64 GetPeakBytesInUse() const;
    void ResetPeak();

    /// Enters `inSize` bytes as in use, after purging the least recently locked blocks, and asking the listeners, as far
    /// as that is needed to stay inside the budget. Where that is not enough it waits for other threads, as long as one
    /// of them may make room: one that is purging, that is bringing a block into memory or out of it, or that has locked
    /// a purgeable block less than the patience ago and does not itself wait for room. The wait uses no processor time
    /// and is alertable: a stop of the thread ends it. A thread that holds the memory mutex or the allocation mutex does
    /// not wait; with the memory mutex it does not ask listeners either.
    /// Throws 1012 when nobody can make room: more is wanted than the whole budget, the disk refuses purges (the text
    /// tells which folder and why), or what is
    /// left in use cannot be purged, is locked by this thread or by threads that wait for room too, or has been locked
    /// for longer than the patience. Then nothing is entered. A lock counts as its taker's, whoever unlocks; a block that
    /// several threads have had locked at the same time, as locked by a thread that does not wait, until all have
    /// unlocked it.
    void AboutToAllocate( USize64 inSize );
    /// How long after it was taken a lock of another thread is still waited for, in milliseconds: the lock of a thread
    /// that waits for the caller in another way, or never unlocks, must not hold it up for ever. 0: no waits for locks.
    void SetPatience( std::uint32_t inMilliseconds ) { itsPatience = inMilliseconds; }
    /// Releases a reservation made by `AboutToAllocate`.
    void HasFreed( USize64 inSize );

    /// The size of the largest block, up to `inSize`, for which there would be room after purging.
    USize64 GetMaxBlockSize( USize64 inSize );

    // ---- Freeing memory and address space

    /// Frees `inBytes`, or opens that much contiguous address space, by the purge policy and then the listeners; or frees
    /// the blocks below or above the address `inBytes`, as the flags say. Returns the bytes that were freed.
    USize64 FreeMemory( USize64 inBytes, std::uint32_t inFlags = kFreeByPolicy );
    /// Purges every block that lies in the range at least in part.
    USize64 FreeBlocksInRange( std::uint64_t inBegin, std::uint64_t inEnd );

    /// Requests that ran the purge policy, and the blocks that this manager has purged.
    std::uint32_t GetFreeCount() const { return itsFreeCount; }
    std::uint32_t GetPurgeCount() const { return itsPurgeCount; }
    std::uint32_t GetPurgeableBlockCount();
    /// 0 when there are none.
    USize64 GetLargestPurgeableBlockSize();

    /// The listener is not owned. Listeners are asked in the order in which they were added. May be called by a listener
    /// while it is asked: one that is added is asked from the next time on, one that is removed is not asked any more. On
    /// other threads both wait until the listeners have been asked, so a listener that has been removed may be destroyed.
    void AddListener( XMemoryManagerListener* inListener );
    void RemoveListener( XMemoryManagerListener* inListener );

    // ---- The address space

    /// Describes the region around an address. False beyond what the process may use.
    virtual bool QueryRegionInfo(
        std::uint64_t inAddress, std::uint64_t& outBase, std::uint64_t& outSize, XRegionState& outState,
        std::uint32_t& outProtection ) = 0;
    virtual std::uint64_t GetAddressSpaceSize() const = 0;
    std::uint64_t GetAddressSpaceInUse();
    /// The free bytes that end at an address, and that begin there, in whole units of allocation.
    std::uint64_t GetFreeSpaceBeforeAddr( std::uint64_t inAddress );
    std::uint64_t GetFreeSpaceAfterAddr( std::uint64_t inAddress );

    static std::uint64_t GetAllocationGranularity();
    static USize64 AlignSizeToAllocationGranularity( USize64 inSize );
    static USize64 AlignSizeToPageSize( USize64 inSize );

    // ---- Memory in whole pages, inside the budget. Sizes are exact; a size of 0 is one byte. 1012.

    void* PageAlignedAlloc( USize64 inSize );
    /// A null pointer allocates. Keeps the bytes as far as they fit; on failure everything is as it was.
    void* PageAlignedRealloc( void* inMemory, USize64 inSize );
    /// A null pointer is let pass.
    void PageAlignedFree( void* inMemory );
    USize64 PageAlignedGetSize( const void* inMemory );

    // ---- Blocks

    /// The block that a plain handle of this size gets; the caller owns it.
    virtual XMemoryBlock* MakeBlock( USize64 inSize );

    /// Enters a block that is in memory and can be purged, and takes it off the list, before its view goes and at the
    /// latest in its destructor. While the memory mutex is held a block on the list stays where it is. Removing takes the
    /// block's mutex, so it waits until another thread's purge of the block is over: the caller must not hold the memory
    /// mutex. Adding, under the block's mutex, throws 1012 where the block has not reserved its place
    /// (`XMemoryBlock::ReservePlace`) and there is no memory for one.
    void AddBlock( XMemoryBlock* inBlock );
    void RemoveBlock( XMemoryBlock* inBlock );
    /// Called by a block whose last lock is gone, under its mutex, if the manager has found it locked.
    void HasUnlocked( XMemoryBlock& inBlock );

    /// For the figures.
    void NotePurge( USize64 inSize );
    void NoteReload( USize64 inSize );

    /// Takes over a view of the page file, with its share of the budget, that a block has given up while it is in transit.
    void KeepSpareView( XSpareView inView );
    /// A view of `inSize` bytes with its share of the budget and with the bytes that are in it, if one is kept.
    XSpareView TakeSpareView( USize64 inSize );

    /// Writes the bytes of a block that is purged to a range of the temporary file, which they keep until the range goes.
    /// Throws what the disk refuses; as much or more is refused with the same error, without another try, for a second.
    std::unique_ptr<XSpillRange> Spill( const void* inData, USize64 inSize );
    /// Where purged blocks go: `WFolders::GetTemporaryFolder()` until another folder is set.
    void SetTemporaryFolder( const std::filesystem::path& inFolder );
    std::filesystem::path GetTemporaryFolder() const;

    // ---- Status

    XFigures GetFigures();
    /// The figures and the state of the address space, a line each.
    XString GetDebugStatus();
    /// Fills the handle with `inSize` bytes, each of which stands for an equal part of the address space between the
    /// first and the last region in use: the share that is in use, 0 to 255.
    void MakeHeapImage( XMemoryHandle& outHandle, USize64 inSize );
    /// A self-test of purging: makes handles of `blockSize` bytes and locks each once, until a block has been purged or
    /// an allocation throws. A size of 0 is an internal error.
    void TestOutOfMemory( USize64 blockSize );

    // ---- What the system gives blocks

    /// Null when the system has none left. `inAlignment` is a power of two.
    virtual void* AllocateHeap( USize64 inSize, USize64 inAlignment ) = 0;
    virtual void*
    ReallocateHeap( void* inMemory, USize64 inOldSize, USize64 inSize, USize64 inAlignment ) = 0;
    virtual void FreeHeap( void* inMemory, USize64 inAlignment ) = 0;
    /// Throw 1020, and what opening the file throws.
    virtual std::unique_ptr<XFileMappingBase> MakePageFileMapping( USize64 inSize ) = 0;
    virtual std::unique_ptr<XFileMappingBase> MakeFileMapping(
        std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, USize64 inSize,
        XFileMappingBase::XPageProtection inProtection ) = 0;
    virtual std::shared_ptr<WFile> MakeTemporaryFile() = 0;

protected:
    explicit XMemoryManager( XRole inRole );

    /// Frees by the purge policy: the oldest block that frees enough or opens a large enough hole, else a run of
    /// neighbours that does.
    virtual USize64 FreeMemorySelf( USize64 inBytes );

    /// Around queries that may all be answered from one reading of the address space. Called under the memory mutex.
    virtual void BeginRegionQueries() {}
    virtual void EndRegionQueries() {}

private:
    class XRegionQueries;
    struct XRoomSearch;

    struct XPurgeResult
    {
        USize64 bytes = 0;
        bool hasFailed = false; ///< for another reason than that the block is in use
    };

    class XNoRoomException;

    void Release( XSpareView inView );
    bool ReleaseSpareViews( USize64 inBytes );
    USize64 GetMaxSpareBytes() const;
    USize64 GetSpareExcess() const;
    bool MakeRoom( USize64 inBytes, XRoomSearch& ioSearch );
    USize64 PurgeOldest( USize64 inBytes, XRoomSearch& ioSearch );
    bool WaitForRoom( XRoomSearch& ioSearch );
    [[noreturn]] void ThrowNoRoom( const XRoomSearch& inSearch ) const;
    bool MayWait() const;
    std::uint32_t GetPatienceFor( XRoomSearch& ioSearch );
    std::uint32_t GetPatienceForLocks();
    std::uint32_t GetPatienceSince( std::int64_t inTicks ) const;
    XPurgeResult PurgeLocked( XMemoryBlock& ioBlock );
    bool LockListed( XMemoryBlock* inBlock );
    USize64 NotifyListenersFreeMemory( USize64 inBytes );
    template<class Visit>
    void VisitRegions( Visit inVisit );

    XMemoryManager* const itsPrevious; // that this one stands in for
    XMutex itsMemoryMutex;             // guards the next one
    const std::unique_ptr<XPurgeableBlocks> itsBlocks;
    // Guarded by the allocation mutex; null in place of one that was removed while they are asked.
    XVector<XMemoryManagerListener*> itsListeners;
    bool itsIsAskingListeners = false; // guarded by the allocation mutex
    XMutex itsAllocationMutex;
    const std::unique_ptr<XMemoryBudget> itsBudget;
    const std::unique_ptr<XRoomWaiters> itsRoomWaiters;
    const std::unique_ptr<XSpareViews> itsSpareViews;
    const std::unique_ptr<XSpillPlace> itsSpillPlace;
    const std::unique_ptr<XPageHeap> itsPageHeap; // gives back what is left in it, so it goes first
    std::atomic<std::uint32_t> itsPatience = kDefaultPatience;
    mutable XMutex itsFolderMutex;
    std::filesystem::path itsTemporaryFolder; // guarded by itsFolderMutex; empty: the system's
    std::atomic<std::uint32_t> itsFreeCount = 0;
    std::atomic<std::uint32_t> itsPurgeCount = 0;
    std::atomic<std::uint64_t> itsPurges = 0;
    std::atomic<std::uint64_t> itsPurgedBytes = 0;
    std::atomic<std::uint64_t> itsReloads = 0;
    std::atomic<std::uint64_t> itsReloadedBytes = 0;
};
