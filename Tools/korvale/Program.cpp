#include "Program.h"

#include "CommandThread.h"
#include "Core/XTimer.h"
#include "Export.h"
#include "Filter.h"
#include "Measure.h"
#include "NumberText.h"
#include "Pivot.h"
#include "Plot.h"
#include "Sample.h"
#include "Show.h"
#include "Sort.h"
#include "UsageError.h"
#include "WrongUsage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

namespace
{
struct Subcommand
{
    std::unique_ptr<Command> command;
    CLI::App* app = nullptr;
};

struct Options
{
    std::string log;
    bool isVerbose = false;
};

std::vector<Subcommand> DeclareSubcommands( CLI::App& ioProgram )
{
    std::vector<Subcommand> subcommands;
    subcommands.push_back( { std::make_unique<Sample>() } );
    subcommands.push_back( { std::make_unique<Measure>() } );
    subcommands.push_back( { std::make_unique<Show>() } );
    subcommands.push_back( { std::make_unique<Pivot>() } );
    subcommands.push_back( { std::make_unique<Sort>() } );
    subcommands.push_back( { std::make_unique<Filter>() } );
    subcommands.push_back( { std::make_unique<Export>() } );
    subcommands.push_back( { std::make_unique<Plot>() } );
    for ( auto& subcommand : subcommands )
    {
        subcommand.app = subcommand.command->Declare( ioProgram );
        subcommand.app->fallthrough(); // The program's own options may follow the command too.
    }
    return subcommands;
}

void DeclareOptions( CLI::App& ioProgram, Options& outOptions )
{
    ioProgram.set_version_flag( "--version", "korvale " KORVALE_VERSION );
    ioProgram
        .add_option( "--log", outOptions.log, "Session log to append to [session.log in the state folder]" )
        ->type_name( "FILE" )
        ->check( CheckFileName );
    ioProgram.add_flag( "--verbose", outOptions.isVerbose, "Show on standard error what goes into the log" );
    ioProgram.require_subcommand( 1 );
    ioProgram.allow_windows_style_options( false ); // A path may begin with a slash there too.
    ioProgram.footer(
        "These options may stand behind the command too; korvale COMMAND --help explains it.\n"
        "Exit status: 0 when all went well, 1 after a failure, 2 for wrong usage, 130 when the\n"
        "user interrupted it: then it leaves no new file behind." );
}

/// The exit status of what printed its results: a failure when some of them are lost.
int FinishOutput( int inStatus, Session& ioSession )
{
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

int RunCommand(
    const Subcommand& inSubcommand, const std::vector<std::string>& inArguments, const Options& inOptions,
    Session& ioSession )
{
    const XTimer timer;
    ioSession.StartLog( inOptions.isVerbose );
    ioSession.Note( "korvale " KORVALE_VERSION ":" + Quote( inArguments ) );
    CommandThread thread( *inSubcommand.command, inSubcommand.app->get_name(), ioSession );
    const auto status = FinishOutput( thread.RunWithMainLoop(), ioSession );
    ioSession.Note(
        "ended with status " + std::to_string( status ) + " after " +
        FormatSeconds( timer.GetElapsedSeconds() ) );
    ioSession.EndLog();
    return status;
}
} // namespace

int RunProgram( const std::vector<std::string>& inArguments, Terminal& ioTerminal )
{
    Session session( ioTerminal );
    Options options;
    CLI::App program( "Finds and measures the objects in microscope images.", "korvale" );
    DeclareOptions( program, options );
    auto subcommands = DeclareSubcommands( program );
    try
    {
        // CLI11 takes arguments from the back.
        program.parse( std::vector<std::string>( inArguments.rbegin(), inArguments.rend() ) );
        const auto used =
            std::ranges::find_if( subcommands, []( const auto& inEach ) { return inEach.app->parsed(); } );
        used->command->Check();
        session.ChooseLog( options.log );
        CheckCommandFiles( used->command->GetFiles(), session.GetLogName() );
        return RunCommand( *used, inArguments, options, session );
    }
    catch ( const CLI::Error& error )
    {
        if ( error.get_exit_code() == 0 ) // the help or the version
        {
            program.exit( error, ioTerminal.out, ioTerminal.error );
            return FinishOutput( kSuccess, session );
        }
        session.ReportFact( DescribeUsageError( program, error ) );
        return kWrongUsage;
    }
    catch ( const WrongUsage& wrongUsage )
    {
        session.ReportFailure( program.get_subcommands().front()->get_name(), { wrongUsage.what() } );
        return kWrongUsage;
    }
    catch ( ... )
    {
        session.ReportFailure( "cannot go on", DescribeCurrentException() );
        return kFailure;
    }
}
