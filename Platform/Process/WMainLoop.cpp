#include "Process/WMainLoop.h"

#include "Ground/XTypes.h"

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
    const XHandle bell = GetWaitHandle(); // from here on a request rings it
    while ( !IsEndRequested() )
    {
        DispatchSystemMessages();
        inWork.doNow();
        // The work has silenced the bell, perhaps just after a request rang it.
        if ( !IsEndRequested() && !WaitForWork( bell, 0 ) && !inWork.doWhenIdle() )
            WaitForWork( bell, kNoTimeout );
    }
    return static_cast<std::int32_t>( sRequestedExitCode.exchange( kNoRequest ) );
}

void WMainLoop::RequestEnd( std::int32_t inExitCode )
{
    std::int64_t none = kNoRequest;
    sRequestedExitCode.compare_exchange_strong( none, inExitCode );
    Wake();
}
