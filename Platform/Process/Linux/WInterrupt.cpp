#include "Process/WInterrupt.h"

#include "Ground/WDeadline.h"
#include "System/Linux/WErrno.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <unistd.h>

// The signals are blocked in every thread and read from a descriptor, so nothing of ours runs in a signal handler.

namespace
{

int sSignals = -1; // a descriptor that gives the signals
int sClosing = -1; // an event counter
sigset_t sPreviousMask;

void CheckCreated( int inResult )
{
    if ( inResult < 0 )
        WThrowErrno();
}

sigset_t GetSignals()
{
    sigset_t signals;
    sigemptyset( &signals );
    for ( const int signal : { SIGINT, SIGTERM, SIGHUP } )
    {
        struct sigaction action = {};
        // A program started by nohup ignores hang-ups, and must go on doing so.
        if ( sigaction( signal, nullptr, &action ) == 0 && action.sa_handler != SIG_IGN )
            sigaddset( &signals, signal );
    }
    return signals;
}

} // namespace

void WInterrupt::TakeOver()
{
    const sigset_t signals = GetSignals();
    sSignals = signalfd( -1, &signals, SFD_CLOEXEC );
    CheckCreated( sSignals );
    sClosing = eventfd( 0, EFD_CLOEXEC );
    CheckCreated( sClosing );
    pthread_sigmask( SIG_BLOCK, &signals, &sPreviousMask );
}

void WInterrupt::GiveBack()
{
    pthread_sigmask( SIG_SETMASK, &sPreviousMask, nullptr );
    close( sSignals );
    close( sClosing );
}

WInterrupt::Event WInterrupt::WaitForEvent( std::uint32_t inTimeoutMS )
{
    const WDeadline deadline( inTimeoutMS );
    pollfd events[] = { { sClosing, POLLIN, 0 }, { sSignals, POLLIN, 0 } };
    for ( ;; )
    {
        const std::uint32_t left = deadline.GetMillisecondsLeft();
        // A wait too long for an int is continued by the loop.
        const int result = poll( events, 2, left > INT32_MAX ? -1 : static_cast<int>( left ) );
        if ( result == 0 && deadline.HasPassed() )
            return kTimeoutEvent;
        if ( result <= 0 )
            continue;
        signalfd_siginfo info;
        return events[0].revents != 0 || read( sSignals, &info, sizeof( info ) ) < 0 ? kClosingEvent
                                                                                     : kInterruptEvent;
    }
}

void WInterrupt::Close()
{
    const std::uint64_t one = 1;
    while ( write( sClosing, &one, sizeof( one ) ) < 0 && errno == EINTR )
        ;
}

void WInterrupt::EndProcess( int inExitStatus )
{
    // As _exit, which the thread sanitizer makes wait for streams that other threads are writing to.
    syscall( SYS_exit_group, inExitStatus );
    __builtin_unreachable();
}
