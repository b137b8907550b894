#include "Core/Strings/XString.h"

#include "Core/Errors/XInternalException.h"
#include "System/WLocale.h"
#include "Testing.h"

#include <cinttypes>
#include <clocale>

namespace
{
template<class... Values>
std::string Print( const char* inFormat, Values... inValues )
{
    char text[1200];
    std::snprintf( text, sizeof text, inFormat, inValues... );
    return text;
}

std::string Trimmed( std::string inText )
{
    if ( inText.find( '.' ) == std::string::npos )
        return inText;
    inText.resize( inText.find_last_not_of( '0' ) + 1 );
    if ( inText.back() == '.' )
        inText.pop_back();
    return inText;
}

std::string ExpectedAuto( double inValue )
{
    if ( inValue == 0 )
        return "0";
    return inValue > 1e10 || inValue < 1e-10 ? Print( "%g", inValue ) : Trimmed( Print( "%f", inValue ) );
}

void ExpectPrintedAlike( double inValue )
{
    const double value = inValue == 0 ? 0 : inValue;
    ASSERT_EQ( XString( inValue ), ExpectedAuto( value ) ) << Print( "%a", value );
    ASSERT_EQ( XString( inValue, XString::kFloatScientific ), Print( "%E", value ) );
    for ( const std::int32_t digits : { 0, 1, 3, 6, 15, 19, 40 } )
    {
        const std::string fixed = Print( "%.*f", digits, value );
        ASSERT_EQ( XString( inValue, XString::kFloatFixed, digits ), fixed ) << Print( "%a", value );
        ASSERT_EQ( XString( inValue, XString::kFloatFixedTrimmed, digits ), Trimmed( fixed ) );
    }
}

/// A double of any magnitude, or one that people write.
double RandomDouble( std::mt19937_64& ioRandom )
{
    switch ( ioRandom() % 4 )
    {
    case 0:
        return std::bit_cast<double>( ioRandom() );
    case 1:
        return static_cast<double>( static_cast<std::int64_t>( ioRandom() % 2'000'001 ) - 1'000'000 ) / 1000;
    case 2:
        return std::ldexp(
            static_cast<double>( static_cast<std::int64_t>( ioRandom() ) >> 11 ),
            -static_cast<int>( ioRandom() % 90 ) );
    default: // halfway between two texts
        return static_cast<double>( ioRandom() % 100000 ) +
            std::ldexp( 1, -static_cast<int>( ioRandom() % 24 ) );
    }
}

/// Numbers with a decimal comma for as long as the object lives.
struct DecimalComma
{
    DecimalComma() { WLocale::SetDecimalPoint( ',' ); }
    ~DecimalComma() { WLocale::SetDecimalPoint( '\0' ); }
};

void CheckDecimalComma()
{
    EXPECT_EQ( XString( 12.5 ), "12,5" );
    EXPECT_EQ( XString( 1.5e20, XString::kFloatScientific ), "1,500000E+20" );
    EXPECT_EQ( XString( 2.0, XString::kFloatFixed, 2 ), "2,00" );
    EXPECT_EQ( XString( "-12,5x" ).GetSFloat64(), -12.5 );
    EXPECT_EQ( XString( "0,1234567890123456789012" ).GetSFloat64(), 0.1234567890123456789012 );
    EXPECT_EQ( XString( "12.5" ).GetSFloat64(), 12 );
    EXPECT_TRUE( XString( "1,5" ).IsNumeric() );
    EXPECT_FALSE( XString( "1.5" ).IsNumeric() );
    EXPECT_TRUE( XString( "a1,25" ) < "a1,5" );
    EXPECT_FALSE( XString( "a1.25" ) < "a1.5" );
    EXPECT_EQ( XString::MakeBytesString( 1536 ), "1,5 K" );
}
} // namespace

