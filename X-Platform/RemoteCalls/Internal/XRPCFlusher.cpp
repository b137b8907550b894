#include "RemoteCalls/Internal/XRPCFlusher.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Threads/XPreventThreadStop.h"

#include <chrono>
#include <thread>
#include <utility>

// itsIsRunning alone decides whether there is a thread: whoever changes it from false to true starts the
// thread or continues as it. The ending thread clears it before its last check of itsIsArmed, and `Arm` sets
// itsIsArmed before it checks itsIsRunning, so that one of them notices the other and no request is lost.

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
        StartThread(); // waits for the end of the previous thread
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
