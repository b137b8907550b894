#include "Core/Strings/XString.h"

#include "Core/Strings/Internal/XDecimalDigits.h"
#include "Core/Strings/Internal/XFloatText.h"
#include "Core/Strings/Internal/XNumberReader.h"
#include "Ground/XErrorNumbers.h"
#include "System/WLocale.h"

#include <algorithm>
#include <bit>
#include <cmath>

// Numbers as text and back. Formatting does not use printf and parsing not strtod: both follow the process's
// locale at the moment of the call and are several times slower. The decimal point of the library's locale is
// put in at the end, or given to the reader.

namespace
{

/// An integer taken apart: how it is written with a number of digits at least, the sign included.
struct XIntegerText
{
    std::uint64_t itsMagnitude;
    bool itsIsNegative;
    unsigned itsDigits;
    USize64 itsZeros = 0;

    XIntegerText( std::uint64_t inMagnitude, bool inIsNegative )
        : itsMagnitude( inMagnitude ), itsIsNegative( inIsNegative ),
          itsDigits( XDecimalDigits::Count( inMagnitude ) )
    {
    }
    explicit XIntegerText( std::uint64_t inValue ) : XIntegerText( inValue, false ) {}
    explicit XIntegerText( std::int64_t inValue )
        : XIntegerText(
              inValue < 0 ? -static_cast<std::uint64_t>( inValue ) : static_cast<std::uint64_t>( inValue ),
              inValue < 0 )
    {
    }

    void PadTo( USize64 inWidth )
    {
        const USize64 length = GetLength();
        itsZeros = inWidth > length ? inWidth - length : 0;
    }

    USize64 GetLength() const { return itsIsNegative + itsZeros + itsDigits; }

    void Write( char* outText ) const
    {
        if ( itsIsNegative )
            *outText++ = '-';
        outText = std::fill_n( outText, itsZeros, '0' );
        XDecimalDigits::Write( outText, itsMagnitude, itsDigits );
    }
};

XFloatText FormatFinite( double inValue, XString::XFloatStringFormat inFormat, std::int32_t inDigits )
{
    constexpr double kAutoMax = 1e10;
    constexpr double kAutoMin = 1e-10;
    constexpr std::int32_t kAutoDecimals = 6;
    switch ( inFormat )
    {
    case XString::kFloatFixed:
        return XFloatText::Fixed( inValue, inDigits );
    case XString::kFloatScientific:
        return XFloatText::Scientific( inValue );
    case XString::kFloatAuto:
        // Every negative number is below kAutoMin and so has the general format.
        if ( inValue > kAutoMax || inValue < kAutoMin )
            return XFloatText::General( inValue );
        break;
    case XString::kFloatFixedTrimmed:
        break;
    }
    auto text = XFloatText::Fixed( inValue, inFormat == XString::kFloatAuto ? kAutoDecimals : inDigits );
    text.TrimZeros();
    return text;
}

XNumberReader::XInteger ReadInteger( const XString& inText, unsigned inBase )
{
    // An empty text is 0 as a decimal number but not a hexadecimal one.
    if ( inText.IsEmpty() && inBase == 10 )
        return {};
    const auto integer = XNumberReader::ReadInteger( inText.GetConstCharPtr(), inBase );
    if ( !integer )
        XThrow( kErrorNotANumber );
    return *integer;
}

/// The low bits of the 64-bit reading, for all but the widest type.
template<class T>
T ReadSigned( const XString& inText )
{
    return static_cast<T>( ReadInteger( inText, 10 ).ToSigned() );
}

template<class T>
T ReadUnsigned( const XString& inText, unsigned inBase = 10 )
{
    return static_cast<T>( ReadInteger( inText, inBase ).ToUnsigned() );
}
} // namespace

XString::XString( double inValue, XFloatStringFormat inFormat, std::int32_t digits ) : XString()
{
    if ( std::isnan( inValue ) )
        *this = "NaN";
    else if ( std::isinf( inValue ) )
        *this = inValue > 0 ? "INF" : "-INF";
    else
    {
        const double value = inValue == 0 ? 0 : inValue; // makes a zero positive
        XFloatText text = FormatFinite( value, inFormat, digits );
        text.SetDecimalPoint( WLocale::GetDecimalPoint() );
        *this = text.GetText();
    }
}

XString& XString::operator+=( double inValue )
{
    return *this += XString( inValue );
}

