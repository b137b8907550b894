#include "Process/WCrashHandler.h"

#include "Process/Linux/WCrashReporter.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <utility>

#include <unistd.h>

// What a handler of a fatal signal may do is very little: the heap may be damaged, and any lock may be held
// by the thread that was interrupted. So the handler only stores registers and return addresses in static
// memory and wakes a thread that has been waiting since Install (WCrashReporter), which makes the report with
// everything that a program may do; the crashed thread waits for it, at most for a limited time. If the
// report crashes, too, it is given up.
//
// Handlers are installed only for signals that nobody else handles, and with SA_RESETHAND: when the handler
// returns by raising the signal again, the process ends by it as it would have without us.

namespace
{

constexpr std::array kFatalSignals = { SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT };

/// Room to handle a stack overflow, which cannot be done on the stack that is full. Only the thread that installs the
/// handlers has it.
constexpr std::size_t kHandlerStackSize = 64 * 1024;
alignas( 16 ) char sHandlerStack[kHandlerStackSize];

struct sigaction sPreviousActions[kFatalSignals.size()];
bool sIsInstalled[kFatalSignals.size()] = {};

std::atomic<WCrashHandler::Report> sReport = nullptr;
std::atomic_flag sHasCrashed;
WCrash sCrash; // written by the thread that sets sHasCrashed

/// Destroyed by `Remove` only, since a program may end without it.
std::atomic<WCrashReporter*> sReporter = nullptr;

void WriteToStandardError( const char* inText )
{
    [[maybe_unused]] const auto written = ::write( STDERR_FILENO, inText, std::strlen( inText ) );
}

/// The first thread to crash has it reported; another one waits here for the end of the process.
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
    sCrash.signal = inSignal;
    sCrash.address = inInfo->si_addr;
    sCrash.stack.Take( *static_cast<const ucontext_t*>( inContext ) );
    if ( reporter )
        reporter->ReportAndWait();
    // The handler is no longer installed, so the signal now has its original effect.
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

/// Loads the data that the unwinder needs, because a signal handler must not do this.
void WarmUp()
{
    sCrash.stack.TakeHere();
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
    sReporter = new WCrashReporter( sCrash, sReport );
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
