#include "Options/UsageError.h"

#include "Core/Strings/XString.h"

#include <algorithm>

namespace
{
/// For a sentence; empty when none of the names is near enough to have been meant.
std::string SuggestNearest( const std::string& inName, const UsageError::Names& inNames )
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

std::string DescribeUnknown( const UsageError& inError, const std::string& inArgument )
{
    if ( inArgument.starts_with( '-' ) )
    {
        const auto option = inArgument.substr( 0, inArgument.find( '=' ) );
        return "unknown option " + option + SuggestNearest( option, inError.options );
    }
    if ( !inError.command.empty() )
        return "unexpected argument " + inArgument;
    return "unknown command " + inArgument + SuggestNearest( inArgument, inError.commands );
}

std::string DescribeMissingCommand( const UsageError::Names& inCommands )
{
    std::string text;
    for ( const auto& name : inCommands )
        text += ( text.empty() ? "no command given: one of " : ", " ) + name;
    return text;
}
} // namespace

std::string DescribeUsageError( const UsageError& inError )
{
    const auto& unknown = inError.unknown;
    const bool hasCommand = !inError.command.empty();
    std::string text = inError.message;
    if ( !unknown.empty() && ( !hasCommand || inError.isAboutUnknown ) )
    {
        // What follows an unknown option may be its value.
        const auto option =
            std::ranges::find_if( unknown, []( const auto& inText ) { return inText.starts_with( '-' ); } );
        text = DescribeUnknown( inError, option != unknown.end() ? *option : unknown.front() );
    }
    else if ( !hasCommand )
        text = DescribeMissingCommand( inError.commands );
    if ( !hasCommand )
        return text + "; see korvale --help";
    return inError.command + ": " + text + "; see korvale " + inError.command + " --help";
}
