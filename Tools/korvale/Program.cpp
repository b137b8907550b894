#include "Program.h"

#include "Measure.h"
#include "Sample.h"
#include "Show.h"

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

std::vector<Subcommand> DeclareSubcommands( CLI::App& ioProgram )
{
    std::vector<Subcommand> subcommands;
    subcommands.push_back( { std::make_unique<Sample>() } );
    subcommands.push_back( { std::make_unique<Measure>() } );
    subcommands.push_back( { std::make_unique<Show>() } );
    for ( auto& subcommand : subcommands )
        subcommand.app = subcommand.command->Declare( ioProgram );
    return subcommands;
}

/// The exit status of what printed its results: a failure when some of them are lost.
int FinishOutput( int inStatus, Terminal& ioTerminal )
{
    if ( ioTerminal.out.flush() )
        return inStatus;
    ReportFailure( ioTerminal, "standard output", "not everything could be written" );
    return kFailure;
}
} // namespace

int RunProgram( const std::vector<std::string>& inArguments, Terminal& ioTerminal )
{
    CLI::App program( "Finds and measures the objects in microscope images.", "korvale" );
    program.set_version_flag( "--version", "korvale " KORVALE_VERSION );
    program.require_subcommand( 1 );
    program.allow_windows_style_options( false ); // A path may begin with a slash there too.
    program.footer( "korvale COMMAND --help explains a command.\n"
                    "Exit status: 0 when all went well, 1 after a failure, 2 for wrong usage." );
    auto subcommands = DeclareSubcommands( program );
    try
    {
        // CLI11 takes arguments from the back.
        program.parse( std::vector<std::string>( inArguments.rbegin(), inArguments.rend() ) );
        const auto used =
            std::ranges::find_if( subcommands, []( const auto& inEach ) { return inEach.app->parsed(); } );
        used->command->Check();
        return FinishOutput( used->command->Run( ioTerminal ), ioTerminal );
    }
    catch ( const CLI::Error& error )
    {
        const auto status = program.exit( error, ioTerminal.out, ioTerminal.error );
        return status == 0 ? FinishOutput( kSuccess, ioTerminal ) : kWrongUsage;
    }
    catch ( ... )
    {
        ReportFailure(
            ioTerminal, program.get_subcommands().front()->get_name(), DescribeCurrentException() );
        return kFailure;
    }
}
