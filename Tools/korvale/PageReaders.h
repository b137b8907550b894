#pragma once

#include "Threads/XMutex.h"
#include "WImageFile.h"

#include <filesystem>
#include <memory>
#include <vector>

/// Reads the pages of one image file on several threads: each has a reader of its own while it reads, because one can be
/// used by one thread at a time only.
class PageReaders
{
public:
    /// Opens the file; throws what WImageFile throws.
    explicit PageReaders( const std::filesystem::path& inPath );

    std::uint32_t GetPageCount() const { return itsPageCount; }

    /// Reads the page of that number, with a progress of the thread. Any thread.
    WImagePage ReadPage( std::uint32_t inPage, const WImagePage::Allocator& inAllocator );

private:
    using Reader = std::unique_ptr<WImageFile>;

    const std::filesystem::path itsPath;
    std::uint32_t itsPageCount = 0;
    XMutex itsMutex;
    std::vector<Reader> itsIdleReaders; ///< Guarded by the mutex.

    Reader Take();
    void GiveBack( Reader inReader );
};