TEST( XStringNumberTest, FormatsIntegersOfEveryType )
{
    EXPECT_EQ( XString( std::int8_t( -5 ) ) + std::uint8_t( 200 ), "-5200" );
    EXPECT_EQ( XString( short( -1 ) ), "-1" );
    EXPECT_EQ( XString( 4000000000ul ), "4000000000" );
    EXPECT_EQ( XString( std::numeric_limits<std::int64_t>::min() ), "-9223372036854775808" );
    EXPECT_EQ( XString( std::numeric_limits<std::uint64_t>::max() ), "18446744073709551615" );
    EXPECT_EQ( XString( 42, XString::kIntZeroPadded, 5 ), "00042" );
    EXPECT_EQ( XString( -42L, XString::kIntZeroPadded, 5 ), "-0042" );
    EXPECT_EQ( XString( 123456, XString::kIntZeroPadded, 2 ), "123456" );
    XString sum( "n=" );
    sum += 1;
    sum += -2L;
    sum += 3.5;
    EXPECT_EQ( sum, "n=1-23.5" );
    EXPECT_CONTAINS( TextOfError( [] { XString( 1u, XString::kIntZeroPadded, 0 ); } ), "digits > 0" );
}

TEST( XStringNumberTest, FormatsHexAndSizes )
{
    XString hex;
    hex.SetHexString( 0xBEEF, 8, true, true );
    EXPECT_EQ( hex, "0000BEEF" );
    hex.SetHexString( 0xBEEF, 8, false, false );
    EXPECT_EQ( hex, "beef" );
    hex.SetHexString( ~0ull, 4, true, false );
    EXPECT_EQ( hex, "ffffffffffffffff" );
    EXPECT_EQ( XString::MakeBytesString( -1 ), "-1 bytes" );
    EXPECT_EQ( XString::MakeBytesString( 1023 ), "1023 bytes" );
    EXPECT_EQ( XString::MakeBytesString( 1536 ), "1.5 K" );
    EXPECT_EQ( XString::MakeBytesString( 1048576 ), "1.0 MB" );
    EXPECT_EQ( XString::MakeBytesString( 1073741823 ), "1024.0 MB" );
    EXPECT_EQ( XString::MakeBytesString( 1ll << 30 ), "1.0 GB" );
    EXPECT_EQ( XString::MakeBytesString( 5ll << 40 ), "5.0 TB" );
}

TEST( XStringNumberTest, FormatsSpecialValues )
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for ( const auto format : { XString::kFloatAuto, XString::kFloatFixed, XString::kFloatScientific } )
    {
        EXPECT_EQ( XString( infinity, format ), "INF" );
        EXPECT_EQ( XString( -infinity, format ), "-INF" );
        EXPECT_EQ( XString( -nan, format ), "NaN" );
    }
    EXPECT_EQ( XString( -0.0 ), "0" );
    EXPECT_EQ( XString( 12.5 ), "12.5" );
    EXPECT_EQ( XString( -12.5 ), "-12.5" );
    EXPECT_EQ( XString( -1234567.0 ), "-1.23457e+06" );
    EXPECT_EQ( XString( 2.5, XString::kFloatFixed, -3 ), "2" );
    EXPECT_EQ( XString( 1.0, XString::kFloatFixed, 400 ), "1." + std::string( 400, '0' ) );
}

TEST( XStringNumberTest, FormatsAsTheLibraryPrints )
{
    for ( const double value :
          { 1e10, 1e-10, 0.5, 1.5, 2.5, 0.0000005, 0.00000050000001, 999999.5, -999999.5, -1e-4,
            -0.00009999995, 9007199254740993.0, 5e-324, 1.7976931348623157e308, 0.1, 123456.7, -99999.95 } )
        ExpectPrintedAlike( value );
    std::mt19937_64 random( 3 );
    for ( int i = 0; i < 30000; ++i )
        if ( const double value = RandomDouble( random ); std::isfinite( value ) )
            ExpectPrintedAlike( value );
}

TEST( XStringNumberTest, ReadsFloatsAsTheLibraryScans )
{
    std::mt19937_64 random( 4 );
    const char* const formats[] = { "%.17g", "%f", "%.3E", "%a", "  %+.25f tail", "%.5fe-3x", "%.0fe+1" };
    for ( int i = 0; i < 60000; ++i )
    {
        const std::string text = Print( formats[random() % std::size( formats )], RandomDouble( random ) );
        const double expected = std::strtod( text.c_str(), nullptr );
        const double read = XString( text ).GetSFloat64();
        ASSERT_TRUE( read == expected || ( std::isnan( read ) && std::isnan( expected ) ) ) << text;
    }
    for ( const std::string& text :
          Split( "1e|1e+|5.|.5|0x|0x1p|0x.8p1|1e-400|1e400|-1e99999999999|0e99999999999|"
                 "0.0000000000000000000000000000001e31|123456789012345678901234567890|1e22|1e23|"
                 "9007199254740993|INF|-infinity|0x1p-2000|0x1p2000|2.2250738585072011e-308|\t\n\v 7" ) )
        EXPECT_EQ( XString( text ).GetSFloat64(), std::strtod( text.c_str(), nullptr ) ) << text;
    EXPECT_TRUE( std::isnan( XString( "NaN" ).GetSFloat64() ) );
    EXPECT_EQ( XString().GetSFloat64(), 0 );
    for ( const char* const text : { "x", " ", ".", "-", "+.e5", "in", "- 1", "e5" } )
        EXPECT_ERROR( 1000, XString( text ).GetSFloat64() ) << text;
    const std::string longText = "1" + std::string( 100000, '0' ) + "e-100000";
    EXPECT_EQ( XString( longText ).GetSFloat64(), 1 );
}

