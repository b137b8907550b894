#include "Threads/XOneTimeInit.h"

#include <memory>

namespace
{

// The states. A thread claims the work by moving from nothing done to under way.
constexpr std::uint32_t kNothingDone = 0;
constexpr std::uint32_t kUnderWay = 1;
constexpr std::uint32_t kDone = 2;

/// The semaphore of the waiting threads. It is never deleted: a static keeps it for the life of the process.
WSemaphore& GetSemaphore( std::atomic<WSemaphore*>& ioSemaphore )
{
    WSemaphore* semaphore = ioSemaphore;
    if ( semaphore )
        return *semaphore;
    auto ours = std::make_unique<WSemaphore>();
    if ( ioSemaphore.compare_exchange_strong( semaphore, ours.get() ) )
        return *ours.release();
    return *semaphore;
}

} // namespace

XOneTimeInitLockResult XLockOneTimeInit(
    std::atomic<std::uint32_t>& ioState, std::atomic<std::uint32_t>& ioCounter,
    std::atomic<WSemaphore*>& ioSemaphore )
{
    while ( ioState != kDone )
    {
        std::uint32_t state = kNothingDone;
        if ( ioState.compare_exchange_strong( state, kUnderWay ) )
            return kOneTimeInitMustInitialise;
        WSemaphore& semaphore = GetSemaphore( ioSemaphore );
        ++ioCounter;
        // Counts the thread before checking again: a thread that finishes the initialisation afterwards sees
        // it. If it has already finished, one unit too many may remain, which makes a later thread check once
        // more.
        if ( ioState == kUnderWay )
            semaphore.Wait();
    }
    return kOneTimeInitDone;
}

void XUnlockOneTimeInit(
    std::atomic<std::uint32_t>& ioState, std::atomic<std::uint32_t>& ioCounter,
    std::atomic<WSemaphore*>& ioSemaphore, bool inSucceeded )
{
    ioState = inSucceeded ? kDone : kNothingDone;
    if ( const std::uint32_t waiting = ioCounter.exchange( 0 ) )
        GetSemaphore( ioSemaphore ).Signal( waiting );
}
