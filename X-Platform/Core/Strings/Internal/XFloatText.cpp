#include "Core/Strings/Internal/XFloatText.h"

#include "Core/Strings/Internal/XDecimalDigits.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <optional>

// The fast way to a decimal text: multiply by a power of ten in 128 bits, exactly, round once, and write an
// integer with a point in it. It serves numbers whose scaled value is below 2^63 and has the digits that
// printf gives, half-way cases included, because nothing is rounded before the end. Everything else goes to
// std::to_chars, which is exact too.

namespace
{
using XWide = unsigned __int128;

constexpr std::uint64_t kMaxRounded = std::uint64_t( 1 ) << 63;
constexpr std::uint64_t kImpliedBit = std::uint64_t( 1 ) << 52; // of the mantissa
constexpr int kExponentBias = 1075;                             // for a mantissa taken as an integer
constexpr int kGeneralDigits = 6;

/// `inValue`, which is not negative, times 10^`inDecimals`, rounded to the nearest integer, exact halves to
/// the even one, as printf rounds. The product is exact: a 53-bit mantissa times a 64-bit power of ten fits
/// in 128 bits. Nothing for results that do not fit in 63 bits.
std::optional<std::uint64_t> ScaleAndRound( double inValue, unsigned inDecimals )
{
    const auto bits = std::bit_cast<std::uint64_t>( inValue );
    const int storedExponent = static_cast<int>( bits >> 52 );
    const std::uint64_t impliedBit = storedExponent != 0 ? kImpliedBit : 0;
    const XWide product =
        XWide( ( bits & ( kImpliedBit - 1 ) ) | impliedBit ) * XDecimalDigits::GetPowerOfTen( inDecimals );
    // A double is its mantissa times 2^-shift. Subnormal numbers (stored exponent 0) have the exponent of 1
    // without the implied bit.
    const int shift = kExponentBias - std::max( storedExponent, 1 );
    // The product has at most 53 + 64 bits, so this is less than one half.
    if ( shift >= 127 )
        return 0;
    if ( shift <= 0 )
        return std::nullopt;
    const XWide whole = product >> shift;
    if ( whole >= kMaxRounded )
        return std::nullopt;
    const XWide half = XWide( 1 ) << ( shift - 1 );
    const XWide rest = product & ( ( half << 1 ) - 1 );
    const auto rounded = static_cast<std::uint64_t>( whole );
    return rounded + ( rest > half || ( rest == half && ( rounded & 1 ) ) );
}

/// For numbers in [1e-4, 1e6), which "%g" prints without exponent: how many decimals give six significant
/// digits.
unsigned CountGeneralDecimals( double inMagnitude )
{
    static constexpr double kLimits[] = { 1e5, 1e4, 1e3, 1e2, 1e1, 1e0, 1e-1, 1e-2, 1e-3 };
    unsigned decimals = 0;
    for ( const double limit : kLimits )
        decimals += inMagnitude < limit;
    return decimals;
}
} // namespace

XFloatText XFloatText::Fixed( double inValue, std::int32_t inDecimals )
{
    XFloatText text;
    const auto decimals = static_cast<unsigned>( std::max( inDecimals, 0 ) );
    if ( decimals <= XDecimalDigits::kMaxPower )
        if ( const auto number = ScaleAndRound( std::abs( inValue ), decimals ) )
        {
            text.WriteDecimal( std::signbit( inValue ), *number, decimals );
            return text;
        }
    text.WriteFixedByLibrary( inValue, static_cast<int>( decimals ) );
    return text;
}

XFloatText XFloatText::General( double inValue )
{
    XFloatText text;
    const double magnitude = std::abs( inValue );
    // Below the upper limit, rounding to six digits does not give a seventh. ScaleAndRound succeeds for all
    // of these.
    if ( magnitude >= 1e-4 && magnitude < 999999.5 )
    {
        const unsigned decimals = CountGeneralDecimals( magnitude );
        text.WriteDecimal( std::signbit( inValue ), *ScaleAndRound( magnitude, decimals ), decimals );
        text.TrimZeros();
        return text;
    }
    const auto result = std::to_chars(
        text.itsText, text.itsText + kMaxShortLength, inValue, std::chars_format::general, kGeneralDigits );
    text.itsLength = static_cast<std::size_t>( result.ptr - text.itsText );
    return text;
}

XFloatText XFloatText::Scientific( double inValue )
{
    XFloatText text;
    const auto result = std::to_chars(
        text.itsText, text.itsText + kMaxShortLength, inValue, std::chars_format::scientific,
        kGeneralDigits );
    text.itsLength = static_cast<std::size_t>( result.ptr - text.itsText );
    std::replace( text.itsText, result.ptr, 'e', 'E' );
    return text;
}

void XFloatText::WriteDecimal( bool inIsNegative, std::uint64_t inNumber, unsigned inDecimals )
{
    char* position = itsText;
    if ( inIsNegative )
        *position++ = '-';
    const std::uint64_t unit = XDecimalDigits::GetPowerOfTen( inDecimals );
    const std::uint64_t whole = inNumber / unit;
    const unsigned wholeDigits = XDecimalDigits::Count( whole );
    XDecimalDigits::Write( position, whole, wholeDigits );
    position += wholeDigits;
    if ( inDecimals > 0 )
    {
        *position++ = '.';
        XDecimalDigits::Write( position, inNumber - whole * unit, inDecimals );
        position += inDecimals;
    }
    itsLength = static_cast<std::size_t>( position - itsText );
}

void XFloatText::WriteFixedByLibrary( double inValue, int inDecimals )
{
    constexpr std::size_t kMaxWholeLength = 312; // sign, 309 digits, point
    itsLongText.resize( kMaxWholeLength + static_cast<std::size_t>( inDecimals ) );
    char* const begin = itsLongText.data();
    const auto result =
        std::to_chars( begin, begin + itsLongText.size(), inValue, std::chars_format::fixed, inDecimals );
    itsLongText.resize( static_cast<std::size_t>( result.ptr - begin ) );
}

char* XFloatText::FindDecimalPoint()
{
    const std::string_view text = GetText();
    const std::size_t index = text.find( '.' );
    if ( index == std::string_view::npos )
        return nullptr;
    return ( itsLongText.empty() ? itsText : itsLongText.data() ) + index;
}

void XFloatText::TrimZeros()
{
    if ( !FindDecimalPoint() )
        return;
    const std::string_view text = GetText();
    std::size_t length = text.find_last_not_of( '0' ) + 1;
    if ( text[length - 1] == '.' )
        --length;
    SetLength( length );
}

void XFloatText::SetDecimalPoint( char inPoint )
{
    if ( char* const point = FindDecimalPoint() )
        *point = inPoint;
}

void XFloatText::SetLength( std::size_t inLength )
{
    if ( itsLongText.empty() )
        itsLength = inLength;
    else
        itsLongText.resize( inLength );
}
