#pragma once

#include "WPlatform.h"

#include <cstdint>

/// A mapping: bytes of the page file or of a range of a file that can be made to appear in the address space as one
/// view, and be taken out of it again without being lost. `WFileMapping` is the system's.
///
/// Threads: one at a time.
/// Errors: 1020 when the system refuses the view.
class KORVALE_API XFileMappingBase
{
public:
    enum XPageProtection : std::uint32_t
    {
        kPageReadOnly = 0,
        kPageReadWrite = 1, ///< changes go to the mapped file
        kPageWriteCopy = 2  ///< changed pages are the view's own and lost with it
    };

    virtual ~XFileMappingBase() = default;
    XFileMappingBase( const XFileMappingBase& ) = delete;
    XFileMappingBase& operator=( const XFileMappingBase& ) = delete;

    /// Maps the first `inSize` bytes. There must be no view yet.
    virtual void MapView( std::uint64_t inSize, XPageProtection inAccess ) = 0;

    /// Makes the bytes and their view, which may be written to, `inSize` bytes, above 0, without a second copy. The view
    /// may move, and bytes that are new are zeros. False, with everything as it was, where that cannot be done.
    virtual bool ResizeView( std::uint64_t ) { return false; }

    /// Does nothing when there is no view.
    virtual void UnmapView() = 0;

    /// Null while there is no view.
    virtual void* GetViewData() const = 0;

    /// False when bytes of the view could not be had from the file, because it was cut off meanwhile or the disk failed:
    /// they read as zeros, and what is written to them does not get to the file.
    virtual bool IsViewIntact() const { return true; }

protected:
    XFileMappingBase() = default;
};
