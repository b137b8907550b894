#pragma once

#include "Ground/XTypes.h"

/// The proleptic Gregorian calendar by whole days, which count from 1 January 1904. The year 0 is the one
/// before the year 1. Internal to the library. Nothing here fails: dates are checked with `IsValid` first.
class XCalendar
{
public:
    struct XDate
    {
        std::int64_t itsYear;
        std::uint32_t itsMonth; // 1 to 12
        std::uint32_t itsDay;   // 1 to 31
    };

    /// Beyond every year that a 64-bit count of microseconds reaches, on either side of 1904.
    static constexpr std::int64_t kMaxYear = 1000000;

    static bool IsLeapYear( std::int64_t inYear );

    /// False also for years beyond `kMaxYear`.
    static bool IsValid( const XDate& inDate );

    static std::int64_t GetDays( const XDate& inDate );
    static XDate GetDate( std::int64_t inDays );

    /// 0 for Monday to 6 for Sunday.
    static std::uint32_t GetWeekday( std::int64_t inDays );

    /// The quotient rounded down, whatever the signs; `inDivisor` must be positive.
    static constexpr std::int64_t DivideDown( std::int64_t inValue, std::int64_t inDivisor )
    {
        return inValue / inDivisor - ( inValue % inDivisor < 0 );
    }
};
