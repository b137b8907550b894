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

std::atomic<int> sBell = -1; // an event counter, readable while it is not 0

/// Initially set, because earlier wake-ups had no descriptor to set.
int OpenBell()
{
    const int bell = eventfd( 1, EFD_NONBLOCK | EFD_CLOEXEC );
    if ( bell >= 0 )
        return bell;
    WThrowErrno();
}

} // namespace

WMainLoop::XHandle WMainLoop::GetWaitHandle()
{
    static std::once_flag once;
    std::call_once( once, [] { sBell = OpenBell(); } );
    return sBell;
}

/// Safe within a signal handler. Before the descriptor exists no thread waits for it, and it is created set.
void WMainLoop::Wake()
{
    const int bell = sBell;
    if ( bell < 0 )
        return;
    const int savedErrno = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written =
        write( bell, &one, sizeof( one ) ); // fails where it is full, and rings
    errno = savedErrno;
}

void WMainLoop::ClearWake()
{
    std::uint64_t count = 0;
    while ( read( static_cast<int>( GetWaitHandle() ), &count, sizeof( count ) ) < 0 && errno == EINTR )
        ;
}

bool WMainLoop::WaitForHandle( XHandle inHandle, std::uint32_t inTimeoutMs )
{
    const WDeadline deadline( inTimeoutMs );
    pollfd bell{ static_cast<int>( inHandle ), POLLIN, 0 };
    for ( ;; )
    {
        const std::uint32_t left = deadline.GetMillisecondsLeft();
        const int result = poll( &bell, 1, left > INT32_MAX ? -1 : static_cast<int>( left ) );
        if ( result > 0 )
            return true;
        if ( ( result == 0 && deadline.HasPassed() ) || ( result < 0 && errno != EINTR ) )
            return false;
    }
}

bool WMainLoop::WaitForWork( XHandle inBell, std::uint32_t inTimeoutMs )
{
    return WaitForHandle( inBell, inTimeoutMs );
}

void WMainLoop::DispatchSystemMessages() {}
