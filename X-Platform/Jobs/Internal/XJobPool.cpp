#include "Jobs/Internal/XJobPool.h"

#include "Threads/XThreadLock.h"

#include <cstddef>
#include <new>
#include <utility>

namespace
{

struct Pool
{
    XMutex mutex;
    std::shared_ptr<XJobPool::XWorkers> workers; // guarded by the mutex

    /// Never destroyed: workers that are not ended run until the process ends. Allocates no memory, since
    /// queues that are being destroyed call it.
    static Pool& Get()
    {
        alignas( Pool ) static std::byte sPlace[sizeof( Pool )];
        static Pool* const pool = new ( sPlace ) Pool;
        return *pool;
    }
};

} // namespace

std::shared_ptr<const XJobPool::XWorkers> XJobPool::Get()
{
    const XThreadLock lock( Pool::Get().mutex );
    return Pool::Get().workers;
}

USize XJobPool::GetSize()
{
    const auto workers = Get();
    return workers ? workers->size() : XThread::GetProcessorCount();
}

void XJobPool::Start()
{
    Pool& pool = Pool::Get();
    const XThreadLock lock( pool.mutex );
    if ( pool.workers )
        return;
    auto workers = std::make_shared<XWorkers>();
    const std::uint32_t count = XThread::GetProcessorCount();
    while ( workers->size() < count )
        workers->push_back( std::make_unique<XJobQueue::XJobThread>() );
    pool.workers = std::move( workers );
}

/// All are asked before the first is waited for.
void XJobPool::End()
{
    std::shared_ptr<XWorkers> workers;
    {
        const XThreadLock lock( Pool::Get().mutex );
        workers.swap( Pool::Get().workers );
    }
    if ( !workers )
        return;
    for ( const auto& worker : *workers )
        worker->AsyncStopThread( XThread::kRestartStopCode );
    for ( const auto& worker : *workers )
        worker->StopThread( XThread::kRestartStopCode );
}
