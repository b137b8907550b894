#pragma once

#include "Memory/XMappedFileMemoryHandle.h"
#include "PageReaders.h"
#include "WorkingMemory.h"

/// A page that is read once and used several times. Between the uses its samples may be purged: they come back when
/// they are locked.
/// Threads: one at a time.
class KeptPage
{
public:
    /// Reads the page of that number.
    void Read( PageReaders& ioReaders, std::uint32_t inPage, WorkingMemory& ioMemory );

    /// Empty before the page has been read.
    const WImageForm& GetForm() const { return itsForm; }

    /// The page, whose samples are locked until it goes.
    WImagePage Lock( WorkingMemory& ioMemory, XLockMode inMode );

    /// Gives up the samples.
    void Drop() { itsSamples = {}; }

private:
    WImageForm itsForm;
    XMappedFileMemoryHandle itsSamples;
};
