#pragma once

#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/Pages/XPageMemory.h"
#include "WPlatform.h"

/// Accounts for measurements, and then for their table, in the manager's budget. The objects of pages are
/// kept in purgeable chunks, in the order of arrival, until they are brought back. Objects for which the
/// budget has no room are kept outside it, because there would be no result without them. If the disk rejects
/// purges, the kept objects reduce the room for pages.
///
/// Must outlive the table that it counts; kept pages may outlive it.
/// Threads: any for `Keep`; the other functions one at a time, and not while a page is being kept.
class KORVALE_IMAGING_API XMeasurementMemory
{
public:
    /// `inPages`, through which chunks are locked, must outlive this object.
    explicit XMeasurementMemory( XPageMemory& ioPages ) : itsPages( ioPages ) {}
    ~XMeasurementMemory();
    XMeasurementMemory( const XMeasurementMemory& ) = delete;
    XMeasurementMemory& operator=( const XMeasurementMemory& ) = delete;

    /// Takes over the objects of a page and releases them there. The calling thread must not hold page
    /// memory.
    void Keep( XPageMeasurement& ioPage );

    /// Returns the kept objects, if any, to their page. The calling thread must not hold page memory. Throws
    /// 1012, and 1020 if they were lost on disk.
    void BringBack( XPageMeasurement& ioPage );

    /// Sets the number of bytes of the table. They count until this object is destroyed, as far as there was
    /// room for them.
    void CountTable( std::uint64_t inBytes );

private:
    /// Consecutively kept pages, which are purged together.
    using XChunk = std::shared_ptr<XMemoryHandle>;

    struct XPlace
    {
        XChunk chunk;
        std::size_t offset;
    };

    XPageMemory& itsPages;
    XMutex itsMutex;
    XChunk itsChunk; // the one being filled, or null; guarded by the mutex, as is itsChunkEnd
    std::size_t itsChunkEnd = 0;
    std::uint64_t itsTableBytes = 0; // those that are counted
    bool itsIsFull = false;

    XPlace Reserve( std::size_t inBytes );
    void BringBackNow( XPageMeasurement& ioPage );
    void UncountTable();
};
