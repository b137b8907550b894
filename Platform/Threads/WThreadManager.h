#pragma once

#include "Threads/WThread.h"

#include <vector>

/// The list of the process's running WThreads, started and adopted.
/// Threads: any thread.
class KORVALE_API WThreadManager
{
public:
    /// The number of running threads.
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
