#include "System/WCodePage.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>

// Conversions go through code points, one character at a time: TakeUTF8 and TakeWide read one and reject what
// is malformed (overlong forms, surrogates, numbers beyond 0x10FFFF) with the replacement character; the
// Append functions write one. Where the target has no such character, Windows-1252 gets a question mark, or,
// in the escaped form, "\u{...}" with its number, so that different texts stay different. In the escaped form
// a malformed byte b has the number 0xDC00 + b, which no character has.

namespace
{

/// ASCII is the same in every code page that the library meets.
bool IsPlainAscii( std::string_view inText )
{
    return std::ranges::all_of(
        inText, []( char inChar ) { return static_cast<unsigned char>( inChar ) < 0x80; } );
}

/// Windows-1252 from 0x80 to 0x9F; otherwise it equals Latin-1. The five unassigned bytes map to the control
/// characters of the same numbers.
constexpr char32_t kHighControls[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};
static_assert( std::size( kHighControls ) == 0x20 );

constexpr char kNarrowReplacement = '?';
constexpr char32_t kReplacement = 0xFFFD;

wchar_t DecodeWindows1252( char inChar )
{
    const auto byte = static_cast<unsigned char>( inChar );
    return byte >= 0x80 && byte < 0xA0 ? static_cast<wchar_t>( kHighControls[byte - 0x80] )
                                       : static_cast<wchar_t>( byte );
}

char EncodeWindows1252( char32_t inCode )
{
    if ( inCode < 0x80 || ( inCode >= 0xA0 && inCode < 0x100 ) )
        return static_cast<char>( inCode );
    const auto* found = std::ranges::find( kHighControls, inCode );
    if ( found == std::end( kHighControls ) )
        return kNarrowReplacement;
    return static_cast<char>( 0x80 + ( found - kHighControls ) );
}

bool IsCharacter( char32_t inCode )
{
    return inCode < 0xD800 || ( inCode > 0xDFFF && inCode <= 0x10FFFF );
}

/// The properties that the first byte of a UTF-8 character determines.
struct LeadByte
{
    std::size_t followers;
    char32_t bits;
    char32_t smallest; // the smallest code that needs this many bytes
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
    char32_t code = lead.bits;
    for ( std::size_t i = 0; i < lead.followers; ++i )
    {
        if ( ioText.empty() || ( static_cast<unsigned char>( ioText.front() ) & 0xC0u ) != 0x80u )
            return kReplacement;
        code = ( code << 6 ) | ( static_cast<unsigned char>( ioText.front() ) & 0x3Fu );
        ioText.remove_prefix( 1 );
    }
    return code >= lead.smallest && IsCharacter( code ) ? code : kReplacement;
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

constexpr bool kIsWideUTF16 = sizeof( wchar_t ) == 2;

bool IsHighSurrogate( wchar_t inWide )
{
    return kIsWideUTF16 && ( static_cast<char32_t>( inWide ) & 0xFC00 ) == 0xD800;
}

bool IsLowSurrogate( wchar_t inWide )
{
    return kIsWideUTF16 && ( static_cast<char32_t>( inWide ) & 0xFC00 ) == 0xDC00;
}

void AppendWide( char32_t inCode, std::wstring& ioText )
{
    if ( !kIsWideUTF16 || inCode < 0x10000 )
    {
        ioText += static_cast<wchar_t>( inCode );
        return;
    }
    ioText += static_cast<wchar_t>( 0xD800 + ( ( inCode - 0x10000 ) >> 10 ) );
    ioText += static_cast<wchar_t>( 0xDC00 + ( inCode & 0x3FF ) );
}

/// Takes one character from the front of the text.
char32_t TakeWide( std::wstring_view& ioText )
{
    const wchar_t first = ioText.front();
    ioText.remove_prefix( 1 );
    if ( IsHighSurrogate( first ) && !ioText.empty() && IsLowSurrogate( ioText.front() ) )
    {
        const auto low = static_cast<char32_t>( ioText.front() ) & 0x3FF;
        ioText.remove_prefix( 1 );
        return 0x10000 + ( ( static_cast<char32_t>( first ) & 0x3FF ) << 10 ) + low;
    }
    const auto code = static_cast<char32_t>( first );
    return IsCharacter( code ) ? code : kReplacement;
}

void AppendEscaped( char32_t inCode, std::string& ioText )
{
    char digits[8];
    const auto end = std::to_chars( digits, std::end( digits ), std::uint32_t{ inCode }, 16 ).ptr;
    ioText += "\\u{";
    for ( const auto digit : std::string_view( digits, end ) )
        ioText += digit >= 'a' ? static_cast<char>( digit - 'a' + 'A' ) : digit;
    ioText += '}';
}

} // namespace

std::wstring WCodePage::Windows1252ToWide( std::string_view inText )
{
    std::wstring wide( inText.size(), L'\0' );
    std::ranges::transform( inText, wide.begin(), DecodeWindows1252 );
    return wide;
}

std::string WCodePage::WideToWindows1252( std::wstring_view inText )
{
    std::string text;
    text.reserve( inText.size() );
    while ( !inText.empty() )
        text += EncodeWindows1252( TakeWide( inText ) );
    return text;
}

std::wstring WCodePage::UTF8ToWide( std::string_view inText )
{
    std::wstring wide;
    wide.reserve( inText.size() );
    while ( !inText.empty() )
        AppendWide( TakeUTF8( inText ), wide );
    return wide;
}

std::string WCodePage::WideToUTF8( std::wstring_view inText )
{
    std::string text;
    text.reserve( inText.size() );
    while ( !inText.empty() )
        AppendUTF8( TakeWide( inText ), text );
    return text;
}

std::string WCodePage::AnsiToUTF8( std::string_view inText )
{
    return IsPlainAscii( inText ) ? std::string( inText ) : WideToUTF8( AnsiToWide( inText ) );
}

std::string WCodePage::UTF8ToAnsi( std::string_view inText )
{
    return IsPlainAscii( inText ) ? std::string( inText ) : WideToAnsi( UTF8ToWide( inText ) );
}

std::string WCodePage::Windows1252ToUTF8( std::string_view inText )
{
    return IsPlainAscii( inText ) ? std::string( inText ) : WideToUTF8( Windows1252ToWide( inText ) );
}

std::string WCodePage::UTF8ToWindows1252( std::string_view inText )
{
    return IsPlainAscii( inText ) ? std::string( inText ) : WideToWindows1252( UTF8ToWide( inText ) );
}

std::string WCodePage::UTF8ToWindows1252Escaped( std::string_view inText )
{
    constexpr char32_t kMalformed = 0xDC00;
    std::string text;
    while ( !inText.empty() )
    {
        auto rest = inText;
        const auto code = TakeUTF8( rest );
        const auto character = inText.substr( 0, inText.size() - rest.size() );
        std::string wellFormed;
        AppendUTF8( code, wellFormed );
        // A replacement character that was in the text is well-formed and equals its own encoding.
        const bool isMalformed = wellFormed != character;
        const auto encoded = EncodeWindows1252( code );
        if ( isMalformed )
            AppendEscaped( kMalformed + static_cast<unsigned char>( character.front() ), text );
        else if ( encoded == kNarrowReplacement && code != static_cast<char32_t>( kNarrowReplacement ) )
            AppendEscaped( code, text );
        else
            text += encoded;
        inText.remove_prefix( isMalformed ? 1 : character.size() );
    }
    return text;
}
