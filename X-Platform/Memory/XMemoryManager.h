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

/// Keeps the memory of the process's blocks within a budget. When memory or address space runs short, it
/// purges unlocked blocks, then asks its listeners to free memory.
///
/// There is one manager at a time: the process's manager is created on first use. A stand-in replaces it from
/// its construction to its destruction, which must come after the destruction of all blocks created
/// meanwhile; no other thread may use the manager while a stand-in is created or destroyed.
///
/// Threads: any. The memory mutex guards the list of purgeable blocks and is held while blocks are selected,
/// but not while they are purged: a selected block stays alive because its own mutex is held until its purge
/// is over. The allocation mutex guards the list of listeners and is held while they are called and while
/// blocks allocate from the heap. A thread may lock the memory mutex while it holds the allocation mutex, but
/// not the other way round. Blocks whose mutex is held by another thread are skipped.
/// Errors: 1012 if neither blocks nor listeners can free enough; see `AboutToAllocate`.
///
/// A small part of the memory released by mapped blocks (at most `kMaxSpareBytes` and a sixteenth of the
/// budget) is kept for new blocks of the same size. It is not in use but counts against the budget, and is
/// the first to be returned to the system when room or address space is short.
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

    /// Whether a manager is the process's own or replaces it temporarily.
    enum XRole : std::uint32_t
    {
        kProcessManager,
        kStandIn
    };

    /// Flags of `FreeMemory`.
    enum XFreeFlags : std::uint32_t
    {
        kFreeByPolicy = 0,
        kFreeWithoutLogEntry = 1,
        kFreeBelowAddress = 2,
        kFreeAboveAddress = 4
    };

    /// Statistics for reports.
    struct XFigures
    {
        std::uint32_t purgeableBlocks; ///< in memory now
        std::uint64_t purges;          ///< of blocks, by any caller
        std::uint64_t purgedBytes;
        std::uint64_t reloads; ///< of blocks that had been purged
        std::uint64_t reloadedBytes;
        USize64 bytesInUse;
        USize64 peakBytes;
        USize64 budget;
    };

    /// Marks a scope in which the calling thread brings a block into or out of memory. Such a block is not on
    /// the list, so this shows threads that need room that there is something to wait for. Block classes use
    /// it around mapping and unmapping.
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

    /// How long to wait for a lock, in milliseconds.
    static constexpr std::uint32_t kDefaultPatience = 10'000;

    /// The maximum amount of memory kept for new blocks.
    static constexpr USize64 kMaxSpareBytes = 16 * 1024 * 1024;

    virtual ~XMemoryManager();
    XMemoryManager( const XMemoryManager& ) = delete;
    XMemoryManager& operator=( const XMemoryManager& ) = delete;

    static XMemoryManager* GetManager();

    XMutex& GetMemoryMutex() { return itsMemoryMutex; }
    XMutex& GetAllocationMutex() { return itsAllocationMutex; }

    // ---- The budget

    /// The maximum number of bytes for blocks and page-aligned memory together. If a new budget is exceeded,
    /// the excess is purged with the next allocation. Initially 60 % of the memory of the machine or the
    /// container.
    void SetBudget( USize64 inBytes );
    USize64 GetBudget() const;
    USize64 GetBytesInUse() const;
    USize64 GetPeakBytesInUse() const;
    void ResetPeak();

    /// Reserves `inSize` bytes as in use. To stay within the budget, it first purges the least recently
    /// locked blocks and asks the listeners. If that is not enough, it waits as long as another thread may
    /// make room: one that is purging, that is bringing a block into or out of memory, or that has locked a
    /// purgeable block for less than the patience and is not itself waiting for room. The wait uses no
    /// processor time and is alertable: stopping the thread ends it. A thread that holds the memory mutex or
    /// the allocation mutex does not wait; with the memory mutex it does not ask listeners either.
    ///
    /// Throws 1012, with nothing reserved, if no thread can make room: if more than the whole budget is
    /// requested, if the disk rejects purges (the text names the folder and the cause), or if all remaining
    /// bytes in use cannot be purged, are locked by this thread or by other threads that wait for room, or
    /// have been locked for longer than the patience. A lock is attributed to the thread that took it,
    /// whichever thread unlocks it. A block that several threads have had locked at the same time counts as
    /// locked by a thread that does not wait, until all have unlocked it.
    void AboutToAllocate( USize64 inSize );
    /// The patience, in milliseconds: how long after another thread has taken a lock AboutToAllocate still
    /// waits for its release; 0 for not at all. It limits waits for threads that never unlock, or that wait
    /// for the caller in another way.
    void SetPatience( std::uint32_t inMilliseconds ) { itsPatience = inMilliseconds; }
    /// Releases a reservation made by `AboutToAllocate`.
    void HasFreed( USize64 inSize );

    /// The size of the largest block, up to `inSize`, that could be allocated after purging.
    USize64 GetMaxBlockSize( USize64 inSize );

    // ---- Freeing memory and address space

    /// Frees `inBytes`, or that much contiguous address space, by the purge policy and then the listeners.
    /// With kFreeBelowAddress or kFreeAboveAddress it frees the blocks below or above the address `inBytes`
    /// instead. Returns the number of bytes freed.
    USize64 FreeMemory( USize64 inBytes, std::uint32_t inFlags = kFreeByPolicy );
    /// Purges every block that overlaps the range.
    USize64 FreeBlocksInRange( std::uint64_t inBegin, std::uint64_t inEnd );

    /// The number of requests that ran the purge policy, and of blocks that this manager has purged.
    std::uint32_t GetFreeCount() const { return itsFreeCount; }
    std::uint32_t GetPurgeCount() const { return itsPurgeCount; }
    std::uint32_t GetPurgeableBlockCount();
    /// 0 if there are none.
    USize64 GetLargestPurgeableBlockSize();

    /// Listeners are not owned, and are called in the order in which they were added. A listener may add and
    /// remove listeners while it is called: an added one is called from the next time on, a removed one is
    /// not called any more. On other threads both functions wait until the running calls are over, so a
    /// listener can be destroyed after its removal.
    void AddListener( XMemoryManagerListener* inListener );
    void RemoveListener( XMemoryManagerListener* inListener );

    // ---- The address space

    /// Describes the region that contains an address. Returns false beyond the address space of the process.
    virtual bool QueryRegionInfo(
        std::uint64_t inAddress, std::uint64_t& outBase, std::uint64_t& outSize, XRegionState& outState,
        std::uint32_t& outProtection ) = 0;
    virtual std::uint64_t GetAddressSpaceSize() const = 0;
    std::uint64_t GetAddressSpaceInUse();
    /// The free bytes that end or begin at an address, in whole units of allocation.
    std::uint64_t GetFreeSpaceBeforeAddr( std::uint64_t inAddress );
    std::uint64_t GetFreeSpaceAfterAddr( std::uint64_t inAddress );

    static std::uint64_t GetAllocationGranularity();
    static USize64 AlignSizeToAllocationGranularity( USize64 inSize );
    static USize64 AlignSizeToPageSize( USize64 inSize );

    // ---- Memory in whole pages, within the budget. Sizes are exact; a size of 0 is one byte. Throws 1012.

    void* PageAlignedAlloc( USize64 inSize );
    /// A null pointer allocates. Keeps the bytes that fit; on failure nothing changes.
    void* PageAlignedRealloc( void* inMemory, USize64 inSize );
    /// A null pointer is ignored.
    void PageAlignedFree( void* inMemory );
    USize64 PageAlignedGetSize( const void* inMemory );

    // ---- Blocks

    /// Creates the block for a plain handle of this size; the caller owns it.
    virtual XMemoryBlock* MakeBlock( USize64 inSize );

    /// Adds a purgeable block that is in memory to the list, or removes it. Remove it before its view is
    /// unmapped, at the latest in its destructor. A block on the list does not move while the memory mutex is
    /// held. Removing takes the block's mutex and so waits for another thread's purge of the block; the
    /// caller must not hold the memory mutex. Adding, under the block's mutex, throws 1012 if the block has
    /// not reserved its place (`XMemoryBlock::ReservePlace`) and there is no memory for it.
    void AddBlock( XMemoryBlock* inBlock );
    void RemoveBlock( XMemoryBlock* inBlock );
    /// Called by a block under its mutex when its last lock is released, if the manager has found it locked.
    void HasUnlocked( XMemoryBlock& inBlock );

    /// Count purges and reloads for the statistics.
    void NotePurge( USize64 inSize );
    void NoteReload( USize64 inSize );

    /// Takes over a page-file view that a block in transit has released, with its share of the budget.
    void KeepSpareView( XSpareView inView );
    /// Returns a kept view of `inSize` bytes with its old contents and its share of the budget; empty if
    /// there is none.
    XSpareView TakeSpareView( USize64 inSize );

    /// Writes the bytes of a block being purged to a range of the temporary file, which is theirs until the
    /// range is destroyed. Throws the error of the disk; writes of the same or a larger size then fail with
    /// the same error for one second, without another attempt.
    std::unique_ptr<XSpillRange> Spill( const void* inData, USize64 inSize );
    /// The folder for purged blocks; initially `WFolders::GetTemporaryFolder()`.
    void SetTemporaryFolder( const std::filesystem::path& inFolder );
    std::filesystem::path GetTemporaryFolder() const;

    // ---- Status

    XFigures GetFigures();
    /// The statistics and the state of the address space, one per line.
    XString GetDebugStatus();
    /// Fills the handle with `inSize` bytes. Each represents an equal part of the address space between the
    /// first and the last region in use, and is the fraction in use, scaled to 0 to 255.
    void MakeHeapImage( XMemoryHandle& outHandle, USize64 inSize );
    /// Self-test of purging: creates handles of `blockSize` bytes and locks each once, until a block has been
    /// purged or an allocation throws. A size of 0 is an internal error.
    void TestOutOfMemory( USize64 blockSize );

    // ---- Memory of the system

    /// Returns null if the system has no memory left. `inAlignment` is a power of two.
    virtual void* AllocateHeap( USize64 inSize, USize64 inAlignment ) = 0;
    virtual void*
    ReallocateHeap( void* inMemory, USize64 inOldSize, USize64 inSize, USize64 inAlignment ) = 0;
    virtual void FreeHeap( void* inMemory, USize64 inAlignment ) = 0;
    /// These functions throw 1020 and the errors of opening the file.
    virtual std::unique_ptr<XFileMappingBase> MakePageFileMapping( USize64 inSize ) = 0;
    virtual std::unique_ptr<XFileMappingBase> MakeFileMapping(
        std::shared_ptr<const WFile> inFile, std::uint64_t inOffset, USize64 inSize,
        XFileMappingBase::XPageProtection inProtection ) = 0;
    virtual std::shared_ptr<WFile> MakeTemporaryFile() = 0;

