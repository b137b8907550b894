#pragma once

#include "Ground/XTypes.h"

/// How a wait ended.
enum WWaitResult : std::uint32_t
{
    kWaitTimedOut = 0,
    kWaitSucceeded = 1,
    /// Another thread alerted this one. Only alertable waits end this way; the caller decides whether to wait
    /// again.
    kWaitAlerted = 2
};
