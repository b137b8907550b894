#include "Support/ListParser.h"

#include "Support/WrongUsage.h"

#include <algorithm>

// The quoting of CSV: an item that begins with a double quote extends to its closing quote; a doubled quote
// within it stands for one. Only the beginning of an item is examined, so inches and the like may occur
// within an item that is not quoted.

namespace
{
constexpr char kQuote = '"';
constexpr const char* kBlanks = " \t\r\n";
} // namespace

std::string_view TrimSpaces( std::string_view inText )
{
    const auto first = inText.find_first_not_of( kBlanks );
    if ( first == std::string_view::npos )
        return {};
    return inText.substr( first, inText.find_last_not_of( kBlanks ) + 1 - first );
}

std::size_t FindQuotedEnd( std::string_view inText )
{
    if ( !inText.starts_with( kQuote ) )
        return 0;
    for ( std::size_t i = 1; i < inText.size(); ++i )
    {
        if ( inText[i] != kQuote )
            continue;
        if ( i + 1 == inText.size() || inText[i + 1] != kQuote )
            return i + 1;
        ++i; // A doubled one.
    }
    throw WrongUsage( "missing closing quote in " + std::string( inText ) );
}

std::string Unquote( std::string_view inText )
{
    const auto text = TrimSpaces( inText );
    const auto end = FindQuotedEnd( text );
    if ( end == 0 )
        return std::string( text );
    if ( end != text.size() )
        throw WrongUsage( "unexpected text after the closing quote in " + std::string( text ) );

    std::string unquoted;
    for ( std::size_t i = 1; i + 1 < end; ++i )
    {
        unquoted += text[i];
        i += text[i] == kQuote; // Its double.
    }
    return unquoted;
}

std::vector<std::string> SplitList( std::string_view inText )
{
    std::vector<std::string> items;
    for ( auto rest = inText;; )
    {
        rest = TrimSpaces( rest );
        const auto comma = rest.find( ',', FindQuotedEnd( rest ) );
        items.emplace_back( TrimSpaces( rest.substr( 0, comma ) ) );
        if ( items.back().empty() )
            throw WrongUsage( "empty item in the list " + std::string( inText ) );
        if ( comma == std::string_view::npos )
            return items;
        rest.remove_prefix( comma + 1 );
    }
}
