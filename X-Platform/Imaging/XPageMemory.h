#pragma once

#include "Images/WImageFile.h"
#include "Memory/XMemoryHandle.h"
#include "Threads/XConditionVariable.h"
#include "WPlatform.h"

#include <memory>

class XSpareBuffers;

/// The memory of the manager's budget in which pages are worked on. What is locked cannot be purged, so the jobs of
/// several workers might lock more than the budget holds: here those who would go beyond it wait until others are done.
/// Who is alone does not wait, and is refused what is too much. What is given back is kept for a while, in a sixteenth of
/// the budget at most, for pages of the same size.
///
/// Samples that come from here must not outlive this object. A thread that waits must not have any that another may be
/// waiting for: at most those that last.
/// Threads: any. Waiting is a checkpoint.
/// Errors: 1012, with a text that tells what did not fit; 1020.
class KORVALE_IMAGING_API XPageMemory
{
public:
    XPageMemory();
    XPageMemory( const XPageMemory& ) = delete;
    XPageMemory& operator=( const XPageMemory& ) = delete;
    ~XPageMemory();

    /// Bytes for a moment, undefined at first: they are given back when the samples go.
    WImagePage::Samples Allocate( std::uint64_t inBytes );

    /// Bytes, undefined at first, that stay while many pages come and go, each of which has that much less room.
    WImagePage::Samples AllocateLasting( std::uint64_t inBytes );

    /// The bytes of a handle, which is locked until the samples go; it outlives them.
    WImagePage::Samples Lock( XMemoryHandle& ioHandle, XLockMode inMode );

private:
    class Share;
    class Held;

    const std::unique_ptr<XSpareBuffers> itsSpareBuffers;
    XMutex itsMutex;
    XConditionVariable itsShareReturned;
    std::uint64_t itsPassing = 0; ///< Bytes that are held for a moment. Guarded by the mutex.
    std::uint64_t itsLasting = 0; ///< Bytes that stay. Guarded by the mutex.

    bool HasRoom( std::uint64_t inBytes ) const;
    template<class MakeHeld>
    static WImagePage::Samples Hold( std::uint64_t inBytes, MakeHeld inMakeHeld );
};
