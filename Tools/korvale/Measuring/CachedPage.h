#pragma once

#include "Imaging/XImageReader.h"
#include "Imaging/XPageMemory.h"
#include "Memory/XMappedFileMemoryHandle.h"

/// A page that is read once and used several times. Between the uses its samples may be purged: they come back when
/// they are locked.
/// Threads: one at a time.
class CachedPage
{
public:
    /// Reads the page of that number.
    void Read( XImageReader& ioReaders, std::uint32_t inPage, XPageMemory& ioMemory );

    bool IsEmpty() const { return itsForm.width == 0; }

    /// Empty before the page has been read.
    const WImageFormat& GetForm() const { return itsForm; }

    /// The page, whose samples are locked until it goes.
    WImagePage Lock( XPageMemory& ioMemory, XLockMode inMode );

    /// Throws 1020 if samples were lost on their way to the disk or back. To be asked after they have been used, while they
    /// are locked.
    void CheckIntact() const { itsSamples.CheckIntact(); }

    /// Gives up the samples.
    void Drop() { itsSamples = {}; }

private:
    WImageFormat itsForm;
    XMappedFileMemoryHandle itsSamples;
};
