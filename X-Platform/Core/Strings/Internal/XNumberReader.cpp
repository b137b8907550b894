#include "Core/Strings/Internal/XNumberReader.h"

#include "Core/Strings/Internal/XTextScan.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

// Reading a decimal float to the nearest double, fast for what numbers mostly are. Three ways, each for those
// that the one before cannot do:
// - ReadPlain: up to 18 characters of digits with at most one point. The digits are one integer and the
//   decimals a negative power of ten.
// - Scale on parsed parts: with at most 53 bits of digits and a power of ten up to 10^22, both operands are
//   exact doubles, so a single multiplication or division rounds once, to the nearest double (W. Clinger,
//   1990).
// - std::from_chars, which is exact for everything else but slower; it knows no other decimal point than '.',
//   so the text may have to be copied.
//
// The text is taken apart here in all cases, since from_chars accepts neither a plus sign nor leading spaces
// and does not tell an overflow from an underflow. Both are told apart by the place of the first digit that
// is not 0, and become infinity and 0.
//
// The cursor reads '\0' at the end of the text, which no number contains, so there is no separate test for
// the end.

namespace
{
constexpr std::int64_t kMaxExponent = 1'000'000'000'000; // far beyond any that matters, far from overflow
constexpr unsigned kNotADigit = 255;

/// The text that is left to read.
class XCursor
{
public:
    explicit XCursor( std::string_view inText )
        : itsPosition( inText.data() ), itsEnd( inText.data() + inText.size() )
    {
    }

    char Peek() const { return itsPosition < itsEnd ? *itsPosition : '\0'; }
    void Skip( std::ptrdiff_t inCount = 1 ) { itsPosition += inCount; }
    const char* GetPosition() const { return itsPosition; }
    void SetPosition( const char* inPosition ) { itsPosition = inPosition; }
    std::string_view GetRest() const
    {
        return { itsPosition, static_cast<std::size_t>( itsEnd - itsPosition ) };
    }

    void SkipSpace()
    {
        while ( XTextScan::IsSpace( Peek() ) )
            Skip();
    }

    /// True, and skipped, for a minus; a plus is skipped too.
    bool TakeSign()
    {
        const char sign = Peek();
        if ( sign == '-' || sign == '+' )
            Skip();
        return sign == '-';
    }