TEST( XStringNumberTest, ReadsIntegersAsTheLibraryScans )
{
    std::mt19937_64 random( 5 );
    for ( int i = 0; i < 20000; ++i )
    {
        const auto value = static_cast<std::int64_t>( random() ) >> ( random() % 64 );
        const XString text = Print( " %+" PRId64 "z", value );
        ASSERT_EQ( text.GetSInt64(), value );
        ASSERT_EQ( text.GetUInt64(), static_cast<std::uint64_t>( value ) );
        ASSERT_EQ( text.GetSInt32(), static_cast<std::int32_t>( value ) );
        ASSERT_EQ( text.GetUInt16(), static_cast<std::uint16_t>( value ) );
        const XString hex = Print( i % 2 ? "0x%" PRIx64 : "%" PRIX64 "g", value );
        ASSERT_EQ( hex.GetUInt64FromHex(), static_cast<std::uint64_t>( value ) );
        ASSERT_EQ( hex.GetUInt8FromHex(), static_cast<std::uint8_t>( value ) );
    }
    EXPECT_EQ( XString( "99999999999999999999" ).GetSInt64(), std::numeric_limits<std::int64_t>::max() );
    EXPECT_EQ( XString( "-99999999999999999999" ).GetSInt64(), std::numeric_limits<std::int64_t>::min() );
    EXPECT_EQ( XString( "-9223372036854775808" ).GetSInt64(), std::numeric_limits<std::int64_t>::min() );
    EXPECT_EQ( XString( "18446744073709551616" ).GetUInt64(), std::numeric_limits<std::uint64_t>::max() );
    EXPECT_EQ( XString( "0x" ).GetUInt32FromHex(), 0u );
    EXPECT_EQ( XString( "010" ).GetSInt16(), 10 );
    EXPECT_EQ( XString( "7" ).GetSInt8(), 55 );
    EXPECT_EQ( XString( "\xE9" ).GetUInt8(), 0xE9 );
    EXPECT_EQ( XString().GetSInt32(), 0 );
    EXPECT_EQ( XString().GetSInt8(), 0 );
    EXPECT_ERROR( 1000, XString( "" ).GetUInt32FromHex() );
    for ( const char* const text : { "x", " ", "-", "+ 1", ".5" } )
        EXPECT_ERROR( 1000, XString( text ).GetUInt32() ) << text;
}

TEST( XStringNumberTest, ReadsBackWhatItWrites )
{
    std::mt19937_64 random( 6 );
    for ( int i = 0; i < 2000; ++i )
    {
        const double value = static_cast<double>( random() % 1'000'000'000 ) / 1000;
        ASSERT_EQ( XString( value ).GetSFloat64(), value );
        const DecimalComma comma;
        ASSERT_EQ( XString( value ).GetSFloat64(), value );
    }
    EXPECT_EQ( XString( -std::numeric_limits<double>::infinity() ).GetSFloat64(), -HUGE_VAL );
}

TEST( XStringNumberTest, UsesTheDecimalPointOfTheLocale )
{
    {
        const DecimalComma comma;
        CheckDecimalComma();
    }
    EXPECT_EQ( XString( 12.5 ), "12.5" );
    for ( const char* const name : { "de_DE.UTF-8", "de_DE", "German_Germany" } )
        if ( std::setlocale( LC_NUMERIC, name ) )
        {
            CheckDecimalComma();
            break;
        }
    std::setlocale( LC_NUMERIC, "C" );
}
