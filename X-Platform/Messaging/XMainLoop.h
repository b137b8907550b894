#pragma once

#include "Ground/XTypes.h"

/// The main thread's loop for programs that have no other: drains the next-event queue each time round, the
/// idle queue when there is nothing else to do, and sleeps until there is. Programs with a loop of their own
/// drive the queues themselves (see docs/event-loops.md).
class KORVALE_API XMainLoop
{
public:
    XMainLoop() = delete;

    /// Speaks XAppInitialisedMessage through the application's message centre, runs until the end is
    /// requested, speaks XAppClosingMessage and returns the exit code of the request. On the main thread only
    /// (internal error, "XThread::IsMainThread()"). An end requested before the call ends it at once.
    static std::int32_t Run();

    /// Lets `Run` return after what it is doing. Any thread; from a signal handler too. The first request's
    /// code counts.
    static void RequestEnd( std::int32_t inExitCode = 0 );
};
