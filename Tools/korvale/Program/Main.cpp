#include "Commands/Command.h"
#include "Files/WPendingFiles.h"
#include "Process/WConsole.h"
#include "Process/WInterrupt.h"
#include "Program/Program.h"
#include "Services/XAppVersion.h"
#include "Startup/WInitApp.h"
#include "Startup/WInitCore.h"
#include "Support/Failure.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

// The order of construction in Run matters: the interrupt handler comes before anything that starts threads
// (WInterrupt). LackOfMemoryHandler is constructed twice, before the static objects and after WInitApp,
// because that installs a terminate handler of its own, which treats a lack of memory as a crash.
//
// After an interrupt the work has kGraceMS to notice it and to clean up; then the handler of the interrupt
// does so itself (LeaveNothing) and ends the process.

namespace
{
/// Work obeys an interrupt within a few milliseconds, but not where the system keeps it waiting.
constexpr std::uint32_t kGraceMS = 60;

void LeaveNothing()
{
    if ( WConsole::IsErrorTerminal() )
        WConsole::WriteErrorUnlessBlocked( ProgressDisplay::GetEraser() );
    WConsole::WriteErrorUnlessBlocked( "korvale: interrupted\n" );
    WPendingFiles::RemoveForEnd();
    WConsole::RestoreOutput();
}

struct PreparedOutput
{
    PreparedOutput() { WConsole::PrepareOutput(); }
    ~PreparedOutput() { WConsole::RestoreOutput(); }
};

/// What happens before the session can report it, or for want of the memory to do so. Takes next to no memory itself.
int ReportLastFailure() noexcept
{
    WConsole::WriteErrorUnlessBlocked( "korvale: cannot continue: " );
    try
    {
        WConsole::WriteErrorUnlessBlocked( DescribeCurrentException().text );
    }
    catch ( ... )
    {
        WConsole::WriteErrorUnlessBlocked( "there was not enough memory" );
    }
    WConsole::WriteErrorUnlessBlocked( "\n" );
    return kFailure;
}

/// If memory runs out in code that must not throw, this is reported as a failure and not as a crash.
class LackOfMemoryHandler
{
public:
    LackOfMemoryHandler() { sOthers = std::set_terminate( OnTerminate ); }

private:
    [[noreturn]] static void OnTerminate()
    {
        try
        {
            if ( std::current_exception() )
                throw;
        }
        catch ( const std::bad_alloc& )
        {
            WPendingFiles::RemoveForEnd();
            WConsole::RestoreOutput();
            std::_Exit( ReportLastFailure() );
        }
        catch ( ... )
        {
        }
        sOthers();
        std::abort();
    }

    static std::terminate_handler sOthers;
};

std::terminate_handler LackOfMemoryHandler::sOthers = nullptr;

/// Before all other static objects, some of which take memory.
[[gnu::init_priority( 101 )]] const LackOfMemoryHandler sOutsideApplication;

int Run( int inArgCount, char** inArgs )
{
    const WInterrupt interrupt( { kInterrupted, kFailure, kGraceMS, LeaveNothing } );
    const WInitCore core;
    const WInitApp application;
    const LackOfMemoryHandler inApplication;
    const PreparedOutput output;
    XAppVersion::SetCurrent(
        XAppVersion( "korvale", KORVALE_VERSION_NUMBERS ) ); // the peers of a deployment agree on it
    const auto style = WConsole::IsErrorTerminal() ? ProgressDisplay::kBars : ProgressDisplay::kLines;
    Terminal terminal{ std::cout, std::cerr, style, WConsole::IsOutputTerminal(), true };
    return RunProgram( WConsole::GetArguments( inArgCount, inArgs ), terminal );
}
} // namespace

int main( int inArgCount, char** inArgs )
{
    WConsole::ReserveClosedStreams();
    try
    {
        return Run( inArgCount, inArgs );
    }
    catch ( ... )
    {
        return ReportLastFailure();
    }
}
