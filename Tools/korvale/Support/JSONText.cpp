#include "Support/JSONText.h"

namespace
{
/// The number of bytes of the character at the start of a text; 0 if it is not UTF-8.
std::size_t GetCharacterSize( std::string_view inText )
{
    const auto first = static_cast<unsigned char>( inText[0] );
    const std::size_t size = first < 0x80 ? 1
        : first < 0xC2                    ? 0
        : first < 0xE0                    ? 2
        : first < 0xF0                    ? 3
        : first < 0xF5                    ? 4
                                          : 0;
    if ( size > inText.size() )
        return 0;
    for ( std::size_t i = 1; i < size; ++i )
        if ( ( static_cast<unsigned char>( inText[i] ) & 0xC0 ) != 0x80 )
            return 0;
    return size;
}
} // namespace

std::string QuoteJSON( std::string_view inText )
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string quoted = "\"";
    while ( !inText.empty() )
    {
        const auto size = GetCharacterSize( inText );
        const auto code = static_cast<unsigned char>( inText[0] );
        if ( size == 0 )
            quoted += "\uFFFD";
        else if ( code < 0x20 )
            quoted += std::string( "\\u00" ) + kDigits[code / 16] + kDigits[code % 16];
        else if ( code == '"' || code == '\\' )
            quoted += std::string( "\\" ) + inText[0];
        else
            quoted += inText.substr( 0, size );
        inText.remove_prefix( size == 0 ? 1 : size );
    }
    return quoted + '"';
}
