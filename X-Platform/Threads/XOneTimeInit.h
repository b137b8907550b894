#pragma once

#include "Threads/Waiting/WSemaphore.h"

/// One-time initialisation of statics that cannot rely on the language's own, because the initialiser may run
/// on any thread at any time and may fail. State, counter and semaphore pointer are statics that start as 0:
///
///     if ( XLockOneTimeInit( sState, sCounter, sSemaphore ) == kOneTimeInitMustInitialise )
///     {
///         XOneTimeInitGuard guard( sState, sCounter, sSemaphore );
///         sThing = MakeThing();
///         guard.Succeeded();
///     }
///
/// One thread at a time initialises; the others wait, which needs the semaphore, made on first need. An
/// exception in the initialiser passes to its caller and lets the next thread try. What the initialiser wrote
/// is visible to every thread that was told kOneTimeInitDone.
enum XOneTimeInitLockResult : std::uint32_t
{
    kOneTimeInitDone = 0,
    kOneTimeInitMustInitialise = 1
};

/// Returns when the initialisation is done, or with the duty to do it and to call `XUnlockOneTimeInit`. The
/// initialiser must not call it again for the same statics.
KORVALE_API XOneTimeInitLockResult XLockOneTimeInit(
    std::atomic<std::uint32_t>& ioState, std::atomic<std::uint32_t>& ioCounter,
    std::atomic<WSemaphore*>& ioSemaphore );

/// Tells how the initialisation ended and wakes the waiting threads.
KORVALE_API void XUnlockOneTimeInit(
    std::atomic<std::uint32_t>& ioState, std::atomic<std::uint32_t>& ioCounter,
    std::atomic<WSemaphore*>& ioSemaphore, bool inSucceeded );

/// Calls `XUnlockOneTimeInit` at the end of a scope, as failed unless told otherwise.
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
