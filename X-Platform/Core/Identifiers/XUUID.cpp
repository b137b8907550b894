#include "Core/Identifiers/XUUID.h"

#include "Core/Errors/WLastErrorException.h"
#include "Core/Strings/XString.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "System/WUUID.h"

#include <array>
#include <string_view>

// The bytes are in the order of the text (RFC 9562), whatever the system's own structure is. The terse text
// is base64url without padding: 22 digits of 6 bits for 128 bits, the last four bits of which must be 0, so
// that each identifier has exactly one terse text.

namespace
{

constexpr char kHexDigits[] = "0123456789abcdef";
constexpr char kTerseDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

constexpr std::size_t kTextLength = 36;
constexpr std::size_t kTerseLength = 22;

constexpr std::uint8_t kNoDigit = 0xFF;
using DigitValues = std::array<std::uint8_t, 256>;

constexpr DigitValues MakeDigitValues( std::string_view inDigits )
{
    DigitValues values{};
    values.fill( kNoDigit );
    for ( std::size_t i = 0; i < inDigits.size(); ++i )
        values[static_cast<unsigned char>( inDigits[i] )] = static_cast<std::uint8_t>( i );
    return values;
}

constexpr DigitValues MakeHexValues()
{
    DigitValues values = MakeDigitValues( kHexDigits );
    for ( const char digit : { 'a', 'b', 'c', 'd', 'e', 'f' } )
        values[static_cast<unsigned char>( digit - 'a' + 'A' )] = values[static_cast<unsigned char>( digit )];
    return values;
}

constexpr DigitValues kHexValues = MakeHexValues();
constexpr DigitValues kTerseValues = MakeDigitValues( kTerseDigits );

std::uint8_t GetDigitValue( const DigitValues& inValues, char inDigit )
{
    const std::uint8_t value = inValues[static_cast<unsigned char>( inDigit )];
    if ( value == kNoDigit )
        XThrow( kErrorUUIDText );
    return value;
}

/// True for the bytes in front of which the long text has a "-".
constexpr bool BeginsGroup( std::size_t inByte )
{
    return inByte == 4 || inByte == 6 || inByte == 8 || inByte == 10;
}

void ReadText( std::string_view inText, std::uint8_t* outBytes )
{
    const char* next = inText.data();
    for ( std::size_t i = 0; i < XUUID::kByteCount; ++i )
    {
        if ( BeginsGroup( i ) && *next++ != '-' )
            XThrow( kErrorUUIDText );
        const unsigned high = GetDigitValue( kHexValues, next[0] );
        const unsigned low = GetDigitValue( kHexValues, next[1] );
        outBytes[i] = static_cast<std::uint8_t>( high << 4 | low );
        next += 2;
    }
}

void ReadTerseText( std::string_view inText, std::uint8_t* outBytes )
{
    std::uint32_t bits = 0;
    unsigned bitCount = 0;
    for ( const char digit : inText )
    {
        bits = bits << 6 | GetDigitValue( kTerseValues, digit );
        bitCount += 6;
        if ( bitCount < 8 )
            continue;
        bitCount -= 8;
        *outBytes++ = static_cast<std::uint8_t>( bits >> bitCount );
    }
    // The last digit carries two bits; with others set, several texts would name one identifier.
    if ( ( bits & ( ( 1u << bitCount ) - 1 ) ) != 0 )
        XThrow( kErrorUUIDText );
}

/// The long text without the decoration that may surround it.
std::string_view RemoveDecoration( const XString& inText )
{
    static constexpr char kUrn[] = "urn:uuid:";
    constexpr std::size_t kUrnLength = sizeof( kUrn ) - 1;
    const std::string_view text = inText.GetStringView();
    if ( text.size() == kTextLength + 2 && text.front() == '{' && text.back() == '}' )
        return text.substr( 1, kTextLength );
    if ( text.size() == kTextLength + kUrnLength && inText.CaselessStartsWith( kUrn ) )
        return text.substr( kUrnLength );
    return text;
}

} // namespace

constinit const XUUID XUUID::kNilID;
constexpr std::size_t XUUID::kByteCount; // exports it from a Windows DLL

XUUID::XUUID( const std::uint8_t* inBytes )
{
    XAssert( inBytes );
    std::memcpy( itsBytes, inBytes, kByteCount );
}

XUUID::XUUID( const XString& inText )
{
    StringToUUID( inText );
}

void XUUID::GenerateNewID()
{
    WUUID uuid;
    if ( const std::uint32_t status = WUUID::Create( uuid ) )
        throw WLastErrorException( status );
    for ( std::size_t i = 0; i < 4; ++i )
        itsBytes[i] = static_cast<std::uint8_t>( uuid.data1 >> ( 24 - 8 * i ) );
    itsBytes[4] = static_cast<std::uint8_t>( uuid.data2 >> 8 );
    itsBytes[5] = static_cast<std::uint8_t>( uuid.data2 );
    itsBytes[6] = static_cast<std::uint8_t>( uuid.data3 >> 8 );
    itsBytes[7] = static_cast<std::uint8_t>( uuid.data3 );
    std::memcpy( itsBytes + 8, uuid.data4, sizeof( uuid.data4 ) );
}

XString XUUID::UUIDToString() const
{
    char text[kTextLength];
    char* next = text;
    for ( std::size_t i = 0; i < kByteCount; ++i )
    {
        if ( BeginsGroup( i ) )
            *next++ = '-';
        *next++ = kHexDigits[itsBytes[i] >> 4];
        *next++ = kHexDigits[itsBytes[i] & 0xF];
    }
    return XString( std::string_view( text, kTextLength ) );
}

XString XUUID::UUIDToTerseString() const
{
    char text[kTerseLength];
    char* next = text;
    std::uint32_t bits = 0;
    unsigned bitCount = 0;
    for ( const std::uint8_t byte : itsBytes )
    {
        bits = bits << 8 | byte;
        for ( bitCount += 8; bitCount >= 6; bitCount -= 6 )
            *next++ = kTerseDigits[bits >> ( bitCount - 6 ) & 0x3F];
    }
    *next = kTerseDigits[bits << ( 6 - bitCount ) & 0x3F];
    return XString( std::string_view( text, kTerseLength ) );
}

void XUUID::StringToUUID( const XString& inText )
{
    std::uint8_t bytes[kByteCount];
    const std::string_view text = RemoveDecoration( inText );
    if ( text.size() == kTextLength )
        ReadText( text, bytes );
    else if ( text.size() == kTerseLength )
        ReadTerseText( text, bytes );
    else
        XThrow( kErrorUUIDText );
    std::memcpy( itsBytes, bytes, kByteCount );
}

std::uint64_t XUUID::GetHash() const
{
    std::uint32_t hash = 0;
    for ( const std::uint8_t byte : itsBytes )
    {
        hash = ( hash << 4 ) + byte;
        // The hash function of object files on Unix (ELF).
        const std::uint32_t overflow = hash & 0xF0000000u;
        hash ^= overflow | overflow >> 24;
    }
    return hash;
}
