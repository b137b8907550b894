// The text forms that XTime reads.

#include "Core/Times/Internal/XTimeText.h"

#include "Core/Strings/Internal/XTextScan.h"
#include "Core/Times/Internal/XCalendar.h"
#include "Core/Times/XTime.h"
#include "Ground/XErrorNumbers.h"

// The grammar, in the order in which it is tried. White space around a text is ignored, letter case
// everywhere.
//
//   date   = numeric | [weekday [","]] named
//   numeric = year "-" month "-" day | year "-" ddd | year "-W" ww "-" d, all of them also without "-" (ISO 8601)
//   named  = day month-name year (RFC 9110)
//   year   = 4 digits, or a sign and 6 digits
//   time   = h[h] ":" mm [":" ss [fraction]] | hhmm[ss[fraction]], then ["AM" | "PM"] and [zone]
//   zone   = "Z" | "GMT" | "UTC" | ("+" | "-") hh [[":"] mm]
//
// A text with both has "T" or a space between them. A stated weekday must be right. What is left over at the
// end, or missing, is error 1007, as is a date that the calendar does not have.

namespace
{

bool EqualCaseless( std::string_view inLeft, std::string_view inRight )
{
    return inLeft.size() == inRight.size() &&
        XTextScan::EqualCaseless( inLeft.data(), inRight.data(), inLeft.size() );
}

void Require( bool inHolds )
{
    if ( !inHolds )
        XThrow( kErrorTimeRange );
}

/// Scans a text from the front. A required item that is missing is error 1007; items to be skipped are
/// optional.
class Scanner
{
public:
    explicit Scanner( std::string_view inText ) : itsRest( inText ) {}

    bool IsAtEnd() const { return itsRest.empty(); }
    char Peek() const { return itsRest.empty() ? '\0' : itsRest.front(); }

    std::size_t CountDigits() const
    {
        std::size_t count = 0;
        while ( count < itsRest.size() && XTextScan::IsDigit( itsRest[count] ) )
            ++count;
        return count;
    }

    /// Exactly `inDigits` digits; more may follow. At most nine.
    std::uint32_t TakeNumber( std::size_t inDigits )
    {
        std::uint32_t number = 0;
        for ( const char digit : Take( inDigits ) )
        {
            Require( XTextScan::IsDigit( digit ) );
            number = number * 10 + static_cast<std::uint32_t>( digit - '0' );
        }
        return number;
    }

    /// A run of letters, which may be empty.
    std::string_view TakeWord()
    {
        std::size_t length = 0;
        while ( length < itsRest.size() && XTextScan::IsLetter( itsRest[length] ) )
            ++length;
        return Take( length );
    }

    void TakeChar( char inChar ) { Require( SkipChar( inChar ) ); }

    /// The letter case does not matter.
    bool SkipChar( char inChar )
    {
        if ( itsRest.empty() || XTextScan::ToLower( itsRest.front() ) != XTextScan::ToLower( inChar ) )
            return false;
        itsRest.remove_prefix( 1 );
        return true;
    }

    bool SkipSpaces()
    {
        const std::size_t length = itsRest.size();
        while ( Peek() == ' ' || Peek() == '\t' )
            itsRest.remove_prefix( 1 );
        return itsRest.size() < length;
    }

