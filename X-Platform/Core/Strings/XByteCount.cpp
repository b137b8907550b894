#include "Core/Strings/XByteCount.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace
{
constexpr std::string_view kPrefixes = "KMGT";
constexpr double kPrefixRatio = 1024;

/// Removes the unit letter from the end of the text and returns its factor.
double TakeUnit( std::string_view& ioText )
{
    constexpr char kToCapital = static_cast<char>( ~0x20 );
    const auto unit = ioText.empty() ? std::string_view::npos : kPrefixes.find( ioText.back() & kToCapital );
    if ( unit == std::string_view::npos )
        return 1;
    ioText.remove_suffix( 1 );
    return std::pow( kPrefixRatio, static_cast<double>( unit + 1 ) );
}
} // namespace

std::optional<std::uint64_t> XParseByteCount( std::string_view inText )
{
    const auto unit = TakeUnit( inText );
    double number = 0;
    const auto end = inText.data() + inText.size();
    const auto [rest, error] = std::from_chars( inText.data(), end, number, std::chars_format::fixed );
    const auto bytes = number * unit;
    const auto isCount = bytes >= 1 && bytes < 0x1p63 && std::trunc( bytes ) == bytes;
    if ( error != std::errc() || rest != end || !isCount )
        return std::nullopt;
    return static_cast<std::uint64_t>( bytes );
}

std::string XFormatByteCount( std::uint64_t inBytes )
{
    auto number = static_cast<double>( inBytes );
    std::size_t unit = 0;
    for ( ; number >= kPrefixRatio && unit < kPrefixes.size(); ++unit )
        number /= kPrefixRatio;
    char text[32];
    std::snprintf( text, sizeof( text ), "%.*f", std::trunc( number ) == number ? 0 : 1, number );
    return unit == 0 ? std::string( text ) + " bytes"
                     : std::string( text ) + " " + kPrefixes[unit - 1] + "iB";
}
