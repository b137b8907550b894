#include "NumberText.h"

#include <charconv>
#include <cmath>
#include <cstdint>

void AppendNumber( std::string& ioText, double inNumber )
{
    char digits[32];
    const auto isWhole = std::abs( inNumber ) <= 0x1p53 && std::trunc( inNumber ) == inNumber;
    const auto end = isWhole && !( inNumber == 0 && std::signbit( inNumber ) )
        ? std::to_chars( digits, std::end( digits ), static_cast<std::int64_t>( inNumber ) ).ptr
        : std::to_chars( digits, std::end( digits ), inNumber ).ptr;
    ioText.append( digits, end );
}
