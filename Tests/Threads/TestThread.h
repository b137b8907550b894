#pragma once

#include "Core/Times/XTimer.h"
#include "Testing.h"
#include "Threads/Waiting/WEvent.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThread.h"

/// A thread that runs a function.
struct TestThread : XThread
{
    using Body = std::function<std::int32_t()>;

    /// The function returns the thread's code, or nothing for 0.
    template<class TBody>
    explicit TestThread( TBody inBody ) : XThread( "test", kThreadPriorityNormal )
    {
        if constexpr ( std::is_void_v<decltype( inBody() )> )
            itsBody = [inBody]
            {
                inBody();
                return 0;
            };
        else
            itsBody = inBody;
    }
    ~TestThread() override
    {
        const XPreventThreadStop preventStop;
        StopThread();
    }

    using XThread::ResetCancelState;

    /// Starts the thread and waits for its end.
    std::int32_t Run()
    {
        StartThread();
        return Finish();
    }

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

/// A body that ends only when it is stopped.
inline std::int32_t SleepForEver()
{
    for ( ;; )
        XThread::SleepCurrentThread( kNoTimeout, true );
}

/// Waits until a condition holds; false if it does not in good time.
template<class TCondition>
bool Await( TCondition inCondition )
{
    for ( const XTimer timer( kPatience ); !inCondition(); XThread::SleepCurrentThread( 1 ) )
        if ( timer.HasExpired() )
            return false;
    return true;
}

/// Where a thread stops until another, which can wait for that, lets it go on.
struct Halt
{
    void Stop()
    {
        itsIsReached.Set();
        itsMayGoOn.Wait();
    }
    void AwaitStop() { itsIsReached.Wait(); }
    void GoOn() { itsMayGoOn.Set(); }

private:
    WEvent itsIsReached, itsMayGoOn;
};
