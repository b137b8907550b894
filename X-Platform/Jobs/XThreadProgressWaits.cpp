// The waits of XThread with progress. They are separate because XThread is below progress.

#include "Core/Times/XTimer.h"
#include "Ground/XErrorNumbers.h"
#include "Jobs/XProgress.h"
#include "Jobs/XProgressAbortDisabler.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThread.h"

#include <algorithm>
#include <optional>

namespace
{

constexpr std::uint32_t kDelayMS = 2000;
constexpr std::uint32_t kLongestSleepMS = 100; // between two looks for an abort

std::uint32_t GetNextSleep( const XTimer& inTimer )
{
    return std::min( inTimer.GetRemainingMS(), kLongestSleepMS );
}

} // namespace

void XThread::XStateWait::WaitWithProgress(
    std::uint32_t inTimeoutMS, std::uint32_t inExpectedMS, bool inAllowAbort ) const
{
    std::optional<XPreventThreadStop> preventStop;
    std::optional<XProgressAbortDisabler> disableAbort;
    if ( !inAllowAbort )
    {
        preventStop.emplace();
        disableAbort.emplace();
    }
    const bool isExpected = inExpectedMS != kNoTimeout;
    XProgress progress( isExpected ? inExpectedMS : 1, XProgress::kProgressWait, kDelayMS );
    const XTimer timer( inTimeoutMS );
    while ( Sleep( GetNextSleep( timer ) ) )
    {
        if ( timer.HasExpired() )
            XThrow( kErrorTimedOut );
        if ( isExpected )
            progress.SetProgress( static_cast<double>( timer.GetElapsedMS() ) );
        else
            progress.SetProgressIndeterminate();
        progress.YieldAndCheckAbort();
    }
}

void XThread::WaitForTerminateWithProgress( std::uint32_t inTimeoutMS )
{
    XStateWait( itsStates, XStateWait::kEnd ).WaitWithProgress( inTimeoutMS, kNoTimeout, true );
}

void XThread::WaitForSuspendWithProgress(
    std::uint32_t inTimeoutMS, std::uint32_t inExpectedMS, bool inAllowAbort )
{
    XStateWait( itsStates, XStateWait::kPause ).WaitWithProgress( inTimeoutMS, inExpectedMS, inAllowAbort );
}

void XThread::StopThreadWithProgress( std::uint32_t inStopCode )
{
    const XStateWait end( itsStates, XStateWait::kEnd );
    AsyncStopThread( inStopCode );
    if ( GetCurrentThread() != this )
        end.WaitWithProgress( kNoTimeout, kNoTimeout, true );
}

void XThread::SuspendThreadWithProgress( std::uint32_t inExpectedMS, bool inAllowAbort )
{
    const XStatesPtr states = itsStates;
    AsyncSuspendThread();
    if ( GetCurrentThread() != this )
        XStateWait( states, XStateWait::kAnswer ).WaitWithProgress( kNoTimeout, inExpectedMS, inAllowAbort );
}
