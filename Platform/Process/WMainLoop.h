#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <functional>

/// The main thread's bell, and the loop that sleeps until it rings. The bell is a handle that a foreign loop
/// can wait on beside its own: a file descriptor to poll for reading on Linux, an event handle on Windows.
/// Threads: `Wake` and `RequestEnd` from any thread, `RequestEnd` from a signal handler too; the rest on the
/// main thread.
class KORVALE_API WMainLoop
{
public:
    WMainLoop() = delete;

    /// A file descriptor or a HANDLE. Belongs to the library; neither read, nor reset, nor closed by others.
    using XHandle = std::intptr_t;

    /// What there is to do when the loop wakes.
    struct XWork
    {
        std::function<void()> doNow;
        std::function<bool()> doWhenIdle; ///< one slice of it; returns whether anything was done
    };

    /// Runs until the end is requested: `doNow` each time the bell rings, then `doWhenIdle` as often as it
    /// does anything and the bell is silent. On Windows the thread's window messages are dispatched too.
    /// Returns the exit code of the request, which is forgotten. What the work throws passes out.
    static std::int32_t Run( const XWork& inWork );

    /// Asks `Run`, running or not yet running, to return. The first request's code counts.
    static void RequestEnd( std::int32_t inExitCode = 0 );

    /// Rings: the empty message that wakes the main thread.
    static void Wake();

    /// Silences the bell. Called by the drain of the next-event queue, before it looks into it.
    static void ClearWake();

    /// The bell. Made on first use, ringing; throws the system's last error when it cannot be.
    static XHandle GetWaitHandle();

    /// Waits for a handle as a foreign loop would, up to `inTimeoutMs`. Returns whether it rings.
    static bool WaitForHandle( XHandle inHandle, std::uint32_t inTimeoutMs );

private:
    /// Waits until the bell rings or, on Windows, a window message has come. Returns whether one of them has.
    static bool WaitForWork( XHandle inBell, std::uint32_t inTimeoutMs );
    static void DispatchSystemMessages();
};
