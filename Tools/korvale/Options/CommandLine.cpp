#include "Options/CommandLine.h"

#include "Options/UsageError.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>

namespace
{
/// Separates the groups of options in the help by one empty line: each begins with one, and the base adds one between them.
/// Several excluded options are not listed, because they would be in no order and in one line.
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_group(
        std::string inHeading, bool inIsPositional, std::vector<const CLI::Option*> inOptions ) const override
    {
        const auto text = CLI::Formatter::make_group( inHeading, inIsPositional, inOptions );
        const auto isFirst = inIsPositional || inHeading == "Options";
        return isFirst || text.empty() ? text : text.substr( 1 );
    }

    std::string make_option_opts( const CLI::Option* inOption ) const override
    {
        const auto text = CLI::Formatter::make_option_opts( inOption );
        return inOption->get_excludes().size() > 1 ? text.substr( 0, text.find( " Excludes:" ) ) : text;
    }
};

UsageError::Names ListCommands( const CLI::App& inProgram )
{
    UsageError::Names names;
    for ( const auto* command : inProgram.get_subcommands( []( const CLI::App* ) { return true; } ) )
        names.push_back( command->get_name() );
    return names;
}

UsageError::Names ListOptions( const CLI::App& inProgram, const CLI::App* inCommand )
{
    UsageError::Names names;
    for ( const auto* app : { &inProgram, inCommand } )
        for ( const auto* option : app ? app->get_options() : std::vector<const CLI::Option*>() )
            for ( const auto& name : option->get_lnames() )
                names.push_back( "--" + name );
    return names;
}

UsageError GetUsageError( const CLI::App& inProgram, const CLI::Error& inError )
{
    const auto used = inProgram.get_subcommands();
    const auto* const command = used.empty() ? nullptr : used.front();
    return {
        .message = inError.what(),
        .command = command ? command->get_name() : "",
        .commands = ListCommands( inProgram ),
        .options = ListOptions( inProgram, command ),
        .unknown = inProgram.remaining( true ),
        .isAboutUnknown = dynamic_cast<const CLI::ExtrasError*>( &inError ) != nullptr };
}
} // namespace

CommandOption CommandOption::Takes( const std::string& inKind ) const
{
    itsOption->type_name( inKind );
    return *this;
}

CommandOption CommandOption::Required() const
{
    itsOption->required();
    return *this;
}

CommandOption CommandOption::ShowsDefault() const
{
    itsOption->capture_default_str();
    return *this;
}

CommandOption CommandOption::MayRepeat() const
{
    itsOption->expected( 1 )->multi_option_policy( CLI::MultiOptionPolicy::TakeAll );
    return *this;
}

CommandOption CommandOption::Check( std::string ( *inCheck )( const std::string& ) ) const
{
    itsOption->check( inCheck );
    return *this;
}

CommandOption CommandOption::IsOneOf( std::initializer_list<std::string> inValues ) const
{
    itsOption->check( CLI::IsMember( std::vector<std::string>( inValues ) ) );
    return *this;
}

CommandOption CommandOption::IsBetween( std::uint32_t inLeast, std::uint32_t inMost ) const
{
    itsOption->check( CLI::Range( inLeast, inMost ) );
    return *this;
}

CommandOption CommandOption::IsBetween( double inLeast, double inMost ) const
{
    // Whose comparisons let "nan" pass.
    itsOption->check( CLI::Range( inLeast, inMost ) );
    itsOption->check(
        []( const std::string& inText )
        { return std::isnan( std::strtod( inText.c_str(), nullptr ) ) ? inText + " is not a number" : ""; } );
    return *this;
}

CommandOption CommandOption::Needs( const std::string& inOther ) const
{
    itsOption->needs( inOther );
    return *this;
}

CommandOption CommandOption::Excludes( const std::string& inOther ) const
{
    itsOption->excludes( inOther );
    return *this;
}

CommandOptions CommandOptions::Under( const std::string& inHeading ) const
{
    CommandOptions result = *this;
    result.itsHeading = inHeading;
    return result;
}

CommandOption CommandOptions::Place( CLI::Option& ioOption ) const
{
    if ( !itsHeading.empty() )
        ioOption.group( itsHeading );
    return CommandOption( ioOption );
}

CommandOption
CommandOptions::Add( const std::string& inNames, std::string& outValue, const std::string& inHelp ) const
{
    return Place( *itsCommand->add_option( inNames, outValue, inHelp ) );
}

CommandOption CommandOptions::Add(
    const std::string& inNames, std::vector<std::string>& outValues, const std::string& inHelp ) const
{
    return Place( *itsCommand->add_option( inNames, outValues, inHelp ) );
}

CommandOption
CommandOptions::Add( const std::string& inNames, std::uint32_t& outValue, const std::string& inHelp ) const
{
    return Place( *itsCommand->add_option( inNames, outValue, inHelp ) );
}

CommandOption
CommandOptions::Add( const std::string& inNames, std::uint64_t& outValue, const std::string& inHelp ) const
{
    return Place( *itsCommand->add_option( inNames, outValue, inHelp ) );
}

CommandOption
CommandOptions::Add( const std::string& inNames, double& outValue, const std::string& inHelp ) const
{
    return Place( *itsCommand->add_option( inNames, outValue, inHelp ) );
}

CommandOption
CommandOptions::AddFlag( const std::string& inNames, bool& outIsGiven, const std::string& inHelp ) const
{
    return Place( *itsCommand->add_flag( inNames, outIsGiven, inHelp ) );
}

void CommandOptions::Explain( const std::string& inText ) const
{
    itsCommand->footer( inText );
}

void CommandOptions::WhenParsed( std::function<void()> inAction ) const
{
    itsCommand->parse_complete_callback( std::move( inAction ) );
}

CommandLine::CommandLine(
    const std::string& inProgram, const std::string& inVersion, const std::string& inSummary )
    : itsProgram( std::make_unique<CLI::App>( inSummary, inProgram ) )
{
    itsProgram->set_version_flag( "--version", inProgram + " " + inVersion );
    itsProgram->require_subcommand( 1 );
    itsProgram->formatter( std::make_shared<HelpFormatter>() ); // and that of all commands
    itsProgram->allow_windows_style_options( false );           // A path may begin with a slash there too.
}

CommandLine::~CommandLine() = default;

CommandOptions CommandLine::GetOptions()
{
    return CommandOptions( *itsProgram );
}

CommandOptions CommandLine::AddCommand( const std::string& inName, const std::string& inSummary )
{
    auto* const command = itsProgram->add_subcommand( inName, inSummary );
    command->fallthrough(); // The program's own options may follow the command too.
    return CommandOptions( *command );
}

bool CommandLine::Parse( const std::vector<std::string>& inArguments, std::ostream& ioOut )
{
    try
    {
        // CLI11 takes arguments from the back.
        itsProgram->parse( std::vector<std::string>( inArguments.rbegin(), inArguments.rend() ) );
        return true;
    }
    catch ( const CLI::Error& error )
    {
        if ( error.get_exit_code() != 0 )
            throw CommandLineError( DescribeUsageError( GetUsageError( *itsProgram, error ) ) );
        itsProgram->exit( error, ioOut, ioOut ); // prints the help or the version
        return false;
    }
}

std::string CommandLine::GetCommandName() const
{
    const auto commands = itsProgram->get_subcommands();
    return commands.empty() ? "" : commands.front()->get_name();
}
