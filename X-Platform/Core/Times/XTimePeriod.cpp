#include "Core/Times/XTimePeriod.h"

#include "Core/Streams/XStream.h"
#include "Core/Strings/XString.h"
#include "Ground/XErrorNumbers.h"

#include <charconv>
#include <cmath>
#include <string>

// A value with its unit, kept as entered: converting to microseconds and back would turn "0.1 seconds" into
// another number. Time points are counts without a length; everything that needs a length refuses them
// (1013).

namespace
{

struct UnitTraits
{
    const char* singular;
    const char* plural;
    std::int64_t microSeconds; // 0 for what has no length
};

constexpr UnitTraits kUnitTraits[XTimePeriod::kUnitCount] = {
    { "microsecond", "microseconds", XTime::kOneMicrosecond },
    { "millisecond", "milliseconds", XTime::kOneMillisecond },
    { "second", "seconds", XTime::kOneSecond },
    { "minute", "minutes", XTime::kOneMinute },
    { "hour", "hours", XTime::kOneHour },
    { "day", "days", XTime::kOneDay },
    { "week", "weeks", XTime::kOneWeek },
    { "time point", "time points", 0 } };

bool IsUnit( std::uint32_t inUnit )
{
    return inUnit < XTimePeriod::kUnitCount;
}

const UnitTraits& GetTraits( XTimePeriod::XUnit inUnit )
{
    if ( !IsUnit( inUnit ) )
        XThrow( kErrorBadParameters );
    return kUnitTraits[inUnit];
}

bool IsTimepointCount( double inValue )
{
    return inValue >= 0.0 && inValue <= 4294967295.0 && inValue == std::trunc( inValue );
}

void CheckValue( double inValue, XTimePeriod::XUnit inUnit )
{
    if ( !std::isfinite( inValue ) )
        XThrow( kErrorTimeRange );
    if ( GetTraits( inUnit ).microSeconds == 0 && !IsTimepointCount( inValue ) )
        XThrow( kErrorBadParameters );
}

/// The length of one unit in microseconds; 1013 for time points, which have none.
double GetUnitLength( XTimePeriod::XUnit inUnit )
{
    const std::int64_t length = GetTraits( inUnit ).microSeconds;
    if ( length == 0 )
        XThrow( kErrorBadParameters );
    return static_cast<double>( length );
}

/// The shortest text that reads back as the value, in plain notation where that stays readable.
void AppendValue( std::string& ioText, double inValue )
{
    const double size = std::abs( inValue );
    const bool isPlain = size == 0.0 || ( size >= 1e-6 && size < 1e15 );
    char digits[32];
    const auto format = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
    ioText.append( digits, std::to_chars( digits, digits + sizeof( digits ), inValue, format ).ptr );
}

} // namespace

constexpr std::uint32_t XTimePeriod::kUnitCount; // exports it from a Windows DLL

XTimePeriod::XTimePeriod( double inValue, XUnit inUnit ) : itsValue( inValue ), itsUnit( inUnit )
{
    CheckValue( inValue, inUnit );
}

void XTimePeriod::SetUnit( XUnit inUnit )
{
    *this = XTimePeriod( itsValue, inUnit );
}

void XTimePeriod::SetValue( double inValue )
{
    *this = XTimePeriod( inValue, itsUnit );
}

void XTimePeriod::SetPeriod( const XTime& inPeriod )
{
    itsValue = static_cast<double>( inPeriod.GetMicroSeconds() ) / GetUnitLength( itsUnit );
}

XTime XTimePeriod::GetPeriod() const
{
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    const double microSeconds = std::round( itsValue * GetUnitLength( itsUnit ) );
    if ( !( microSeconds >= -kLimit && microSeconds < kLimit ) )
        XThrow( kErrorTimeRange );
    return XTime( static_cast<std::int64_t>( microSeconds ) );
}

void XTimePeriod::SetPeriodSeconds( double inSeconds )
{
    SetValue( inSeconds * XTime::kOneSecond / GetUnitLength( itsUnit ) );
}

double XTimePeriod::GetPeriodSeconds() const
{
    return itsValue * GetUnitLength( itsUnit ) / XTime::kOneSecond;
}

void XTimePeriod::SetTimepointValue( std::uint32_t inCount )
{
    *this = XTimePeriod( inCount, kTimepoints );
}

std::uint32_t XTimePeriod::GetTimepointValue() const
{
    if ( itsUnit != kTimepoints )
        XThrow( kErrorBadParameters );
    return static_cast<std::uint32_t>( itsValue );
}

XString XTimePeriod::GetDescription() const
{
    std::string text;
    AppendValue( text, itsValue );
    text += ' ';
    text += itsValue == 1.0 ? kUnitTraits[itsUnit].singular : kUnitTraits[itsUnit].plural;
    return XString( text );
}

XString XTimePeriod::GetUnitDescription() const
{
    return XString( itsValue == 1.0 ? kUnitTraits[itsUnit].singular : kUnitTraits[itsUnit].plural );
}

XString XTimePeriod::GetUnitDescription( XUnit inUnit )
{
    return XString( GetTraits( inUnit ).plural );
}

XTimePeriod::XUnit XTimePeriod::GetTimePeriodUnitsFromMenuIndex( std::uint32_t inMenuIndex )
{
    if ( !IsUnit( inMenuIndex ) )
        XThrow( kErrorBadParameters );
    return static_cast<XUnit>( inMenuIndex ); // the menu lists the units in the order of their values
}

std::uint32_t XTimePeriod::GetTimePeriodMenuIndexFromUnits( XUnit inUnit )
{
    GetTraits( inUnit );
    return inUnit;
}

void XTimePeriod::ReadStream2( XStream& inStream )
{
    const double value = inStream.ReadFloat64S();
    const std::uint32_t unit = inStream.Read32();
    const bool isValid =
        std::isfinite( value ) && IsUnit( unit ) && ( unit != kTimepoints || IsTimepointCount( value ) );
    if ( !isValid )
        XThrow( kErrorStreamCorrupted );
    *this = XTimePeriod( value, static_cast<XUnit>( unit ) );
}

void XTimePeriod::WriteStream2( XStream& inStream ) const
{
    inStream.WriteFloat64S( itsValue );
    inStream.Write32( itsUnit );
}
