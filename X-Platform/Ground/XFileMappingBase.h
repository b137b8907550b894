#pragma once

#include "WPlatform.h"

#include <cstdint>

/// A mapping: bytes of the page file or of a range of a file, which can be mapped into the address space as
/// one view and unmapped again without loss. `WFileMapping` is the implementation for each system.
///
/// Threads: one at a time.
/// Errors: 1020 if the system cannot map the view.
class KORVALE_API XFileMappingBase
{
public:
    enum XPageProtection : std::uint32_t
    {
        kPageReadOnly = 0,
        kPageReadWrite = 1, ///< changes are written to the mapped file
        kPageWriteCopy = 2  ///< copy-on-write: changes are private to the view and lost with it
    };

    virtual ~XFileMappingBase() = default;
    XFileMappingBase( const XFileMappingBase& ) = delete;
    XFileMappingBase& operator=( const XFileMappingBase& ) = delete;

    /// Maps the first `inSize` bytes. There must be no view yet.
    virtual void MapView( std::uint64_t inSize, XPageProtection inAccess ) = 0;

    /// Resizes the mapping and its writable view to `inSize` bytes, which must be above 0, without a second
    /// copy. The view may move; new bytes are zero. Returns false, with nothing changed, if this is not
    /// possible.
    virtual bool ResizeView( std::uint64_t ) { return false; }

    /// Does nothing if there is no view.
    virtual void UnmapView() = 0;

    /// Null while there is no view.
    virtual void* GetViewData() const = 0;

    /// False if bytes of the view could not be read from the file, because it was truncated or the disk
    /// failed: these bytes read as zeros, and writes to them are not stored in the file.
    virtual bool IsViewIntact() const { return true; }

protected:
    XFileMappingBase() = default;
};
