#include "Program/Program.h"

#include "Commands/Command.h"
#include "Commands/ControlCommand.h"
#include "Commands/ExportCommand.h"
#include "Commands/FilterCommand.h"
#include "Commands/InfoCommand.h"
#include "Commands/KeysCommand.h"
#include "Commands/MeasureCommand.h"
#include "Commands/NodeCommand.h"
#include "Commands/PingCommand.h"
#include "Commands/PivotCommand.h"
#include "Commands/PlotCommand.h"
#include "Commands/SampleCommand.h"
#include "Commands/ShowCommand.h"
#include "Commands/SortCommand.h"
#include "Commands/StatusCommand.h"
#include "Core/Strings/XNumberText.h"
#include "Core/Times/XTimer.h"
#include "Options/CommandLine.h"
#include "Options/OptionChecks.h"
#include "Process/WConsole.h"
#include "Program/CommandThread.h"
#include "Support/Failure.h"
#include "Support/WrongUsage.h"

#include <algorithm>
#include <memory>

namespace
{
struct Options
{
    std::string log;
    bool isVerbose = false;
};

using Commands = std::vector<std::unique_ptr<Command>>;

Commands DeclareCommands( CommandLine& ioLine )
{
    Commands commands;
    commands.push_back( std::make_unique<SampleCommand>() );
    commands.push_back( std::make_unique<MeasureCommand>() );
    commands.push_back( std::make_unique<InfoCommand>() );
    commands.push_back( std::make_unique<ShowCommand>() );
    commands.push_back( std::make_unique<PivotCommand>() );
    commands.push_back( std::make_unique<SortCommand>() );
    commands.push_back( std::make_unique<FilterCommand>() );
    commands.push_back( std::make_unique<ExportCommand>() );
    commands.push_back( std::make_unique<PlotCommand>() );
    commands.push_back( std::make_unique<KeysCommand>() );
    commands.push_back( std::make_unique<ControlCommand>() );
    commands.push_back( std::make_unique<NodeCommand>() );
    commands.push_back( std::make_unique<StatusCommand>() );
    commands.push_back( std::make_unique<PingCommand>() );
    for ( const auto& command : commands )
        command->Declare( ioLine.AddCommand( command->GetName(), command->GetSummary() ) );
    return commands;
}

void DeclareOptions( CommandLine& ioLine, Options& outOptions )
{
    const auto options = ioLine.GetOptions();
    options.Add( "--log", outOptions.log, "Session log [session.log in the state folder]" )
        .Takes( "FILE" )
        .Check( CheckFileName );
    options.AddFlag( "--verbose", outOptions.isVerbose, "Print log entries on standard error" );
    options.Explain( "These options may also follow the command. See korvale COMMAND --help.\n"
                     "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted;\n"
                     "then no new output is left behind." );
}

/// The exit status of what printed its results: a failure when some of them are lost.
int FinishOutput( int inStatus, Session& ioSession )
{
    // The stream remembers an error of any earlier write, too.
    if ( ioSession.out.flush() || inStatus == kInterrupted )
        return inStatus;
    ioSession.ReportFailure( "standard output", { "not everything could be written" } );
    return kFailure;
}

/// The arguments as one would type them.
std::string Quote( const std::vector<std::string>& inArguments )
{
    std::string text;
    for ( const auto& argument : inArguments )
    {
        const auto isPlain = !argument.empty() && argument.find_first_of( " \t\n\"'" ) == std::string::npos;
        text += isPlain ? " " + argument : " \"" + argument + "\"";
    }
    return text;
}

/// The results are in place by then, so an incomplete log is not a failure of the command.
void EndLog( int inStatus, double inSeconds, Session& ioSession )
{
    try
    {
        ioSession.LogInfo(
            "ended with status " + std::to_string( inStatus ) + " after " + XFormatSeconds( inSeconds ) );
        ioSession.EndLog();
    }
    catch ( ... )
    {
        WConsole::WriteErrorUnlessBlocked( "korvale: warning: cannot complete the log\n" );
    }
}

int RunCommand(
    Command& ioCommand, const std::vector<std::string>& inArguments, const Options& inOptions,
    Session& ioSession )
{
    const XTimer timer;
    ioSession.StartLog( inOptions.isVerbose );
    ioSession.LogInfo( "korvale " KORVALE_VERSION ":" + Quote( inArguments ) );
    CommandThread thread( ioCommand, ioSession );
    const auto status = FinishOutput( thread.RunWithMainLoop(), ioSession );
    EndLog( status, timer.GetElapsedSeconds(), ioSession );
    return status;
}
} // namespace

int RunProgram( const std::vector<std::string>& inArguments, Terminal& ioTerminal )
{
    Session session( ioTerminal );
    Options options;
    CommandLine line( "korvale", KORVALE_VERSION, "Finds and measures the objects in microscope images." );
    DeclareOptions( line, options );
    const auto commands = DeclareCommands( line );
    try
    {
        if ( !line.Parse( inArguments, ioTerminal.out ) )
            return FinishOutput( kSuccess, session );
        auto& command = **std::ranges::find_if(
            commands, [&]( const auto& inEach ) { return inEach->GetName() == line.GetCommandName(); } );
        command.Check();
        session.ChooseLog( options.log );
        CheckCommandFiles( command.GetFiles(), session.GetLogName() );
        return RunCommand( command, inArguments, options, session );
    }
    catch ( const CommandLineError& error )
    {
        session.ReportInfo( error.what() );
        return kWrongUsage;
    }
    catch ( const WrongUsage& wrongUsage )
    {
        session.ReportFailure( line.GetCommandName(), { wrongUsage.what() } );
        return kWrongUsage;
    }
    catch ( ... )
    {
        session.ReportFailure( "cannot continue", DescribeCurrentException() );
        return kFailure;
    }
}
