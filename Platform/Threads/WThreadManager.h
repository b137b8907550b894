#pragma once

#include "Threads/WThread.h"

#include <vector>

/// Keeps the process's running WThreads, started and adopted ones.
/// Threads: any thread.
class KORVALE_API WThreadManager
{
public:
    /// How many run just now.
    static std::uint32_t GetRunningThreadCount();

    /// Their IDs, in the order in which they started.
    static std::vector<std::uint32_t> GetRunningThreadIDs();

private:
    friend class WThread;

    static void ThreadStarted( const WThread& inThread );
    static void ThreadEnded( const WThread& inThread );

    struct Registry;
    static Registry& GetRegistry();
};
