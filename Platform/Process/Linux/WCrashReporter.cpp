#include "Process/Linux/WCrashReporter.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

/// A crash may leave locks behind that the report then waits for.
constexpr int kLongestReportMS = 30000;
constexpr int kPollMS = 10;

/// Unlike a thread_local variable, this allocates nothing on its first use.
pid_t GetThread()
{
    return static_cast<pid_t>( ::syscall( SYS_gettid ) );
}

/// Starts a thread that no signal meant for the program is delivered to.
template<class TBody>
std::thread StartWithoutSignals( TBody inBody )
{
    sigset_t blocked;
    sigset_t previous;
    ::sigfillset( &blocked );
    for ( const int fault : { SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT } )
        ::sigdelset( &blocked, fault );
    ::pthread_sigmask( SIG_SETMASK, &blocked, &previous );
    std::thread thread( inBody );
    ::pthread_sigmask( SIG_SETMASK, &previous, nullptr );
    return thread;
}

} // namespace

WCrashReporter::WCrashReporter( const WCrash& inCrash, const std::atomic<WCrashHandler::Report>& inReport )
    : itsCrash( inCrash ), itsReport( inReport ), itsProcess( ::getpid() )
{
    ::sem_init( &itsWakeUp, 0, 0 );
    itsThread = StartWithoutSignals( [this] { Run(); } );
}

WCrashReporter::~WCrashReporter()
{
    ::sem_post( &itsWakeUp );
    itsThread.join();
    ::sem_destroy( &itsWakeUp );
}

void WCrashReporter::ReportAndWait()
{
    if ( ::getpid() != itsProcess )
        return;
    itsIsWanted = true;
    ::sem_post( &itsWakeUp );
    for ( int waited = 0; waited < kLongestReportMS && !itsIsDone; waited += kPollMS )
        ::poll( nullptr, 0, kPollMS );
}

void WCrashReporter::GiveUpIfReporter()
{
    if ( GetThread() == itsReportingThread )
        itsIsDone = true;
}

void WCrashReporter::Run()
{
    itsReportingThread = GetThread();
    while ( ::sem_wait( &itsWakeUp ) == -1 && errno == EINTR )
    {
    }
    const auto report = itsReport.load();
    if ( itsIsWanted && report )
        report( DescribeCrash() );
    itsIsDone = true;
}

std::string WCrashReporter::DescribeCrash() const
{
    char text[128];
    std::snprintf(
        text, sizeof( text ), "fatal signal %d (%s), address %p\n", itsCrash.signal,
        ::strsignal( itsCrash.signal ), itsCrash.address );
    return text + itsCrash.stack.Describe();
}
