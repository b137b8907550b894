// The text forms that XTime writes. Nothing here asks the locale.

#include "Core/Times/XTime.h"

#include "Core/Strings/XString.h"
#include "Core/Times/Internal/XCalendar.h"
#include "Core/Times/Internal/XTimeText.h"
#include "Ground/XErrorNumbers.h"

#include <charconv>
#include <string>

namespace
{

void AppendNumber( std::string& ioText, std::uint64_t inValue, std::size_t inMinDigits )
{
    char digits[20];
    const char* end = std::to_chars( digits, digits + sizeof( digits ), inValue ).ptr;
    const auto length = static_cast<std::size_t>( end - digits );
    if ( length < inMinDigits )
        ioText.append( inMinDigits - length, '0' );
    ioText.append( digits, length );
}

void AppendYear( std::string& ioText, std::int64_t inYear )
{
    const bool isPlain = inYear >= 0 && inYear <= 9999;
    if ( !isPlain )
        ioText += inYear < 0 ? '-' : '+';
    // The range of 64-bit microseconds ends long before seven digits.
    AppendNumber( ioText, static_cast<std::uint64_t>( inYear < 0 ? -inYear : inYear ), isPlain ? 4 : 6 );
}

/// Year, month and day with `inSeparator` between them, if it is not empty.
void AppendNumericDate( std::string& ioText, const XCalendar::XDate& inDate, std::string_view inSeparator )
{
    AppendYear( ioText, inDate.year );
    ioText += inSeparator;
    AppendNumber( ioText, inDate.month, 2 );
    ioText += inSeparator;
    AppendNumber( ioText, inDate.day, 2 );
}

/// Day, name of the month, year.
void AppendNamedDate(
    std::string& ioText, const XCalendar::XDate& inDate, std::size_t inMinDayDigits,
    std::size_t inNameLength )
{
    AppendNumber( ioText, inDate.day, inMinDayDigits );
    ioText += ' ';
    ioText += kMonthNames[inDate.month - 1].substr( 0, inNameLength );
    ioText += ' ';
    AppendYear( ioText, inDate.year );
}

void AppendDate( std::string& ioText, std::int64_t inDays, XDateFormat inFormat )
{
    const XCalendar::XDate date = XCalendar::GetDate( inDays );
    switch ( inFormat )
    {
    case kDateNone:
        return;
    case kDateISO:
        return AppendNumericDate( ioText, date, "-" );
    case kDateDayMonthYear:
        return AppendNamedDate( ioText, date, 1, kShortNameLength );
    case kDateLong:
        ioText += kWeekdayNames[XCalendar::GetWeekday( inDays )];
        ioText += ", ";
        return AppendNamedDate( ioText, date, 1, std::string_view::npos );
    case kDateCompact:
        return AppendNumericDate( ioText, date, "" );
    }
    XThrow( kErrorBadParameters );
}

/// Hours, minutes and, if asked for, seconds with `inFractionDigits` digits of their fraction.
void AppendClock(
    std::string& ioText, std::uint64_t inMicroSeconds, bool inWithSeconds, std::size_t inFractionDigits )
{
    AppendNumber( ioText, inMicroSeconds / XTime::kOneHour, 2 );
    ioText += ':';
    AppendNumber( ioText, inMicroSeconds / XTime::kOneMinute % 60, 2 );
    if ( !inWithSeconds )
        return;
    ioText += ':';
    AppendNumber( ioText, inMicroSeconds / XTime::kOneSecond % 60, 2 );
    if ( inFractionDigits == 0 )
        return;
    ioText += '.';
    const std::uint64_t fraction = inMicroSeconds % XTime::kOneSecond;
    AppendNumber( ioText, inFractionDigits == 3 ? fraction / 1000 : fraction, inFractionDigits );
}

void AppendTwelveHourClock( std::string& ioText, std::uint64_t inMicroSeconds )
{
    const std::uint64_t hour = inMicroSeconds / XTime::kOneHour;
    AppendNumber( ioText, hour % 12 == 0 ? 12 : hour % 12, 1 );
    std::string rest;
    // Minutes and seconds from a clock text with the hour 00, which is cut off.
    AppendClock( rest, inMicroSeconds % XTime::kOneHour, true, 0 );
    ioText += rest.substr( 2 );
    ioText += hour < 12 ? " AM" : " PM";
}

void AppendCompactClock( std::string& ioText, std::uint64_t inMicroSeconds )
{
    AppendNumber( ioText, inMicroSeconds / XTime::kOneHour, 2 );
    AppendNumber( ioText, inMicroSeconds / XTime::kOneMinute % 60, 2 );
    AppendNumber( ioText, inMicroSeconds / XTime::kOneSecond % 60, 2 );
}

void AppendTime( std::string& ioText, std::uint64_t inMicroSeconds, XTimeFormat inFormat )
{
    switch ( inFormat )
    {
    case kTimeNone:
        return;
    case kTimeMinutes:
        return AppendClock( ioText, inMicroSeconds, false, 0 );
    case kTimeSeconds:
        return AppendClock( ioText, inMicroSeconds, true, 0 );
    case kTimeMicroSeconds:
        return AppendClock( ioText, inMicroSeconds, true, 6 );
    case kTimeMilliSeconds:
        return AppendClock( ioText, inMicroSeconds, true, 3 );
    case kTimeTwelveHour:
        return AppendTwelveHourClock( ioText, inMicroSeconds );
    case kTimeCompact:
        return AppendCompactClock( ioText, inMicroSeconds );
    }
    XThrow( kErrorBadParameters );
}

/// The smallest step that a format shows.
std::uint64_t GetResolution( XTimeFormat inFormat )
{
    switch ( inFormat )
    {
    case kTimeMicroSeconds:
        return XTime::kOneMicrosecond;
    case kTimeMilliSeconds:
        return XTime::kOneMillisecond;
    case kTimeMinutes:
        return XTime::kOneMinute;
    default:
        return XTime::kOneSecond;
    }
}

} // namespace

