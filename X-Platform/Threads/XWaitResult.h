#pragma once

#include "Ground/XTypes.h"

/// How a wait that user input may end has ended.
///
/// User input reaches a thread through its own event loop; the library's waits do not see it on any system,
/// so these waits end as if no input came: `kWaitResultInput` is reserved for a platform that can tell.
enum XWaitResult : std::uint32_t
{
    kWaitResultTimeout = 0,
    /// The awaited event: the lock, the signal, the end of the thread.
    kWaitResultEvent = 1,
    kWaitResultInput = 2
};
