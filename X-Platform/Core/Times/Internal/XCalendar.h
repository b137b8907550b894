#pragma once

#include "Ground/XTypes.h"

/// The proleptic Gregorian calendar in whole days, counted from 1 January 1904. The year 0 precedes the year
/// 1. Internal to the library. No function fails: check dates with `IsValid` first.
class XCalendar
{
public:
    struct XDate
    {
        std::int64_t year;
        std::uint32_t month; // 1 to 12
        std::uint32_t day;   // 1 to 31
    };

    /// Larger than every year that a 64-bit count of microseconds can represent, before or after 1904.
    static constexpr std::int64_t kMaxYear = 1000000;

    static bool IsLeapYear( std::int64_t inYear );

    /// False also for years beyond `kMaxYear`.
    static bool IsValid( const XDate& inDate );

    static std::int64_t GetDays( const XDate& inDate );
    static XDate GetDate( std::int64_t inDays );

    /// 0 for Monday to 6 for Sunday.
    static std::uint32_t GetWeekday( std::int64_t inDays );

    /// The quotient rounded down for either sign; `inDivisor` must be positive.
    static constexpr std::int64_t DivideDown( std::int64_t inValue, std::int64_t inDivisor )
    {
        return inValue / inDivisor - ( inValue % inDivisor < 0 );
    }
};
