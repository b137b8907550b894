#include "System/WRegularExpression.h"

#include <algorithm>
#include <re2/re2.h>
#include <stdexcept>

// RE2 matches with automata, in time linear in the text, within a limit of memory; it rejects expressions that need
// more. Its versions before 2023 know named groups only as (?P<name>...).

namespace
{
constexpr std::int64_t kMostMemory = 16 * 1024 * 1024;

/// Names groups as all versions of the library know them.
std::string NameGroups( const std::string& inExpression )
{
    std::string text;
    bool isInClass = false;
    for ( std::size_t i = 0; i < inExpression.size(); ++i )
    {
        const auto character = inExpression[i];
        const std::string_view rest( inExpression.data() + i, inExpression.size() - i );
        const auto isGroup =
            !isInClass && rest.starts_with( "(?<" ) && rest.size() > 3 && rest[3] != '=' && rest[3] != '!';
        if ( isGroup )
        {
            text += "(?P<";
            i += 2;
            continue;
        }
        text += character;
        if ( character == '\\' && rest.size() > 1 )
            text += inExpression[++i];
        else if ( isInClass && rest.starts_with( "[:" ) )
            text += inExpression[++i];
        else if ( isInClass && rest.starts_with( ":]" ) )
            text += inExpression[++i];
        else if ( character == '[' && !isInClass )
        {
            // A bracket in the first place of a class belongs to it.
            isInClass = true;
            for ( const auto* first : { "^", "]" } )
                if ( inExpression.compare( i + 1, 1, first ) == 0 )
                    text += inExpression[++i];
        }
        else if ( character == ']' )
            isInClass = false;
    }
    return text;
}

RE2::Options GetOptions()
{
    RE2::Options options;
    options.set_log_errors( false );
    options.set_max_mem( kMostMemory );
    return options;
}
} // namespace

class WRegularExpression::Implementation
{
public:
    explicit Implementation( const std::string& inExpression )
        : expression( NameGroups( inExpression ), GetOptions() )
    {
    }

    RE2 expression;
    std::vector<std::size_t> groups; // numbers of the named groups
};

WRegularExpression::WRegularExpression( const std::string& inExpression )
    : itsImplementation( std::make_unique<Implementation>( inExpression ) )
{
    if ( !itsImplementation->expression.ok() )
        throw std::invalid_argument( itsImplementation->expression.error() );
    for ( const auto& [number, name] : itsImplementation->expression.CapturingGroupNames() )
    {
        // Some versions of the library accept it.
        if ( std::ranges::find( itsGroupNames, name ) != itsGroupNames.end() )
            throw std::invalid_argument( "duplicate group " + name );
        itsImplementation->groups.push_back( static_cast<std::size_t>( number ) );
        itsGroupNames.push_back( name );
    }
}

WRegularExpression::~WRegularExpression() = default;

std::optional<WRegularExpression::Groups> WRegularExpression::Search( std::string_view inText ) const
{
    const auto& expression = itsImplementation->expression;
    const auto count = static_cast<std::size_t>( expression.NumberOfCapturingGroups() ) + 1;
    std::vector<re2::StringPiece> parts( count );
    const re2::StringPiece text( inText.data(), inText.size() );
    if ( !expression.Match(
             text, 0, inText.size(), RE2::UNANCHORED, parts.data(), static_cast<int>( count ) ) )
        return std::nullopt;
    Groups groups;
    for ( const auto number : itsImplementation->groups )
        groups.push_back(
            parts[number].data() ? std::optional( std::string( parts[number].data(), parts[number].size() ) )
                                 : std::nullopt );
    return groups;
}
