#include "Threads/WThreadManager.h"

#include <atomic>

namespace
{

std::atomic<std::uint32_t> sRunningThreadCount = 0;

} // namespace

std::uint32_t WThreadManager::GetRunningThreadCount()
{
    return sRunningThreadCount;
}

void WThreadManager::ThreadStarted()
{
    ++sRunningThreadCount;
}

void WThreadManager::ThreadEnded()
{
    --sRunningThreadCount;
}
