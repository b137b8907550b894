#pragma once

#include "Memory/XMemoryHandle.h"
#include "Memory/XMemoryManagerListener.h"
#include "Threads/XMutex.h"

#include <memory>
#include <vector>

class XMemoryManager;

/// Released page buffers, kept for pages of the same size: some heaps return large pieces to the system at
/// once, and getting new pages from the system takes longer than reading an image. Kept buffers count as in
/// use, take at most a sixteenth of the budget, and are freed when the manager lacks memory.
/// Threads: any.
class XSpareBuffers : private XMemoryManagerListener
{
public:
    using XBuffer = std::unique_ptr<XMemoryHandle>;

    XSpareBuffers();
    XSpareBuffers( const XSpareBuffers& ) = delete;
    XSpareBuffers& operator=( const XSpareBuffers& ) = delete;
    ~XSpareBuffers() override;

    /// Returns the most recently kept buffer of that size, with its old contents, or a new one. Throws 1012.
    XBuffer Take( std::uint64_t inBytes );

    /// Takes over a buffer, which must not be locked. Frees buffers smaller than `kLeastBytes`, which the
    /// heap keeps itself, and those over the limit.
    void Keep( XBuffer inBuffer ) noexcept;

private:
    static constexpr std::uint64_t kLeastBytes = 64 * 1024;
    static constexpr std::size_t kMostBuffers = 64;

    XMemoryManager& itsManager;
    XMutex itsMutex;
    std::vector<XBuffer> itsBuffers; // oldest first; guarded by the mutex
    std::uint64_t itsBytes = 0;      // of the buffers; guarded by the mutex

    USize64 FreeMemory( USize64 inBytes ) override;
    XBuffer TakeAt( std::size_t inIndex );
    XBuffer TakeSpare( std::uint64_t inBytes );
    XBuffer TakeOldestBeyond( std::uint64_t inBytes, std::size_t inCount );
};
