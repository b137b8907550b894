#include "Process/WMainLoop.h"

#include "Ground/WDeadline.h"
#include "System/Linux/WErrno.h"

#include <atomic>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace
{

std::atomic<int> sWakeEvent = -1; // an event counter, readable while it is not 0

/// Initially set, because earlier wake-ups had no descriptor to set.
int OpenWakeEvent()
{
    const int event = eventfd( 1, EFD_NONBLOCK | EFD_CLOEXEC );
    if ( event >= 0 )
        return event;
    WThrowErrno();
}

} // namespace

WMainLoop::XHandle WMainLoop::GetWaitHandle()
{
    static std::once_flag once;
    std::call_once( once, [] { sWakeEvent = OpenWakeEvent(); } );
    return sWakeEvent;
}

/// Safe within a signal handler. Before the descriptor exists no thread waits for it, and it is created set.
void WMainLoop::Wake()
{
    const int event = sWakeEvent;
    if ( event < 0 )
        return;
    const int savedErrno = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written =
        write( event, &one, sizeof( one ) ); // fails if the counter is full, which is set too
    errno = savedErrno;
}

void WMainLoop::ClearWake()
{
    std::uint64_t count = 0;
    while ( read( static_cast<int>( GetWaitHandle() ), &count, sizeof( count ) ) < 0 && errno == EINTR )
        ;
}

bool WMainLoop::WaitForHandle( XHandle inHandle, std::uint32_t inTimeoutMS )
{
    const WDeadline deadline( inTimeoutMS );
    pollfd event{ static_cast<int>( inHandle ), POLLIN, 0 };
    for ( ;; )
    {
        const std::uint32_t left = deadline.GetMillisecondsLeft();
        const int result = poll( &event, 1, left > INT32_MAX ? -1 : static_cast<int>( left ) );
        if ( result > 0 )
            return true;
        if ( ( result == 0 && deadline.HasPassed() ) || ( result < 0 && errno != EINTR ) )
            return false;
    }
}

bool WMainLoop::WaitForWork( XHandle inHandle, std::uint32_t inTimeoutMS )
{
    return WaitForHandle( inHandle, inTimeoutMS );
}

void WMainLoop::DispatchSystemMessages() {}
