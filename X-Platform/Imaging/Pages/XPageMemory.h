#pragma once

#include "Images/WImageFile.h"
#include "Memory/XMemoryHandle.h"
#include "Threads/XConditionVariable.h"
#include "WPlatform.h"

#include <memory>

class XSpareBuffers;

/// Allocates and locks page buffers within the manager's budget. Locked memory cannot be purged, so several
/// workers together might lock more than the budget: here threads that would exceed it wait until others have
/// finished. A sole user never waits; a request over the budget fails. Released buffers are kept for pages of
/// the same size, at most a sixteenth of the budget.
///
/// Samples must not outlive this object. To avoid deadlock, a thread must not wait here while it holds
/// samples that another thread may be waiting for; lasting samples are exempt.
/// Threads: any. Waiting is a checkpoint.
/// Errors: 1012, with a text that names the request that did not fit; 1020.
class KORVALE_IMAGING_API XPageMemory
{
public:
    XPageMemory();
    XPageMemory( const XPageMemory& ) = delete;
    XPageMemory& operator=( const XPageMemory& ) = delete;
    ~XPageMemory();

    /// Allocates uninitialised bytes for a short time; they are freed with the samples.
    WImagePage::Samples Allocate( std::uint64_t inBytes );

    /// Allocates uninitialised bytes that are kept while many pages are processed, and reduce the room for
    /// these.
    WImagePage::Samples AllocateLasting( std::uint64_t inBytes );

    /// Locks a handle and returns its bytes. It is unlocked when the samples are destroyed, and must outlive
    /// them.
    WImagePage::Samples Lock( XMemoryHandle& ioHandle, XLockMode inMode );

private:
    class XShare;
    class XHeld;

    const std::unique_ptr<XSpareBuffers> itsSpareBuffers;
    XMutex itsMutex;
    XConditionVariable itsShareReturned;
    std::uint64_t itsPassing = 0; // bytes held for a short time; guarded by the mutex
    std::uint64_t itsLasting = 0; // bytes of AllocateLasting; guarded by the mutex

    bool HasRoom( std::uint64_t inBytes ) const;
    template<class TMakeHeld>
    static WImagePage::Samples Hold( std::uint64_t inBytes, TMakeHeld inMakeHeld );
};
