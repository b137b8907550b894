#pragma once

#include "Ground/XTypes.h"

/// How much a thread is preferred to others, and the system's relative priority that stands for it.
enum XThreadPriority : std::uint32_t
{
    kThreadPriorityIdle = 0,        // -15
    kThreadPriorityLowest = 1,      // -2
    kThreadPriorityBelowNormal = 2, // -1
    kThreadPriorityNormal = 3,      // 0, for job workers too
    kThreadPriorityAboveNormal = 4, // +1
    kThreadPriorityHighest = 5,     // +2
    kThreadPriorityTimeCritical = 6 // +15
};