XString XTime::GetTimeString( XDateFormat inDateFormat, XTimeFormat inTimeFormat ) const
{
    std::string text;
    AppendDate( text, XCalendar::DivideDown( itsMicroSeconds, kOneDay ), inDateFormat );
    if ( inDateFormat != kDateNone && inTimeFormat != kTimeNone )
        text += ' ';
    AppendTime( text, static_cast<std::uint64_t>( GetTimeOfDay().itsMicroSeconds ), inTimeFormat );
    return XString( text );
}

XString XTime::GetAbsoluteTimeString() const
{
    std::string text;
    AppendDate( text, XCalendar::DivideDown( itsMicroSeconds, kOneDay ), kDateISO );
    text += 'T';
    AppendTime( text, static_cast<std::uint64_t>( GetTimeOfDay().itsMicroSeconds ), kTimeMicroSeconds );
    text += 'Z';
    return XString( text );
}

XString XTime::GetRelativeTimeString( XTimeFormat inTimeFormat ) const
{
    const auto bits = static_cast<std::uint64_t>( itsMicroSeconds );
    // In unsigned arithmetic: the magnitude of the most negative number has no signed form.
    std::uint64_t length = itsMicroSeconds < 0 ? 0 - bits : bits;
    // Cut off first: an interval that is shown as zero has no sign.
    length -= length % GetResolution( inTimeFormat );

    std::string text;
    if ( itsMicroSeconds < 0 && length > 0 && inTimeFormat != kTimeNone )
        text += '-';
    AppendTime( text, length, inTimeFormat == kTimeTwelveHour ? kTimeSeconds : inTimeFormat );
    return XString( text );
}

XString XTime::GetInternetTimeString() const
{
    // The lower bound is compared with microseconds although its number is one of seconds: kept for
    // compatibility, because readers rely on it.
    constexpr std::int64_t kFirst = 2082844800;
    constexpr std::int64_t kEnd = 4225824000000001;
    if ( itsMicroSeconds < kFirst || itsMicroSeconds >= kEnd )
        return XString( "Invalid time" );

    const std::int64_t days = itsMicroSeconds / kOneDay;
    std::string text( kWeekdayNames[XCalendar::GetWeekday( days )].substr( 0, kShortNameLength ) );
    text += ", ";
    AppendNamedDate( text, XCalendar::GetDate( days ), 2, kShortNameLength );
    text += ' ';
    AppendTime( text, static_cast<std::uint64_t>( GetTimeOfDay().itsMicroSeconds ), kTimeSeconds );
    text += " GMT";
    return XString( text );
}
