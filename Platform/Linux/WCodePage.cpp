#include "WCodePage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace
{

/// Windows-1252 from 0x80 to 0x9F; everywhere else it is Latin-1. The five bytes without a character stand
/// for the control characters of the same numbers.
constexpr wchar_t kHighControls[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};
static_assert( std::size( kHighControls ) == 0x20 );

constexpr char kAnsiReplacement = '?';
constexpr char32_t kReplacement = 0xFFFD;

wchar_t DecodeAnsi( char inChar )
{
    const auto byte = static_cast<unsigned char>( inChar );
    return byte >= 0x80 && byte < 0xA0 ? kHighControls[byte - 0x80] : static_cast<wchar_t>( byte );
}

char EncodeAnsi( wchar_t inChar )
{
    const auto code = static_cast<std::uint32_t>( inChar );
    if ( code < 0x80 || ( code >= 0xA0 && code < 0x100 ) )
        return static_cast<char>( code );
    const auto* found = std::ranges::find( kHighControls, inChar );
    if ( found == std::end( kHighControls ) )
        return kAnsiReplacement;
    return static_cast<char>( 0x80 + ( found - kHighControls ) );
}

bool IsCharacter( char32_t inCode )
{
    return inCode < 0xD800 || ( inCode > 0xDFFF && inCode <= 0x10FFFF );
}

/// What the first byte of a character in UTF-8 says.
struct LeadByte
{
    std::size_t itsFollowers;
    char32_t itsBits;
    char32_t itsSmallest; // the smallest code that needs this many bytes
};

/// No followers and no bits for a byte that cannot begin a character.
LeadByte DecodeLead( unsigned char inByte )
{
    if ( inByte < 0x80 )
        return { 0, inByte, 0 };
    if ( inByte >= 0xC2 && inByte < 0xE0 )
        return { 1, inByte & 0x1Fu, 0x80 };
    if ( inByte >= 0xE0 && inByte < 0xF0 )
        return { 2, inByte & 0x0Fu, 0x800 };
    if ( inByte >= 0xF0 && inByte < 0xF5 )
        return { 3, inByte & 0x07u, 0x10000 };
    return { 0, kReplacement, 0 };
}

/// Takes one character from the front of the text. A malformed one costs one byte and the followers that fit.
char32_t TakeUTF8( std::string_view& ioText )
{
    const auto lead = DecodeLead( static_cast<unsigned char>( ioText.front() ) );
    ioText.remove_prefix( 1 );
    char32_t code = lead.itsBits;
    for ( std::size_t i = 0; i < lead.itsFollowers; ++i )
    {
        if ( ioText.empty() || ( static_cast<unsigned char>( ioText.front() ) & 0xC0u ) != 0x80u )
            return kReplacement;
        code = ( code << 6 ) | ( static_cast<unsigned char>( ioText.front() ) & 0x3Fu );
        ioText.remove_prefix( 1 );
    }
    return code >= lead.itsSmallest && IsCharacter( code ) ? code : kReplacement;
}

void AppendUTF8( char32_t inCode, std::string& ioText )
{
    const auto append = [&]( char32_t inByte ) { ioText += static_cast<char>( inByte ); };
    if ( inCode < 0x80 )
        return append( inCode );
    if ( inCode < 0x800 )
    {
        append( 0xC0 | ( inCode >> 6 ) );
        return append( 0x80 | ( inCode & 0x3F ) );
    }
    if ( inCode < 0x10000 )
    {
        append( 0xE0 | ( inCode >> 12 ) );
        append( 0x80 | ( ( inCode >> 6 ) & 0x3F ) );
        return append( 0x80 | ( inCode & 0x3F ) );
    }
    append( 0xF0 | ( inCode >> 18 ) );
    append( 0x80 | ( ( inCode >> 12 ) & 0x3F ) );
    append( 0x80 | ( ( inCode >> 6 ) & 0x3F ) );
    append( 0x80 | ( inCode & 0x3F ) );
}

} // namespace

std::wstring WCodePage::AnsiToWide( std::string_view inText )
{
    std::wstring wide( inText.size(), L'\0' );
    std::ranges::transform( inText, wide.begin(), DecodeAnsi );
    return wide;
}

std::string WCodePage::WideToAnsi( std::wstring_view inText )
{
    std::string ansi( inText.size(), '\0' );
    std::ranges::transform( inText, ansi.begin(), EncodeAnsi );
    return ansi;
}

std::wstring WCodePage::UTF8ToWide( std::string_view inText )
{
    std::wstring wide;
    wide.reserve( inText.size() );
    while ( !inText.empty() )
        wide += static_cast<wchar_t>( TakeUTF8( inText ) );
    return wide;
}

std::string WCodePage::WideToUTF8( std::wstring_view inText )
{
    std::string text;
    text.reserve( inText.size() );
    for ( const wchar_t wide : inText )
    {
        const auto code = static_cast<char32_t>( wide );
        AppendUTF8( IsCharacter( code ) ? code : kReplacement, text );
    }
    return text;
}
