#include "WCodePage.h"

#include <algorithm>

namespace
{

/// ASCII is the same in every code page that the library meets.
bool IsPlainAscii( std::string_view inText )
{
    return std::ranges::all_of(
        inText, []( char inChar ) { return static_cast<unsigned char>( inChar ) < 0x80; } );
}

} // namespace

std::string WCodePage::AnsiToUTF8( std::string_view inText )
{
    return IsPlainAscii( inText ) ? std::string( inText ) : WideToUTF8( AnsiToWide( inText ) );
}

std::string WCodePage::UTF8ToAnsi( std::string_view inText )
{
    return IsPlainAscii( inText ) ? std::string( inText ) : WideToAnsi( UTF8ToWide( inText ) );
}
