#pragma once

#include "Imaging/XPageMeasurement.h"
#include "Imaging/XPageMemory.h"
#include "WPlatform.h"

/// What measurements, and then their table, take up of the manager's budget. The objects of pages are kept in chunks, page
/// after page as they come, which may be purged until the objects are brought back. What finds no room in the budget
/// stays outside it: there are no results without it. Where the disk refuses purges, what is kept takes room from pages.
///
/// Outlives the table that it counts; pages that were kept may outlive it.
/// Threads: any for `Keep`; all others one at a time, and not while a page is being kept.
class KORVALE_IMAGING_API XMeasurementMemory
{
public:
    /// The memory that chunks are locked through outlives it.
    explicit XMeasurementMemory( XPageMemory& ioPages ) : itsPages( ioPages ) {}
    ~XMeasurementMemory();
    XMeasurementMemory( const XMeasurementMemory& ) = delete;
    XMeasurementMemory& operator=( const XMeasurementMemory& ) = delete;

    /// Takes over the objects of a page, which are released. The thread holds none of the page memory.
    void Keep( XPageMeasurement& ioPage );

    /// Gives the objects back to their page, if they are kept. The thread holds none of the page memory.
    /// Throws 1012, and 1020 if they were lost on their way to the disk or back.
    void BringBack( XPageMeasurement& ioPage );

    /// The table takes up that many bytes now. They count until this object goes, as far as there was room for them.
    void CountTable( std::uint64_t inBytes );

private:
    /// Pages that are kept one after the other, to be purged together.
    using Chunk = std::shared_ptr<XMemoryHandle>;

    struct Place
    {
        Chunk chunk;
        std::size_t offset;
    };

    XPageMemory& itsPages;
    XMutex itsMutex;
    Chunk itsChunk; ///< The one that is being filled, or null. Guarded by the mutex, as its end is.
    std::size_t itsChunkEnd = 0;
    std::uint64_t itsTableBytes = 0; ///< Those that count.
    bool itsIsFull = false;

    Place Reserve( std::size_t inBytes );
    void BringBackNow( XPageMeasurement& ioPage );
    void UncountTable();
};