protected:
    explicit XMemoryManager( XRole inRole );

    /// Frees memory by the purge policy: the oldest block that frees enough or opens a large enough hole,
    /// otherwise a run of neighbours that does.
    virtual USize64 FreeMemorySelf( USize64 inBytes );

    /// Enclose queries that may all use one snapshot of the address space. Called under the memory mutex.
    virtual void BeginRegionQueries() {}
    virtual void EndRegionQueries() {}

private:
    class XRegionQueries;
    struct XRoomSearch;

    struct XPurgeResult
    {
        USize64 bytes = 0;
        bool hasFailed = false; // for another reason than being in use
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
    template<class TVisit>
    void VisitRegions( TVisit inVisit );

    XMemoryManager* const itsPrevious; // the manager that this one replaces
    XMutex itsMemoryMutex;             // guards itsBlocks
    const std::unique_ptr<XPurgeableBlocks> itsBlocks;
    // Guarded by the allocation mutex. A listener that is removed while listeners are called is replaced by
    // null.
    XVector<XMemoryManagerListener*> itsListeners;
    bool itsIsAskingListeners = false; // guarded by the allocation mutex
    XMutex itsAllocationMutex;
    const std::unique_ptr<XMemoryBudget> itsBudget;
    const std::unique_ptr<XRoomWaiters> itsRoomWaiters;
    const std::unique_ptr<XSpareViews> itsSpareViews;
    const std::unique_ptr<XSpillPlace> itsSpillPlace;
    const std::unique_ptr<XPageHeap> itsPageHeap; // frees what is left in it, so it is destroyed first
    std::atomic<std::uint32_t> itsPatience = kDefaultPatience;
    mutable XMutex itsFolderMutex;
    std::filesystem::path itsTemporaryFolder; // guarded by itsFolderMutex; if empty, the system's
    std::atomic<std::uint32_t> itsFreeCount = 0;
    std::atomic<std::uint32_t> itsPurgeCount = 0;
    std::atomic<std::uint64_t> itsPurges = 0;
    std::atomic<std::uint64_t> itsPurgedBytes = 0;
    std::atomic<std::uint64_t> itsReloads = 0;
    std::atomic<std::uint64_t> itsReloadedBytes = 0;
};
