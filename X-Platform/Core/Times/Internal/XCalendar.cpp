#include "Core/Times/Internal/XCalendar.h"

namespace
{

// Years are counted from 1 March, so that the leap day is a year's last and months have their lengths in a
// fixed pattern of five: 31 30 31 30 31. The pattern of leap years repeats every 400 years.
constexpr std::int64_t kYearsPerCycle = 400;
constexpr std::int64_t kDaysPerCycle = 146097;

/// From 1 March of the year 0 to 1 January 1904.
constexpr std::int64_t kDaysTo1904 = 695361;

constexpr std::uint32_t kFridayIndex = 4; // 1 January 1904 was a Friday

/// Days from 1 March to the first of a month, which counts from 0 for March.
constexpr std::int64_t GetDaysBeforeMonth( std::int64_t inMonthFromMarch )
{
    return ( 153 * inMonthFromMarch + 2 ) / 5;
}

/// Days from the start of a cycle to the start of one of its years.
constexpr std::int64_t GetDaysBeforeYear( std::int64_t inYearOfCycle )
{
    return 365 * inYearOfCycle + inYearOfCycle / 4 - inYearOfCycle / 100;
}

} // namespace

bool XCalendar::IsLeapYear( std::int64_t inYear )
{
    return inYear % 4 == 0 && ( inYear % 100 != 0 || inYear % 400 == 0 );
}

bool XCalendar::IsValid( const XDate& inDate )
{
    static constexpr std::uint8_t kMonthLengths[] = { 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31 };
    if ( inDate.year < -kMaxYear || inDate.year > kMaxYear )
        return false;
    if ( inDate.month < 1 || inDate.month > 12 )
        return false;
    const bool isLeapMonth = inDate.month == 2 && IsLeapYear( inDate.year );
    const std::uint32_t length = kMonthLengths[inDate.month - 1] + std::uint32_t( isLeapMonth );
    return inDate.day >= 1 && inDate.day <= length;
}

std::int64_t XCalendar::GetDays( const XDate& inDate )
{
    const bool isBeforeMarch = inDate.month < 3;
    const std::int64_t year = inDate.year - isBeforeMarch;
    const std::int64_t month = std::int64_t( inDate.month ) + ( isBeforeMarch ? 9 : -3 );
    const std::int64_t cycle = DivideDown( year, kYearsPerCycle );
    const std::int64_t yearOfCycle = year - cycle * kYearsPerCycle;
    return cycle * kDaysPerCycle + GetDaysBeforeYear( yearOfCycle ) + GetDaysBeforeMonth( month ) +
        inDate.day - 1 - kDaysTo1904;
}

XCalendar::XDate XCalendar::GetDate( std::int64_t inDays )
{
    const std::int64_t days = inDays + kDaysTo1904;
    const std::int64_t cycle = DivideDown( days, kDaysPerCycle );
    const std::int64_t dayOfCycle = days - cycle * kDaysPerCycle;

    // Without its leap days the cycle has 365 days a year: take away one for every 4 years that are over
    // (1460 days and one), give one back for every 100 years, and take the one that ends the 400.
    const std::int64_t yearOfCycle =
        ( dayOfCycle - dayOfCycle / 1460 + dayOfCycle / 36524 - dayOfCycle / ( kDaysPerCycle - 1 ) ) / 365;
    const std::int64_t dayOfYear = dayOfCycle - GetDaysBeforeYear( yearOfCycle );
    const std::int64_t month = ( 5 * dayOfYear + 2 ) / 153;
    const bool isBeforeMarch = month > 9;
    return {
        cycle * kYearsPerCycle + yearOfCycle + isBeforeMarch,
        static_cast<std::uint32_t>( month + ( isBeforeMarch ? -9 : 3 ) ),
        static_cast<std::uint32_t>( dayOfYear - GetDaysBeforeMonth( month ) + 1 ) };
}

std::uint32_t XCalendar::GetWeekday( std::int64_t inDays )
{
    const std::int64_t daysInWeek = inDays - DivideDown( inDays, 7 ) * 7;
    return static_cast<std::uint32_t>( daysInWeek + kFridayIndex ) % 7;
}
