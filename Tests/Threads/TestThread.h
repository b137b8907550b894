#pragma once

#include "Core/Errors/XException.h"
#include "Testing.h"
#include "Threads/Waiting/WEvent.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThread.h"

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

/// Runs a function on several threads, with the number of each, until all have returned. What one throws fails the test.
template<class Body>
void RunOnThreads( unsigned inCount, Body inBody )
{
    const auto run = [&]( unsigned inNumber )
    {
        try
        {
            inBody( inNumber );
        }
        catch ( const XException& error )
        {
            ADD_FAILURE() << "thread " << inNumber << ": error " << error.GetErrorNumber();
        }
    };
    std::vector<std::thread> threads;
    for ( unsigned i = 0; i < inCount; ++i )
        threads.emplace_back( run, i );
    for ( auto& thread : threads )
        thread.join();
}

/// The same with a function for each thread.
template<class... Bodies>
void RunTogether( Bodies... inBodies )
{
    const std::function<void()> bodies[] = { inBodies... };
    RunOnThreads( sizeof...( Bodies ), [&]( unsigned inNumber ) { bodies[inNumber](); } );
}