    /// Skips a word of capitals, in any case, if it is there.
    bool TakeWord( std::string_view inWord )
    {
        const std::string_view rest = GetRest();
        if ( rest.size() < inWord.size() ||
             !XTextScan::EqualCaseless( rest.data(), inWord.data(), inWord.size() ) )
            return false;
        Skip( static_cast<std::ptrdiff_t>( inWord.size() ) );
        return true;
    }

private:
    const char* itsPosition;
    const char* itsEnd;
};

unsigned GetDigit( char inCharacter )
{
    if ( XTextScan::IsDigit( inCharacter ) )
        return static_cast<unsigned>( inCharacter - '0' );
    const char lower = XTextScan::ToLower( inCharacter );
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>( lower - 'a' + 10 ) : kNotADigit;
}

/// Skips "0x" if a hexadecimal digit, or a point and one, follows.
bool TakeHexPrefix( XCursor& ioCursor, char inDecimalPoint )
{
    const std::string_view rest = ioCursor.GetRest();
    if ( rest.size() < 3 || rest[0] != '0' || XTextScan::ToLower( rest[1] ) != 'x' )
        return false;
    const bool hasPoint = rest[2] == inDecimalPoint && rest.size() > 3;
    if ( GetDigit( rest[hasPoint ? 3 : 2] ) == kNotADigit )
        return false;
    ioCursor.Skip( 2 );
    return true;
}

/// The parts of a float: the beginning and the end of its text, and its digits and exponent.
struct XFloatParts
{
    const char* begin = nullptr;
    const char* end = nullptr;
    const char* point = nullptr;
    std::uint64_t mantissa = 0; // its digits as one number, as far as they fit
    std::int64_t scale = 0;     // digits that the exponent has to be corrected by, negative for decimals
    std::int64_t exponent = 0;  // as written
    /// How many digits from the first that is not 0 up to the point; may be negative.
    std::int64_t leadingPlace = 0;
    bool hasDigits = false;
    bool isExact = true; // all digits are in the mantissa
};

/// Takes digits up to the point, or from it on.
template<unsigned kBase>
void TakeDigits( XCursor& ioCursor, XFloatParts& ioParts, bool inIsFraction )
{
    // The largest mantissa to which one more digit can be added.
    constexpr std::uint64_t kFull = ( ~std::uint64_t( 0 ) - kBase ) / kBase;
    for ( ;; ioCursor.Skip() )
    {
        const unsigned digit =
            kBase == 10 ? static_cast<unsigned char>( ioCursor.Peek() - '0' ) : GetDigit( ioCursor.Peek() );
        if ( digit >= kBase )
            return;
        ioParts.hasDigits = true;
        if ( ioParts.mantissa <= kFull )
        {
            ioParts.mantissa = ioParts.mantissa * kBase + digit;
            ioParts.scale -= inIsFraction;
        }
        else
        {
            ioParts.isExact = false;
            ioParts.scale += !inIsFraction;
        }
        ioParts.leadingPlace += inIsFraction ? -( ioParts.mantissa == 0 ) : ioParts.mantissa != 0;
    }
}

/// Reads an exponent, unless it has no digits.
void TakeExponent( XCursor& ioCursor, XFloatParts& ioParts, char inMark )
{
    if ( XTextScan::ToLower( ioCursor.Peek() ) != inMark )
        return;
    const char* const begin = ioCursor.GetPosition();
    ioCursor.Skip();
    const bool isNegative = ioCursor.TakeSign();
    if ( !XTextScan::IsDigit( ioCursor.Peek() ) )
    {
        // An 'e' without digits does not belong to the number.
        ioCursor.SetPosition( begin );
        return;
    }
    std::int64_t exponent = 0;
    for ( ; XTextScan::IsDigit( ioCursor.Peek() ); ioCursor.Skip() )
        exponent = std::min( exponent * 10 + ( ioCursor.Peek() - '0' ), kMaxExponent );
    ioParts.exponent = isNegative ? -exponent : exponent;
}

template<unsigned kBase>
XFloatParts TakeFloat( XCursor& ioCursor, char inDecimalPoint )
{
    XFloatParts parts;
    parts.begin = ioCursor.GetPosition();
    TakeDigits<kBase>( ioCursor, parts, false );
    if ( ioCursor.Peek() == inDecimalPoint )
    {
        parts.point = ioCursor.GetPosition();
        ioCursor.Skip();
        TakeDigits<kBase>( ioCursor, parts, true );
    }
    if ( parts.hasDigits )
        TakeExponent( ioCursor, parts, kBase == 10 ? 'e' : 'p' );
    parts.end = ioCursor.GetPosition();
    return parts;
}

/// `inMantissa` times a power of ten, if a single multiplication or division of exact doubles results in the
/// nearest double.
std::optional<double> Scale( std::uint64_t inMantissa, std::int64_t inPower )
{
    static constexpr double kPowers[] = { 1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                          1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22 };
    constexpr std::int64_t kMaxPower = 22;
    constexpr std::uint64_t kMaxMantissa = std::uint64_t( 1 ) << 53;
    if ( inMantissa > kMaxMantissa || inPower < -kMaxPower || inPower > kMaxPower )
        return std::nullopt;
    const auto mantissa = static_cast<double>( inMantissa );
    return inPower < 0 ? mantissa / kPowers[-inPower] : mantissa * kPowers[inPower];
}

/// Numbers as they mostly are: up to 18 digits, perhaps a decimal point among them, and no exponent. Nothing for all
/// others.
std::optional<double> ReadPlain( std::string_view inText, char inDecimalPoint )
{
    constexpr std::ptrdiff_t kMaxLength = 18;
    const char* const begin = inText.data();
    const char* const end = begin + inText.size();
    const char* position = begin;
    std::uint64_t mantissa = 0;
    const auto takeDigits = [&]
    {
        for ( ; position < end && XTextScan::IsDigit( *position ); ++position )
            mantissa = mantissa * 10 + static_cast<std::uint64_t>( *position - '0' );
        return position;
    };
    const char* const point = takeDigits();
    std::ptrdiff_t decimals = 0;
    if ( point < end && *point == inDecimalPoint )
    {
        ++position;
        decimals = takeDigits() - point - 1;
    }
    const bool hasExponentOrHex = position < end && XTextScan::IsLetter( *position );
    if ( hasExponentOrHex || point - begin + decimals == 0 || position - begin > kMaxLength )
        return std::nullopt;
    return Scale( mantissa, -decimals );
}

double Convert( const char* inBegin, const char* inEnd, const XFloatParts& inParts, unsigned inBase )
{
    double value = 0;
    const auto format = inBase == 10 ? std::chars_format::general : std::chars_format::hex;
    const auto result = std::from_chars( inBegin, inEnd, value, format );
    if ( result.ec != std::errc::result_out_of_range )
        return value;
    const std::int64_t bitsPerPlace = inBase == 10 ? 1 : 4;
    const bool isLarge = inParts.leadingPlace * bitsPerPlace + inParts.exponent > 0;
    return isLarge ? std::numeric_limits<double>::infinity() : 0.0;
}

double ConvertByLibrary( const XFloatParts& inParts, unsigned inBase )
{
    if ( !inParts.point || *inParts.point == '.' )
        return Convert( inParts.begin, inParts.end, inParts, inBase );
    std::string text( inParts.begin, inParts.end );
    text[static_cast<std::size_t>( inParts.point - inParts.begin )] = '.';
    return Convert( text.data(), text.data() + text.size(), inParts, inBase );
}

std::optional<double> ReadMagnitude( XCursor& ioCursor, char inDecimalPoint )
{
    if ( TakeHexPrefix( ioCursor, inDecimalPoint ) )
        return ConvertByLibrary( TakeFloat<16>( ioCursor, inDecimalPoint ), 16 );
    const XFloatParts parts = TakeFloat<10>( ioCursor, inDecimalPoint );
    if ( parts.hasDigits )
    {
        const auto value =
            parts.isExact ? Scale( parts.mantissa, parts.exponent + parts.scale ) : std::nullopt;
        return value ? *value : ConvertByLibrary( parts, 10 );
    }
    ioCursor.SetPosition( parts.begin );
    if ( ioCursor.TakeWord( "INF" ) )
        return std::numeric_limits<double>::infinity();
    if ( ioCursor.TakeWord( "NAN" ) )
        return std::numeric_limits<double>::quiet_NaN();
    return std::nullopt;
}
} // namespace

