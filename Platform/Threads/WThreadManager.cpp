#include "Threads/WThreadManager.h"

struct WThreadManager::Registry
{
    std::mutex mutex;
    std::vector<const WThread*> threads;
};

/// Never destroyed: threads may still end while the process's statics are.
WThreadManager::Registry& WThreadManager::GetRegistry()
{
    static Registry* const sRegistry = new Registry;
    return *sRegistry;
}

std::uint32_t WThreadManager::GetRunningThreadCount()
{
    Registry& registry = GetRegistry();
    const std::lock_guard lock( registry.mutex );
    return static_cast<std::uint32_t>( registry.threads.size() );
}

std::vector<std::uint32_t> WThreadManager::GetRunningThreadIDs()
{
    Registry& registry = GetRegistry();
    const std::lock_guard lock( registry.mutex );
    std::vector<std::uint32_t> ids;
    for ( const WThread* thread : registry.threads )
        ids.push_back( thread->GetThreadID() );
    return ids;
}

void WThreadManager::ThreadStarted( const WThread& inThread )
{
    Registry& registry = GetRegistry();
    const std::lock_guard lock( registry.mutex );
    registry.threads.push_back( &inThread );
}

void WThreadManager::ThreadEnded( const WThread& inThread )
{
    Registry& registry = GetRegistry();
    const std::lock_guard lock( registry.mutex );
    std::erase( registry.threads, &inThread );
}
