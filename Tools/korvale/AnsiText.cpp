#include "AnsiText.h"

#include "WCodePage.h"

#include <algorithm>

std::string ToUTF8( const XString& inText )
{
    return WCodePage::Windows1252ToUTF8( inText.GetStringView() );
}

XString FromUTF8( const std::string& inText )
{
    return WCodePage::UTF8ToWindows1252( inText );
}

std::string ToUTF8Line( const XString& inText )
{
    auto text = ToUTF8( inText );
    std::ranges::replace_if(
        text, []( char inByte ) { return static_cast<unsigned char>( inByte ) < ' '; }, ' ' );
    return text;
}

std::size_t CountCharacters( std::string_view inText )
{
    const auto isFirstByte = []( char inByte ) { return ( inByte & 0xC0 ) != 0x80; };
    return static_cast<std::size_t>( std::ranges::count_if( inText, isFirstByte ) );
}
