#pragma once

#include "Threads/Waiting/WSemaphore.h"

/// One-time initialisation of statics that cannot use the language's own, because the initialiser may run on
/// any thread at any time and may fail. State, counter and semaphore pointer are statics that start as 0:
///
///     if ( XLockOneTimeInit( sState, sCounter, sSemaphore ) == kOneTimeInitMustInitialise )
///     {
///         XOneTimeInitGuard guard( sState, sCounter, sSemaphore );
///         sThing = MakeThing();
///         guard.Succeeded();
///     }
///
/// One thread at a time runs the initialiser; the others wait on the semaphore, which is created when needed.
/// An exception of the initialiser propagates to its caller, and the next thread tries again. All effects of
/// the initialiser are visible to every thread that receives kOneTimeInitDone.
enum XOneTimeInitLockResult : std::uint32_t
{
    kOneTimeInitDone = 0,
    kOneTimeInitMustInitialise = 1
};

/// Returns kOneTimeInitDone if the initialisation is done; otherwise the caller must initialise and then call
/// `XUnlockOneTimeInit`. The initialiser must not call this again for the same statics.
KORVALE_API XOneTimeInitLockResult XLockOneTimeInit(
    std::atomic<std::uint32_t>& ioState, std::atomic<std::uint32_t>& ioCounter,
    std::atomic<WSemaphore*>& ioSemaphore );

/// Reports how the initialisation ended and wakes the waiting threads.
KORVALE_API void XUnlockOneTimeInit(
    std::atomic<std::uint32_t>& ioState, std::atomic<std::uint32_t>& ioCounter,
    std::atomic<WSemaphore*>& ioSemaphore, bool inSucceeded );

/// Calls `XUnlockOneTimeInit` at the end of a scope; the initialisation counts as failed unless `Succeeded`
/// was called.
class XOneTimeInitGuard
{
public:
    XOneTimeInitGuard(
        std::atomic<std::uint32_t>& ioState, std::atomic<std::uint32_t>& ioCounter,
        std::atomic<WSemaphore*>& ioSemaphore )
        : itsState( ioState ), itsCounter( ioCounter ), itsSemaphore( ioSemaphore )
    {
    }
    XOneTimeInitGuard( const XOneTimeInitGuard& ) = delete;
    XOneTimeInitGuard& operator=( const XOneTimeInitGuard& ) = delete;
    ~XOneTimeInitGuard() { XUnlockOneTimeInit( itsState, itsCounter, itsSemaphore, itsHasSucceeded ); }

    void Succeeded() { itsHasSucceeded = true; }

private:
    std::atomic<std::uint32_t>& itsState;
    std::atomic<std::uint32_t>& itsCounter;
    std::atomic<WSemaphore*>& itsSemaphore;
    bool itsHasSucceeded = false;
};
