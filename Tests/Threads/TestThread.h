#pragma once

#include "Threads/XPreventThreadStop.h"
#include "Threads/XThread.h"
#include "WEvent.h"

#include <functional>
#include <thread>
#include <utility>
#include <vector>

/// How long a test waits for what must happen, in milliseconds; passed only by a test that fails.
inline constexpr std::uint32_t kPatience = 60'000;

/// A thread that runs a function.
class TestThread : public XThread
{
public:
    using Body = std::function<std::int32_t()>;

    explicit TestThread( Body inBody )
        : XThread( "test", kThreadPriorityNormal ), itsBody( std::move( inBody ) )
    {
    }
    ~TestThread() override
    {
        const XPreventThreadStop preventStop;
        StopThread();
    }

    using XThread::ResetCancelState;

protected:
    std::int32_t RunThreadSelf() override { return itsBody(); }

private:
    Body itsBody;
};

/// Runs functions on a thread each, until all have returned.
template<class... Bodies>
void RunTogether( Bodies... inBodies )
{
    std::vector<std::thread> threads;
    ( threads.emplace_back( inBodies ), ... );
    for ( auto& thread : threads )
        thread.join();
}