template<class T>
XString::XStringStorage* XString::FormatWide( T inValue, XIntStringFormat inFormat, std::int32_t digits )
{
    XIntegerText text( inValue );
    if ( inFormat != kIntPlain )
    {
        XAssert( digits > 0 );
        text.PadTo( static_cast<USize64>( digits ) );
    }
    XStringStorage* const storage = NewStorage( text.GetLength() );
    text.Write( storage->data );
    return storage;
}

XString::XStringStorage*
XString::FormatInteger( std::int64_t inValue, XIntStringFormat inFormat, std::int32_t digits )
{
    return FormatWide( inValue, inFormat, digits );
}

XString::XStringStorage*
XString::FormatInteger( std::uint64_t inValue, XIntStringFormat inFormat, std::int32_t digits )
{
    return FormatWide( inValue, inFormat, digits );
}

XString& XString::AppendInteger( std::int64_t inValue )
{
    return *this += XString( inValue );
}

XString& XString::AppendInteger( std::uint64_t inValue )
{
    return *this += XString( inValue );
}

void XString::SetHexString(
    std::uint64_t inValue, std::int32_t digits, bool inPadWithZeros, bool inUpperCase )
{
    constexpr USize64 kBitsPerDigit = 4;
    // One digit for each four bits begun, at least one.
    const USize64 needed = std::max<USize64>( ( std::bit_width( inValue ) + 3u ) / kBitsPerDigit, 1 );
    const USize64 length =
        inPadWithZeros && digits > 0 ? std::max( needed, static_cast<USize64>( digits ) ) : needed;
    const char* const symbols = inUpperCase ? "0123456789ABCDEF" : "0123456789abcdef";
    XStringStorage* const storage = NewStorage( length );
    for ( USize64 i = length; i-- > 0; inValue >>= kBitsPerDigit )
        storage->data[i] = symbols[inValue & 0xF];
    AdoptStorage( storage );
}

XString XString::MakeBytesString( std::int64_t inBytes )
{
    constexpr std::int64_t kKilobyte = 1024;
    struct XUnit
    {
        std::int64_t bytes;
        const char* name;
    };
    static constexpr XUnit kUnits[] = {
        { kKilobyte << 30, " TB" },
        { kKilobyte << 20, " GB" },
        { kKilobyte << 10, " MB" },
        { kKilobyte, " K" } };
    for ( const XUnit& unit : kUnits )
        if ( inBytes >= unit.bytes )
            return XString(
                       static_cast<double>( inBytes ) / static_cast<double>( unit.bytes ), kFloatFixed, 1 ) +
                unit.name;
    return XString( inBytes ) + " bytes";
}

std::int8_t XString::GetSInt8() const
{
    return static_cast<std::int8_t>( *GetConstCharPtr() );
}

std::uint8_t XString::GetUInt8() const
{
    return *GetConstUCharPtr();
}

std::int16_t XString::GetSInt16() const
{
    return ReadSigned<std::int16_t>( *this );
}

std::uint16_t XString::GetUInt16() const
{
    return ReadUnsigned<std::uint16_t>( *this );
}

std::int32_t XString::GetSInt32() const
{
    return ReadSigned<std::int32_t>( *this );
}

std::uint32_t XString::GetUInt32() const
{
    return ReadUnsigned<std::uint32_t>( *this );
}

std::int64_t XString::GetSInt64() const
{
    return ReadSigned<std::int64_t>( *this );
}

std::uint64_t XString::GetUInt64() const
{
    return ReadUnsigned<std::uint64_t>( *this );
}

double XString::GetSFloat64() const
{
    if ( IsEmpty() )
        return 0;
    const auto value = XNumberReader::ReadFloat( GetStringView(), WLocale::GetDecimalPoint() );
    if ( !value )
        XThrow( kErrorNotANumber );
    return *value;
}

std::uint8_t XString::GetUInt8FromHex() const
{
    return ReadUnsigned<std::uint8_t>( *this, 16 );
}

std::uint16_t XString::GetUInt16FromHex() const
{
    return ReadUnsigned<std::uint16_t>( *this, 16 );
}

std::uint32_t XString::GetUInt32FromHex() const
{
    return ReadUnsigned<std::uint32_t>( *this, 16 );
}

std::uint64_t XString::GetUInt64FromHex() const
{
    return ReadUnsigned<std::uint64_t>( *this, 16 );
}
