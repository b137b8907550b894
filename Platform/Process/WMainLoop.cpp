#include "Process/WMainLoop.h"

#include "Ground/WDeadline.h"

#include <atomic>

namespace
{

constexpr std::int64_t kNoRequest = INT64_MIN;

// Written by signal handlers too.
std::atomic<std::int64_t> sRequestedExitCode = kNoRequest;
static_assert( std::atomic<std::int64_t>::is_always_lock_free );

bool IsEndRequested()
{
    return sRequestedExitCode != kNoRequest;
}

} // namespace

std::int32_t WMainLoop::Run( const XWork& inWork )
{
    const XHandle event = GetWaitHandle(); // from here on a request sets it
    WDeadline period( inWork.periodMS );
    while ( !IsEndRequested() )
    {
        DispatchSystemMessages();
        inWork.doNow();
        if ( inWork.doPeriodically && period.HasPassed() )
        {
            inWork.doPeriodically();
            period = WDeadline( inWork.periodMS );
        }
        // The work has cleared the event, perhaps just after a request set it.
        if ( !IsEndRequested() && !WaitForWork( event, 0 ) && !inWork.doWhenIdle() )
            WaitForWork( event, period.GetMillisecondsLeft() );
    }
    return static_cast<std::int32_t>( sRequestedExitCode.exchange( kNoRequest ) );
}

void WMainLoop::RequestEnd( std::int32_t inExitCode )
{
    std::int64_t none = kNoRequest;
    sRequestedExitCode.compare_exchange_strong( none, inExitCode );
    Wake();
}