    std::string_view Take( std::size_t inCount )
    {
        Require( inCount <= itsRest.size() );
        const std::string_view taken = itsRest.substr( 0, inCount );
        itsRest.remove_prefix( inCount );
        return taken;
    }

private:
    std::string_view itsRest;
};

/// The index of a name given in full or by its first three letters.
template<std::size_t kCount>
std::uint32_t FindName( const std::string_view ( &inNames )[kCount], std::string_view inWord )
{
    for ( std::uint32_t i = 0; i < kCount; ++i )
    {
        const std::string_view name = inNames[i];
        if ( EqualCaseless( inWord, name ) || EqualCaseless( inWord, name.substr( 0, kShortNameLength ) ) )
            return i;
    }
    XThrow( kErrorTimeRange );
}

std::int64_t GetCheckedDays( const XCalendar::XDate& inDate )
{
    Require( XCalendar::IsValid( inDate ) );
    return XCalendar::GetDays( inDate );
}

std::int64_t GetFirstDayOfYear( std::int64_t inYear )
{
    return XCalendar::GetDays( { inYear, 1, 1 } );
}

/// Four digits, or a sign and six.
std::int64_t ParseYear( Scanner& ioText )
{
    if ( ioText.SkipChar( '-' ) )
        return -std::int64_t( ioText.TakeNumber( 6 ) );
    return ioText.TakeNumber( ioText.SkipChar( '+' ) ? 6 : 4 );
}

std::int64_t ParseOrdinalDate( std::int64_t inYear, Scanner& ioText )
{
    const std::uint32_t dayOfYear = ioText.TakeNumber( 3 );
    Require( dayOfYear >= 1 && dayOfYear <= ( XCalendar::IsLeapYear( inYear ) ? 366u : 365u ) );
    return GetFirstDayOfYear( inYear ) + dayOfYear - 1;
}

/// What follows the "W". The first week of a year is the one that holds 4 January.
std::int64_t ParseWeekDate( std::int64_t inYear, Scanner& ioText, bool inIsCompact )
{
    const std::uint32_t week = ioText.TakeNumber( 2 );
    if ( !inIsCompact )
        ioText.TakeChar( '-' );
    const std::uint32_t weekday = ioText.TakeNumber( 1 );
    Require( week >= 1 && weekday >= 1 && weekday <= 7 );

    const std::int64_t fourthOfJanuary = GetFirstDayOfYear( inYear ) + 3;
    const std::int64_t monday =
        fourthOfJanuary - XCalendar::GetWeekday( fourthOfJanuary ) + 7 * ( std::int64_t( week ) - 1 );
    // A week belongs to the year of its Thursday.
    Require( XCalendar::GetDate( monday + 3 ).year == inYear );
    return monday + weekday - 1;
}

std::int64_t ParseNumericDate( Scanner& ioText )
{
    const std::int64_t year = ParseYear( ioText );
    const bool isCompact = !ioText.SkipChar( '-' );
    if ( ioText.SkipChar( 'W' ) )
        return ParseWeekDate( year, ioText, isCompact );
    if ( ioText.CountDigits() == 3 )
        return ParseOrdinalDate( year, ioText );

    const std::uint32_t month = ioText.TakeNumber( 2 );
    if ( !isCompact )
        ioText.TakeChar( '-' );
    return GetCheckedDays( { year, month, ioText.TakeNumber( 2 ) } );
}

/// Day, name of the month, year.
std::int64_t ParseNamedDate( Scanner& ioText )
{
    const std::uint32_t day = ioText.TakeNumber( ioText.CountDigits() == 1 ? 1 : 2 );
    Require( ioText.SkipSpaces() );
    const std::uint32_t month = FindName( kMonthNames, ioText.TakeWord() ) + 1;
    Require( ioText.SkipSpaces() );
    return GetCheckedDays( { ParseYear( ioText ), month, day } );
}

std::int64_t ParseDate( Scanner& ioText )
{
    const std::string_view weekday = ioText.TakeWord();
    if ( weekday.empty() )
        // A year has at least four digits, so one or two are a day.
        return ioText.CountDigits() == 1 || ioText.CountDigits() == 2 ? ParseNamedDate( ioText )
                                                                      : ParseNumericDate( ioText );
    ioText.SkipChar( ',' );
    Require( ioText.SkipSpaces() );
    const std::int64_t days = ParseNamedDate( ioText );
    Require( XCalendar::GetWeekday( days ) == FindName( kWeekdayNames, weekday ) );
    return days;
}

/// The digits after a decimal sign, as microseconds.
std::int64_t ParseFraction( Scanner& ioText )
{
    const std::string_view digits = ioText.Take( ioText.CountDigits() );
    Require( !digits.empty() );
    std::int64_t microSeconds = 0;
    // Further digits are cut off, not rounded: a time must not move into the next second.
    for ( std::size_t i = 0; i < 6; ++i )
        microSeconds = microSeconds * 10 + ( i < digits.size() ? digits[i] - '0' : 0 );
    return microSeconds;
}

/// What follows the minutes.
std::int64_t ParseSeconds( Scanner& ioText )
{
    const std::uint32_t seconds = ioText.TakeNumber( 2 );
    Require( seconds < 60 );
    const bool hasFraction = ioText.SkipChar( '.' ) || ioText.SkipChar( ',' );
    return seconds * XTime::kOneSecond + ( hasFraction ? ParseFraction( ioText ) : 0 );
}

/// Turns the hour of a twelve-hour clock into that of the day.
std::uint32_t GetHourOfDay( std::uint32_t inHour, bool inIsAfternoon )
{
    Require( inHour >= 1 && inHour <= 12 );
    return inHour % 12 + ( inIsAfternoon ? 12 : 0 );
}

/// How far the local time that was written is ahead of UTC.
std::int64_t ParseOffset( Scanner& ioText )
{
    const bool isBehind = ioText.SkipChar( '-' );
    if ( !isBehind )
        ioText.TakeChar( '+' );
    const std::uint32_t hours = ioText.TakeNumber( 2 );
    std::uint32_t minutes = 0;
    if ( ioText.SkipChar( ':' ) || ioText.CountDigits() > 0 )
        minutes = ioText.TakeNumber( 2 );
    Require( hours < 24 && minutes < 60 );
    const std::int64_t offset = hours * XTime::kOneHour + minutes * XTime::kOneMinute;
    return isBehind ? -offset : offset;
}

/// "Z", "GMT", "UTC" or an offset, if there is any of them.
std::int64_t ParseZone( Scanner& ioText )
{
    if ( ioText.IsAtEnd() )
        return 0;
    const std::string_view name = ioText.TakeWord();
    if ( name.empty() )
        return ParseOffset( ioText );
    Require( EqualCaseless( name, "Z" ) || EqualCaseless( name, "GMT" ) || EqualCaseless( name, "UTC" ) );
    return 0;
}

/// Parses a time of day and its zone, to the end of the text. Returns microseconds from midnight UTC of the
/// corresponding date; an offset can move it outside the day.
std::int64_t ParseTime( Scanner& ioText )
{
    std::uint32_t hour = ioText.TakeNumber( ioText.CountDigits() == 1 ? 1 : 2 );
    const bool isCompact = !ioText.SkipChar( ':' );
    const std::uint32_t minute = ioText.TakeNumber( 2 );
    std::int64_t seconds = 0;
    if ( isCompact ? ioText.CountDigits() > 0 : ioText.SkipChar( ':' ) )
        seconds = ParseSeconds( ioText );

    ioText.SkipSpaces();
    if ( const bool isAfternoon = ioText.SkipChar( 'P' ); isAfternoon || ioText.SkipChar( 'A' ) )
    {
        ioText.TakeChar( 'M' );
        hour = GetHourOfDay( hour, isAfternoon );
        ioText.SkipSpaces();
    }
    Require( hour < 24 && minute < 60 );
    const std::int64_t offset = ParseZone( ioText );
    Require( ioText.IsAtEnd() );
    return hour * XTime::kOneHour + minute * XTime::kOneMinute + seconds - offset;
}

std::string_view TrimSpaces( std::string_view inText )
{
    const std::size_t first = inText.find_first_not_of( " \t" );
    if ( first == std::string_view::npos )
        return {};
    return inText.substr( first, inText.find_last_not_of( " \t" ) - first + 1 );
}

} // namespace

std::int64_t XParseTimeText( std::string_view inDateText, std::string_view inTimeText )
{
    Scanner dateText( TrimSpaces( inDateText ) );
    Scanner timeText( TrimSpaces( inTimeText ) );
    if ( dateText.IsAtEnd() )
        return ParseTime( timeText );

    const std::int64_t days = ParseDate( dateText );
    if ( dateText.IsAtEnd() )
        return XJoinDayAndTime( days, timeText.IsAtEnd() ? 0 : ParseTime( timeText ) );

    Require( timeText.IsAtEnd() && ( dateText.SkipChar( 'T' ) || dateText.SkipSpaces() ) );
    return XJoinDayAndTime( days, ParseTime( dateText ) );
}
