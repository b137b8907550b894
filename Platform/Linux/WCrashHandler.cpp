#include "WCrashHandler.h"

#include "WStackCapture.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

#include <poll.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

constexpr std::array kFatalSignals = { SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT };

/// A crash may leave locks behind that the report then waits for.
constexpr int kLongestReportMs = 30000;
constexpr int kPollMs = 10;

/// Room to handle a stack overflow, which cannot be done on the stack that is full. Only the thread that installs the
/// handlers has it.
constexpr std::size_t kHandlerStackSize = 64 * 1024;
alignas( 16 ) char sHandlerStack[kHandlerStackSize];

std::atomic<WCrashHandler::Report> sReport = nullptr;
struct sigaction sPreviousActions[kFatalSignals.size()];
bool sIsInstalled[kFatalSignals.size()] = {};

/// What the first thread to crash leaves for the reporter.
struct Crash
{
    int itsSignal = 0;
    void* itsAddress = nullptr;
    WStackCapture itsStack;
};
Crash sCrash;
std::atomic_flag sHasCrashed;

/// A signal handler can write no report: it must not allocate. So a thread waits all the time to do it.
class Reporter
{
public:
    Reporter() : itsProcess( ::getpid() )
    {
        ::sem_init( &itsWork, 0, 0 );
        sigset_t all, previous;
        ::sigfillset( &all );
        for ( const int signal : kFatalSignals )
            ::sigdelset( &all, signal );
        ::pthread_sigmask( SIG_SETMASK, &all, &previous );
        itsThread = std::thread( [this] { Run(); } );
        ::pthread_sigmask( SIG_SETMASK, &previous, nullptr );
    }
    Reporter( const Reporter& ) = delete;
    Reporter& operator=( const Reporter& ) = delete;
    ~Reporter()
    {
        ::sem_post( &itsWork );
        itsThread.join();
        ::sem_destroy( &itsWork );
    }

    /// Has the crash reported and waits for that, from within a signal handler. A child that was forked has no
    /// reporter.
    void ReportAndWait()
    {
        if ( ::getpid() != itsProcess )
            return;
        ::sem_post( &itsWork );
        for ( int waited = 0; waited < kLongestReportMs && !itsIsDone; waited += kPollMs )
            ::poll( nullptr, 0, kPollMs );
    }

    /// For the reporter's own crash: lets the thread go that waits for the report.
    void GiveUpIfReporter()
    {
        if ( GetThread() == itsReportingThread )
            itsIsDone = true;
    }

private:
    const pid_t itsProcess;
    sem_t itsWork;
    std::atomic<pid_t> itsReportingThread = 0;
    std::atomic<bool> itsIsDone = false;
    std::thread itsThread;

    void Run()
    {
        itsReportingThread = GetThread();
        while ( ::sem_wait( &itsWork ) == -1 && errno == EINTR )
        {
        }
        const auto report = sReport.load();
        if ( sHasCrashed.test() && report )
            report( DescribeCrash() );
        itsIsDone = true;
    }

    /// A thread_local variable might be allocated on its first use.
    static pid_t GetThread() { return static_cast<pid_t>( ::syscall( SYS_gettid ) ); }

    static std::string DescribeCrash()
    {
        char text[128];
        std::snprintf(
            text, sizeof( text ), "fatal signal %d (%s), address %p\n", sCrash.itsSignal,
            ::strsignal( sCrash.itsSignal ), sCrash.itsAddress );
        return text + sCrash.itsStack.Describe();
    }
};

/// Never destroyed but by `Remove`, since a program may end without it.
std::atomic<Reporter*> sReporter = nullptr;

void WriteToStandardError( const char* inText )
{
    [[maybe_unused]] const auto written = ::write( STDERR_FILENO, inText, std::strlen( inText ) );
}

/// The first thread to crash reports; another one waits here for the end of the process.
void OnFatalSignal( int inSignal, siginfo_t* inInfo, void* inContext )
{
    auto* reporter = sReporter.load();
    if ( sHasCrashed.test_and_set() )
    {
        if ( reporter )
            reporter->GiveUpIfReporter();
        for ( ;; )
            ::pause();
    }
    WriteToStandardError( "The program has crashed.\n" );
    sCrash.itsSignal = inSignal;
    sCrash.itsAddress = inInfo->si_addr;
    sCrash.itsStack.Take( *static_cast<const ucontext_t*>( inContext ) );
    if ( reporter )
        reporter->ReportAndWait();
    // The handler is no longer installed, so that this time the signal does what it always did.
    std::raise( inSignal );
}

void UseHandlerStack()
{
    stack_t stack = {};
    if ( ::sigaltstack( nullptr, &stack ) != 0 || !( stack.ss_flags & SS_DISABLE ) )
        return;
    stack.ss_sp = sHandlerStack;
    stack.ss_size = kHandlerStackSize;
    stack.ss_flags = 0;
    ::sigaltstack( &stack, nullptr );
}

/// The first capture loads what the unwinder needs, which a signal handler must not do.
void WarmUp()
{
    ucontext_t context;
    ::getcontext( &context );
    sCrash.itsStack.Take( context );
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
    if ( sReporter )
        return;
    WarmUp();
    UseHandlerStack();
    sReporter = new Reporter;
    for ( std::size_t i = 0; i < kFatalSignals.size(); ++i )
        sIsInstalled[i] = InstallFor( kFatalSignals[i], sPreviousActions[i] );
}

void WCrashHandler::Remove()
{
    for ( std::size_t i = 0; i < kFatalSignals.size(); ++i )
        if ( std::exchange( sIsInstalled[i], false ) )
            ::sigaction( kFatalSignals[i], &sPreviousActions[i], nullptr );
    delete sReporter.exchange( nullptr );
    sReport = nullptr;
}
