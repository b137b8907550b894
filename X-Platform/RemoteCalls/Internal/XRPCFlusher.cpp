#include "RemoteCalls/Internal/XRPCFlusher.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Threads/XPreventThreadStop.h"

#include <chrono>
#include <thread>
#include <utility>

// Whether there is a thread is decided by itsIsRunning alone: who changes it from false to true sees to it that there is
// one. The thread gives it up before it looks for the last time whether it is armed, and `Arm` arms before it looks whether
// there is a thread, so that one of them notices the other.

namespace
{

constexpr std::uint32_t kIdleMS = 1000;

} // namespace

XRPCFlusher::XRPCFlusher( std::function<bool()> inFlush )
    : XThread( "remote call flusher", kThreadPriorityNormal ), itsFlush( std::move( inFlush ) )
{
}

XRPCFlusher::~XRPCFlusher()
{
    XSwallowErrors( [this] { StopThread(); } );
}

void XRPCFlusher::Arm()
{
    itsIsArmed.Set();
    if ( itsIsRunning.exchange( true ) )
        return;
    const XPreventThreadStop preventStop; // of the calling thread
    try
    {
        StartThread(); // when the one before, which is about to end, has ended
    }
    catch ( ... )
    {
        itsIsRunning = false;
        throw;
    }
}

std::int32_t XRPCFlusher::RunThreadSelf()
{
    do
    {
        while ( itsIsArmed.Wait( kIdleMS, true ) == kWaitSucceeded )
            do
            {
                TestCancelThread();
                std::this_thread::sleep_for( std::chrono::microseconds( kDelayUS ) );
            } while ( !itsFlush() );
        TestCancelThread();
    } while ( !MayEnd() );
    return 0;
}

bool XRPCFlusher::MayEnd()
{
    itsIsRunning = false;
    return !itsIsArmed.IsSet() || itsIsRunning.exchange( true );
}
