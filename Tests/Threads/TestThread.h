#pragma once

#include "Core/Times/XTimer.h"
#include "Testing.h"
#include "Threads/Waiting/WEvent.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThread.h"

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

    /// Waits for the end of the thread and returns what its function has.
    std::int32_t Finish()
    {
        WaitForTerminate( kPatience );
        return GetThreadReturnCode();
    }

protected:
    std::int32_t RunThreadSelf() override { return itsBody(); }

private:
    Body itsBody;
};

/// Waits until a condition holds; false if it does not in good time.
template<class TCondition>
bool Await( TCondition inCondition )
{
    for ( const XTimer timer( kPatience ); !inCondition(); XThread::SleepCurrentThread( 1 ) )
        if ( timer.HasExpired() )
            return false;
    return true;
}