std::int64_t XNumberReader::XInteger::ToSigned() const
{
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    if ( isTooLarge || magnitude > static_cast<std::uint64_t>( kMax ) )
        return isNegative ? kMin : kMax;
    const auto value = static_cast<std::int64_t>( magnitude );
    return isNegative ? -value : value;
}

std::uint64_t XNumberReader::XInteger::ToUnsigned() const
{
    if ( isTooLarge )
        return std::numeric_limits<std::uint64_t>::max();
    return isNegative ? std::uint64_t( 0 ) - magnitude : magnitude;
}

std::optional<XNumberReader::XInteger> XNumberReader::ReadInteger( std::string_view inText, unsigned inBase )
{
    XCursor cursor( inText );
    cursor.SkipSpace();
    XInteger integer{ 0, cursor.TakeSign(), false };
    if ( inBase == 16 )
        TakeHexPrefix( cursor, '\0' );
    if ( GetDigit( cursor.Peek() ) >= inBase )
        return std::nullopt;
    for ( ; GetDigit( cursor.Peek() ) < inBase; cursor.Skip() )
    {
        const unsigned digit = GetDigit( cursor.Peek() );
        integer.isTooLarge |= __builtin_mul_overflow( integer.magnitude, inBase, &integer.magnitude );
        integer.isTooLarge |= __builtin_add_overflow( integer.magnitude, digit, &integer.magnitude );
    }
    return integer;
}

std::optional<double> XNumberReader::ReadFloat( std::string_view inText, char inDecimalPoint )
{
    XCursor cursor( inText );
    cursor.SkipSpace();
    const bool isNegative = cursor.TakeSign();
    auto magnitude = ReadPlain( cursor.GetRest(), inDecimalPoint );
    if ( !magnitude )
        magnitude = ReadMagnitude( cursor, inDecimalPoint );
    if ( !magnitude )
        return std::nullopt;
    return isNegative ? -*magnitude : *magnitude;
}
