#pragma once

#include "WPlatform.h"

#include <charconv>
#include <optional>
#include <string>
#include <string_view>

/// Appends a number in the shortest form that reads back exactly, independent of the locale. Whole numbers up
/// to 2^53 are written with all digits.
KORVALE_API void XAppendNumber( std::string& ioText, double inNumber );

/// Formats a duration as "0.25 s".
KORVALE_API std::string XFormatSeconds( double inSeconds );

/// Parses a number, independent of the locale. Empty unless the whole text is a number in the range of `T`.
template<class T>
std::optional<T> XParseNumber( std::string_view inText )
{
    T number{};
    const auto end = inText.data() + inText.size();
    const auto [rest, error] = std::from_chars( inText.data(), end, number );
    if ( error != std::errc() || rest != end )
        return std::nullopt;
    return number;
}
