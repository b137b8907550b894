#pragma once

#include "Ground/XTypes.h"

#include <functional>

/// The main thread's loop for programs without one of their own: drains the next-event queue in each round,
/// drains the idle queue when there is nothing else to do, and sleeps otherwise. Programs with a loop of
/// their own drive the queues themselves (see docs/event-loops.md).
class KORVALE_API XMainLoop
{
public:
    XMainLoop() = delete;

    /// Speaks XAppInitialisedMessage through the application's message centre, runs until the end is
    /// requested, speaks XAppClosingMessage and returns the exit code of the request. On the main thread only
    /// (internal error, "XThread::IsMainThread()"). If the end was requested before the call, it returns
    /// without running.
    static std::int32_t Run();

    /// Runs in the same way, and calls `inWork` about every `inPeriodMS`, between messages.
    static std::int32_t Run( const std::function<void()>& inWork, std::uint32_t inPeriodMS );

    /// Makes `Run` return after its current work. Any thread may call it, on Linux also a signal handler. The
    /// exit code of the first request is used.
    static void RequestEnd( std::int32_t inExitCode = 0 );
};
