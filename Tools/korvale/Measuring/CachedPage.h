#pragma once

#include "Imaging/Pages/XPageMemory.h"
#include "Imaging/XImageReader.h"
#include "Memory/XMappedFileMemoryHandle.h"

/// A page that is read once and used several times. Between uses its samples may be purged; locking them
/// brings them back.
/// Threads: one at a time.
class CachedPage
{
public:
    /// Reads page `inPage`.
    void Read( XImageReader& ioReaders, std::uint32_t inPage, XPageMemory& ioMemory );

    bool IsEmpty() const { return itsFormat.width == 0; }

    /// Empty before the page has been read.
    const WImageFormat& GetFormat() const { return itsFormat; }

    /// Returns the page; its samples are locked until it is destroyed.
    WImagePage Lock( XPageMemory& ioMemory, XLockMode inMode );

    /// Throws 1020 if samples were lost on disk. Call it after using them, while they are locked.
    void CheckIntact() const { itsSamples.CheckIntact(); }

    /// Releases the samples.
    void Drop() { itsSamples = {}; }

private:
    WImageFormat itsFormat;
    XMappedFileMemoryHandle itsSamples;
};
