#pragma once

#include "Core/XString.h"
#include "Memory/XFileMappingBase.h"
#include "Threads/XMutex.h"
#include "WFile.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <unordered_set>

class XMemoryBlock;
class XMemoryBudget;
class XMemoryHandle;
class XMemoryManagerListener;
class XPageHeap;

/// Keeps the memory of the process's blocks inside a budget and frees memory and address space when they run short, by
/// purging blocks that nobody has locked and then by asking its listeners.
///
/// One at a time: the process's manager is made when it is first asked for. A stand-in that is constructed takes its
/// place until it is destroyed, which must not be before the blocks made meanwhile are gone; no other thread may use
/// the manager while a stand-in comes or goes.
///
/// Threads: any. The memory mutex guards the list of purgeable blocks and is held while blocks are chosen and
/// purged; the allocation mutex guards the list of listeners and is held while they are called and while
/// blocks allocate from the heap. A thread may lock the memory mutex while it holds the allocation mutex, not
/// the other way round. Blocks whose mutex another thread holds are passed over.
/// Errors: 1012 where neither blocks nor listeners can free what is needed.
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
    /// as that is needed to stay inside the budget. Throws 1012 when it is not enough; then nothing is entered.
    void AboutToAllocate( USize64 inSize );
    /// Takes bytes that `AboutToAllocate` entered out of the books again.
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

    /// The listener is not owned. Listeners are asked in the order in which they were added.
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

    /// Enters a block that is in memory and can be purged, and takes it off the list. While the memory mutex is held a
    /// block on the list stays where it is.
    void AddBlock( XMemoryBlock* inBlock );
    void RemoveBlock( XMemoryBlock* inBlock );

    /// For the figures.
    void NotePurge( USize64 inSize );
    void NoteReload( USize64 inSize );

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
    /// A self-test of purging: makes handles of `blockSize` bytes and locks each once, until a block has been purged or an
    /// allocation throws. A size of 0 is an internal error.
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

    enum XRoomResult : std::uint32_t
    {
        kMadeRoom,
        kMayMakeRoomSoon, ///< other threads have blocks locked
        kCannotMakeRoom
    };

    struct XPurgeResult
    {
        USize64 bytes = 0;
        bool hasFailed = false; ///< for another reason than that the block is in use
    };

    XRoomResult MakeRoom( USize64 inBytes );
    XPurgeResult PurgeOldest( USize64 inBytes );
    XPurgeResult TryToPurge( XMemoryBlock& ioBlock );
    USize64 NotifyListenersFreeMemory( USize64 inBytes );
    XVector<XMemoryBlock*> CopyBlocks() const;
    template<class Visit>
    void VisitRegions( Visit inVisit );

    XMemoryManager* const itsPrevious; // that this one stands in for
    XMutex itsMemoryMutex;             // guards the next two
    std::unordered_set<XMemoryBlock*> itsBlocks;
    XVector<XMemoryManagerListener*> itsListeners; // guarded by the allocation mutex
    XMutex itsAllocationMutex;
    const std::unique_ptr<XMemoryBudget> itsBudget;
    const std::unique_ptr<XPageHeap> itsPageHeap;
    mutable XMutex itsFolderMutex;
    std::filesystem::path itsTemporaryFolder; // guarded by itsFolderMutex; empty: the system's
    std::atomic<std::uint32_t> itsFreeCount = 0;
    std::atomic<std::uint32_t> itsPurgeCount = 0;
    std::atomic<std::uint64_t> itsPurges = 0;
    std::atomic<std::uint64_t> itsPurgedBytes = 0;
    std::atomic<std::uint64_t> itsReloads = 0;
    std::atomic<std::uint64_t> itsReloadedBytes = 0;
};
