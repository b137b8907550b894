#include "Options/UsageError.h"

#include "Core/Strings/XString.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <vector>

namespace
{
using Names = std::vector<std::string>;

/// For a sentence; empty when none of the names is near enough to have been meant.
std::string SuggestNearest( const std::string& inName, const Names& inNames )
{
    // A third of the characters may be wrong, plus one; anything further away was not a typing error.
    auto least = inName.size() / 3 + 2;
    std::string nearest;
    for ( const auto& name : inNames )
        if ( const auto distance = XString( inName ).FuzzyMatchLevenshtein( name, true ); distance < least )
        {
            least = distance;
            nearest = name;
        }
    return nearest.empty() ? "" : " (did you mean " + nearest + "?)";
}

Names ListCommands( const CLI::App& inProgram )
{
    Names names;
    for ( const auto* command : inProgram.get_subcommands( []( const CLI::App* ) { return true; } ) )
        names.push_back( command->get_name() );
    return names;
}

Names ListOptions( const CLI::App& inProgram, const CLI::App* inCommand )
{
    Names names;
    for ( const auto* app : { &inProgram, inCommand } )
        for ( const auto* option : app ? app->get_options() : std::vector<const CLI::Option*>() )
            for ( const auto& name : option->get_lnames() )
                names.push_back( "--" + name );
    return names;
}

std::string
DescribeUnknown( const CLI::App& inProgram, const CLI::App* inCommand, const std::string& inArgument )
{
    if ( inArgument.starts_with( '-' ) )
    {
        const auto option = inArgument.substr( 0, inArgument.find( '=' ) );
        return "unknown option " + option + SuggestNearest( option, ListOptions( inProgram, inCommand ) );
    }
    if ( inCommand )
        return "unexpected argument " + inArgument;
    return "unknown command " + inArgument + SuggestNearest( inArgument, ListCommands( inProgram ) );
}

std::string DescribeMissingCommand( const CLI::App& inProgram )
{
    std::string text;
    for ( const auto& name : ListCommands( inProgram ) )
        text += ( text.empty() ? "no command given: one of " : ", " ) + name;
    return text;
}
} // namespace

std::string DescribeUsageError( const CLI::App& inProgram, const CLI::Error& inError )
{
    const auto used = inProgram.get_subcommands();
    const auto* const command = used.empty() ? nullptr : used.front();
    const auto unknown = inProgram.remaining( true );
    std::string text = inError.what();
    if ( !unknown.empty() && ( !command || dynamic_cast<const CLI::ExtrasError*>( &inError ) ) )
    {
        // What follows an unknown option may be its value.
        const auto option =
            std::ranges::find_if( unknown, []( const auto& inText ) { return inText.starts_with( '-' ); } );
        text = DescribeUnknown( inProgram, command, option != unknown.end() ? *option : unknown.front() );
    }
    else if ( !command )
        text = DescribeMissingCommand( inProgram );
    if ( !command )
        return text + "; see korvale --help";
    return command->get_name() + ": " + text + "; see korvale " + command->get_name() + " --help";
}
