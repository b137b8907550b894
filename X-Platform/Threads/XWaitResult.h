#pragma once

#include "Ground/XTypes.h"

/// How a wait that user input may end has ended.
///
/// User input reaches a thread through its own event loop. The library's waits do not see it on any system
/// and end as if there were none: `kWaitResultInput` is reserved for a platform that can detect input.
enum XWaitResult : std::uint32_t
{
    kWaitResultTimeout = 0,
    /// The awaited event: the lock, the signal or the end of the thread.
    kWaitResultEvent = 1,
    kWaitResultInput = 2
};
