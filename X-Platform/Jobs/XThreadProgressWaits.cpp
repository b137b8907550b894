// The waits with progress of XThread, which stands below progress and knows nothing of it.

#include "Core/XErrorNumbers.h"
#include "Core/XTimer.h"
#include "Jobs/XProgress.h"
#include "Jobs/XProgressAbortDisabler.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThread.h"

#include <algorithm>
#include <optional>

namespace
{

constexpr std::uint32_t kDelayMs = 2000;
constexpr std::uint32_t kLongestSleepMs = 100; // between two looks for an abort

std::uint32_t GetNextSleep( const XTimer& inTimer )
{
    return std::min( inTimer.GetRemainingMS(), kLongestSleepMs );
}

} // namespace

void XThread::WaitForTerminateWithProgress( std::uint32_t inTimeoutMs )
{
    XProgress progress( 1, XProgress::kProgressWait, kDelayMs );
    const XTimer timer( inTimeoutMs );
    while ( GetLastThreadState() != kThreadNotRunning )
    {
        if ( SleepUntilInputOrTerminate( GetNextSleep( timer ) ) == kWaitResultEvent )
            continue;
        if ( timer.HasExpired() )
            XThrow( kErrorTimedOut );
        progress.SetProgressIndeterminate();
        progress.YieldAndCheckAbort();
    }
}

void XThread::WaitForSuspendWithProgress(
    std::uint32_t inTimeoutMs, std::uint32_t inExpectedMs, bool inAllowAbort )
{
    std::optional<XPreventThreadStop> preventStop;
    std::optional<XProgressAbortDisabler> disableAbort;
    if ( !inAllowAbort )
    {
        preventStop.emplace();
        disableAbort.emplace();
    }
    const bool isExpected = inExpectedMs != kNoTimeout;
    XProgress progress( isExpected ? inExpectedMs : 1, XProgress::kProgressWait, kDelayMs );
    const XTimer timer( inTimeoutMs );
    while ( GetLastThreadState() == kThreadRunning )
    {
        if ( !SleepUntilSuspended( GetNextSleep( timer ) ) )
            continue;
        if ( timer.HasExpired() )
            XThrow( kErrorTimedOut );
        if ( isExpected )
            progress.SetProgress( static_cast<double>( timer.GetElapsedMS() ) );
        else
            progress.SetProgressIndeterminate();
        progress.YieldAndCheckAbort();
    }
}

void XThread::StopThreadWithProgress( std::uint32_t inStopCode )
{
    AsyncStopThread( inStopCode );
    if ( GetCurrentThread() != this )
        WaitForTerminateWithProgress();
}

void XThread::SuspendThreadWithProgress( std::uint32_t inExpectedMs, bool inAllowAbort )
{
    AsyncSuspendThread();
    WaitForSuspendWithProgress( kNoTimeout, inExpectedMs, inAllowAbort );
}
