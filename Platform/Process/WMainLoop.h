#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <functional>

/// The wake-up event of the main thread, and the loop that waits for it. A foreign loop can wait for its
/// handle: a file descriptor to poll for reading on Linux, an event handle on Windows.
/// Threads: any thread may call `Wake` and `RequestEnd`, on Linux a signal handler may call `RequestEnd`; the
/// rest is for the main thread.
class KORVALE_API WMainLoop
{
public:
    WMainLoop() = delete;

    /// A file descriptor or a HANDLE. Owned by the library: do not read, reset or close it.
    using XHandle = std::intptr_t;

    /// The work to do when the loop wakes.
    struct XWork
    {
        std::function<void()> doNow;
        std::function<bool()> doWhenIdle;               ///< does a part of it; returns whether there was any
        std::function<void()> doPeriodically = nullptr; ///< may be empty
        std::uint32_t periodMS = 0xFFFFFFFF;            ///< of `doPeriodically`
    };

    /// Runs until the end is requested: calls `doNow` each time the event is set, then `doWhenIdle` until it
    /// returns false or the event is set again, and `doPeriodically` between these. On Windows also dispatches the thread's window messages.
    /// Returns the exit code of the request and clears the request. Exceptions of the work propagate.
    static std::int32_t Run( const XWork& inWork );

    /// Makes `Run` return, even if it has not started yet. The exit code of the first request is used.
    static void RequestEnd( std::int32_t inExitCode = 0 );

    /// Sets the event, which wakes the main thread.
    static void Wake();

    /// Clears the event. Called by the drain of the next-event queue before it reads the queue.
    static void ClearWake();

    /// The handle of the event. Created on first use, initially set. Throws the system's last error on
    /// failure.
    static XHandle GetWaitHandle();

    /// Waits for a handle like a foreign loop, up to `inTimeoutMS`. Returns whether the event is set.
    static bool WaitForHandle( XHandle inHandle, std::uint32_t inTimeoutMS );

private:
    /// Waits until the event is set or, on Windows, a window message has arrived. Returns false on a
    /// time-out.
    static bool WaitForWork( XHandle inHandle, std::uint32_t inTimeoutMS );
    static void DispatchSystemMessages();
};
