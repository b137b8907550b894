#include "WCrashHandler.h"

#include "WCrashDump.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include <unistd.h>

namespace
{

constexpr std::array kFatalSignals = { SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT };

/// A crash may leave locks behind that the dump then waits for.
constexpr unsigned kLongestReportSeconds = 30;

/// Room for the report of a stack overflow, which cannot run on the stack that is full. Only the thread that
/// installs the handlers has it.
constexpr std::size_t kReportStackSize = 256 * 1024;
alignas( 16 ) char sReportStack[kReportStackSize];

std::atomic<WCrashHandler::Report> sReport = nullptr;
std::atomic_flag sIsReporting;
struct sigaction sPreviousActions[kFatalSignals.size()];
bool sIsInstalled[kFatalSignals.size()] = {};

void WriteToStandardError( const char* inText )
{
    [[maybe_unused]] const auto written = ::write( STDERR_FILENO, inText, std::strlen( inText ) );
}

/// Makes the system end the process when the report takes too long.
void LimitReportTime()
{
    std::signal( SIGALRM, SIG_DFL );
    sigset_t alarm;
    ::sigemptyset( &alarm );
    ::sigaddset( &alarm, SIGALRM );
    ::pthread_sigmask( SIG_UNBLOCK, &alarm, nullptr );
    ::alarm( kLongestReportSeconds );
}

std::string DescribeSignal( int inSignal, const siginfo_t& inInfo )
{
    char text[128];
    std::snprintf(
        text, sizeof( text ), "fatal signal %d (%s), address %p\n", inSignal, ::strsignal( inSignal ),
        inInfo.si_addr );
    return text;
}

/// The first thread to crash reports; another one waits here for the end of the process.
void OnFatalSignal( int inSignal, siginfo_t* inInfo, void* inContext )
{
    while ( sIsReporting.test_and_set() )
        ::pause();
    WriteToStandardError( "The program has crashed.\n" );
    LimitReportTime();
    if ( const auto report = sReport.load() )
        report( DescribeSignal( inSignal, *inInfo ) + WCrashDump::MakeForContext( inContext ) );
    // The handler is no longer installed, so that this time the signal does what it always did.
    std::raise( inSignal );
}

void UseReportStack()
{
    stack_t stack = {};
    if ( ::sigaltstack( nullptr, &stack ) != 0 || !( stack.ss_flags & SS_DISABLE ) )
        return;
    stack.ss_sp = sReportStack;
    stack.ss_size = kReportStackSize;
    stack.ss_flags = 0;
    ::sigaltstack( &stack, nullptr );
}

bool InstallFor( int inSignal, struct sigaction& outPrevious )
{
    if ( ::sigaction( inSignal, nullptr, &outPrevious ) != 0 || outPrevious.sa_handler != SIG_DFL )
        return false;
    struct sigaction action = {};
    action.sa_sigaction = OnFatalSignal;
    action.sa_flags = static_cast<int>( SA_SIGINFO | SA_ONSTACK | SA_RESETHAND );
    ::sigemptyset( &action.sa_mask );
    return ::sigaction( inSignal, &action, nullptr ) == 0;
}

} // namespace

void WCrashHandler::Install( Report inReport )
{
    sReport = inReport;
    UseReportStack();
    for ( std::size_t i = 0; i < kFatalSignals.size(); ++i )
        if ( !sIsInstalled[i] )
            sIsInstalled[i] = InstallFor( kFatalSignals[i], sPreviousActions[i] );
}

void WCrashHandler::Remove()
{
    for ( std::size_t i = 0; i < kFatalSignals.size(); ++i )
        if ( std::exchange( sIsInstalled[i], false ) )
            ::sigaction( kFatalSignals[i], &sPreviousActions[i], nullptr );
    sReport = nullptr;
}
