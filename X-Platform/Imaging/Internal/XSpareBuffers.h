#pragma once

#include "Memory/XMemoryHandle.h"
#include "Memory/XMemoryManagerListener.h"
#include "Threads/XMutex.h"

#include <memory>
#include <vector>

class XMemoryManager;

/// Buffers of pages that are done, kept for pages of the same size: some systems take large pieces of memory back from the
/// heap at once and give them anew page by page, which takes longer than to read an image into them. They count as in
/// use, are a sixteenth of the budget at most, and are given up when the manager lacks memory.
/// Threads: any.
class XSpareBuffers : private XMemoryManagerListener
{
public:
    using Buffer = std::unique_ptr<XMemoryHandle>;

    XSpareBuffers();
    XSpareBuffers( const XSpareBuffers& ) = delete;
    XSpareBuffers& operator=( const XSpareBuffers& ) = delete;
    ~XSpareBuffers() override;

    /// The youngest buffer of that size, with the bytes that are in it, or a new one. Throws 1012.
    Buffer Take( std::uint64_t inBytes );

    /// Takes over a buffer that is not locked. Smaller ones than `kLeastBytes`, which the heap keeps for itself, and what
    /// is too much is given up.
    void Keep( Buffer inBuffer ) noexcept;

private:
    static constexpr std::uint64_t kLeastBytes = 64 * 1024;
    static constexpr std::size_t kMostBuffers = 64;

    XMemoryManager& itsManager;
    XMutex itsMutex;
    std::vector<Buffer> itsBuffers; ///< Oldest first. Guarded by the mutex.
    std::uint64_t itsBytes = 0;     ///< Of the buffers. Guarded by the mutex.

    USize64 FreeMemory( USize64 inBytes ) override;
    Buffer TakeAt( std::size_t inIndex );
    Buffer TakeSpare( std::uint64_t inBytes );
    Buffer TakeOldestBeyond( std::uint64_t inBytes, std::size_t inCount );
};
