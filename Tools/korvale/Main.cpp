#include "Program.h"
#include "Startup/WInitApp.h"
#include "Startup/WInitCore.h"
#include "WConsole.h"
#include "WInterrupt.h"
#include "WUnfinishedFiles.h"

#include <iostream>

namespace
{
/// Work obeys an interrupt within a few milliseconds, but not where the system keeps it waiting.
constexpr std::uint32_t kGraceMs = 60;

void LeaveNothing()
{
    if ( WConsole::IsErrorTerminal() )
        WConsole::WriteErrorUnlessBlocked( ProgressDisplay::GetEraser() );
    WConsole::WriteErrorUnlessBlocked( "korvale: interrupted\n" );
    WUnfinishedFiles::RemoveForEnd();
    WConsole::RestoreOutput();
}

struct PreparedOutput
{
    PreparedOutput() { WConsole::PrepareOutput(); }
    ~PreparedOutput() { WConsole::RestoreOutput(); }
};
} // namespace

int main( int inArgCount, char** inArgs )
{
    const WInterrupt interrupt( { kInterrupted, kFailure, kGraceMs, LeaveNothing } );
    const WInitCore core;
    const WInitApp application;
    const PreparedOutput output;
    const auto style = WConsole::IsErrorTerminal() ? ProgressDisplay::kBars : ProgressDisplay::kLines;
    Terminal terminal{ std::cout, std::cerr, style, WConsole::IsOutputTerminal(), true };
    return RunProgram( WConsole::GetArguments( inArgCount, inArgs ), terminal );
}
