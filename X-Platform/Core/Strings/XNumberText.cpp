#include "Core/Strings/XNumberText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

void XAppendNumber( std::string& ioText, double inNumber )
{
    char digits[32];
    if ( std::isnan( inNumber ) )
    {
        ioText += "nan"; // Whatever its sign.
        return;
    }
    const auto isWhole = std::abs( inNumber ) <= 0x1p53 && std::trunc( inNumber ) == inNumber;
    const auto end = isWhole && !( inNumber == 0 && std::signbit( inNumber ) )
        ? std::to_chars( digits, std::end( digits ), static_cast<std::int64_t>( inNumber ) ).ptr
        : std::to_chars( digits, std::end( digits ), inNumber ).ptr;
    ioText.append( digits, end );
}

std::string XFormatSeconds( double inSeconds )
{
    char text[64];
    std::snprintf( text, sizeof( text ), "%.2f s", inSeconds );
    return text;
}
