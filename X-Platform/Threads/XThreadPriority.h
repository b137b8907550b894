#pragma once

#include "Ground/XTypes.h"

/// The priority of a thread, with the corresponding relative priority of the system.
enum XThreadPriority : std::uint32_t
{
    kThreadPriorityIdle = 0,        // -15
    kThreadPriorityLowest = 1,      // -2
    kThreadPriorityBelowNormal = 2, // -1
    kThreadPriorityNormal = 3,      // 0, also for job workers
    kThreadPriorityAboveNormal = 4, // +1
    kThreadPriorityHighest = 5,     // +2
    kThreadPriorityTimeCritical = 6 // +15
};
