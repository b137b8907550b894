#pragma once

#include "WPlatform.h"

#include <cstdint>

/// Counts the process's running WThreads, started and adopted.
/// Threads: any thread.
class KORVALE_API WThreadManager
{
public:
    static std::uint32_t GetRunningThreadCount();

private:
    friend class WThread;

    static void ThreadStarted();
    static void ThreadEnded();
};
