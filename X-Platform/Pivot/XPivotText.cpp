#include "Pivot/XPivotText.h"

#include "System/WCodePage.h"

#include <algorithm>

std::string XPivotText::ToUTF8( const XString& inText )
{
    return WCodePage::Windows1252ToUTF8( inText.GetStringView() );
}

XString XPivotText::FromUTF8( const std::string& inText )
{
    return WCodePage::UTF8ToWindows1252Escaped( inText );
}

XString XPivotText::FromFileName( const std::string& inName )
{
    constexpr std::string_view kEscape = "\\u{", kBackslash = "\\u{5C}";
    auto name = inName;
    for ( auto found = name.find( kEscape ); found != std::string::npos; found = name.find( kEscape, found ) )
    {
        name.replace( found, 1, kBackslash );
        found += kBackslash.size();
    }
    return FromUTF8( name );
}

std::string XPivotText::ToUTF8Line( const XString& inText )
{
    auto text = ToUTF8( inText );
    std::ranges::replace_if(
        text, []( char inByte ) { return static_cast<unsigned char>( inByte ) < ' '; }, ' ' );
    return text;
}
