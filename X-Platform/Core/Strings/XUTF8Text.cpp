#include "Core/Strings/XUTF8Text.h"

#include "System/WCodePage.h"

#include <algorithm>

std::string XElideText(
    const std::string& inText, double inMostWidth,
    const std::function<double( const std::string& )>& inMeasure )
{
    if ( inMeasure( inText ) <= inMostWidth )
        return inText;
    constexpr std::size_t kMost = 400; // Nobody reads more, and measuring takes its time.
    auto letters = WCodePage::UTF8ToWide( inText );
    if ( letters.size() > kMost )
        letters.erase( kMost / 2, letters.size() - kMost );
    for ( auto count = letters.size(); count-- > 0; )
    {
        const auto end = count / 2, start = count - end;
        const auto text = WCodePage::WideToUTF8( letters.substr( 0, start ) ) + "\xE2\x80\xA6" +
            WCodePage::WideToUTF8( letters.substr( letters.size() - end ) );
        if ( inMeasure( text ) <= inMostWidth )
            return text;
    }
    return "";
}

std::size_t XCountCharacters( std::string_view inText )
{
    const auto isFirstByte = []( char inByte ) { return ( inByte & 0xC0 ) != 0x80; };
    return static_cast<std::size_t>( std::ranges::count_if( inText, isFirstByte ) );
}
