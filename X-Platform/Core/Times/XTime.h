#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XVersion.h"
#include "Ground/XFail.h"

#include <atomic>
#include <compare>

class XStream;
class XString;

/// How `XTime::GetTimeString` writes the date. The examples show 5 March 2026. Years outside 0 to 9999 carry
/// a sign and six digits ("-000044-03-15").
enum XDateFormat : std::uint32_t
{
    kDateNone = 0,         ///< no date
    kDateISO = 1,          ///< 2026-03-05
    kDateDayMonthYear = 2, ///< 5 Mar 2026
    kDateLong = 3,         ///< Thursday, 5 March 2026
    kDateCompact = 4       ///< 20260305
};

/// How `XTime` writes the time of day or a length of time. The examples show 16:07:08.901234. What a format
/// leaves out is cut off, not rounded.
enum XTimeFormat : std::uint32_t
{
    kTimeNone = 0,         ///< no time
    kTimeMinutes = 1,      ///< 16:07
    kTimeSeconds = 2,      ///< 16:07:08
    kTimeMicroSeconds = 3, ///< 16:07:08.901234
    kTimeMilliSeconds = 4, ///< 16:07:08.901
    kTimeTwelveHour = 5,   ///< 4:07:08 PM
    kTimeCompact = 6       ///< 160708
};

/// A point in time or a length of time: one signed 64-bit count of microseconds. As a point in time it counts
/// from 00:00:00 UTC on 1 January 1904, in the proleptic Gregorian calendar and without leap seconds.
///
/// A plain value of 8 bytes: a vector of times is a block of 64-bit counts. In a stream a time is its count.
/// Threads: like an integer.
/// Errors: 1007 when a result or an argument has no place in the 64-bit range or in the calendar, 1013 for a
/// division by zero; the time is then unchanged.
/// Units: microseconds, UTC.
class KORVALE_API XTime
{
public:
    static constexpr std::int64_t kOneMicrosecond = 1;
    static constexpr std::int64_t kOneMillisecond = 1000;
    static constexpr std::int64_t kOneSecond = 1000000;
    static constexpr std::int64_t kOneMinute = 60 * kOneSecond;
    static constexpr std::int64_t kOneHour = 60 * kOneMinute;
    static constexpr std::int64_t kOneDay = 24 * kOneHour;
    static constexpr std::int64_t kOneWeek = 7 * kOneDay;

    static constexpr XVersion GetClassVersion() { return XVersion( kClassTime ); }

    /// Fixes the offset from the platform's microsecond clock to the system time, once: later calls do
    /// nothing. `Now` does it when nobody has.
    /// Threads: any.
    static void Initialise();

    /// The current time. Never runs backwards while the process runs, whatever happens to the system time.
    static XTime Now();

    /// The current time, as `Now()`.
    XTime();

    constexpr XTime( std::int64_t inMicroSeconds ) : itsMicroSeconds( inMicroSeconds ) {}

    /// As `SetDateTimeUTC`.
    XTime(
        std::uint32_t inYear, std::uint32_t inMonth, std::uint32_t inDay, std::uint32_t inHour = 0,
        std::uint32_t inMinute = 0, double inSeconds = 0.0 );

    /// Reads a date and a time of day. White space around either is ignored. An empty time is midnight, and
    /// then the date text may carry the time as well; an empty date leaves the time of day alone, counted
    /// from 0. Understood are all texts that `GetTimeString`, `GetAbsoluteTimeString` and
    /// `GetInternetTimeString` write, and of ISO 8601: calendar dates (2026-03-05, 20260305), week dates
    /// (2026-W10-4), ordinal dates (2026-064), times to the minute or the second with a fraction after "." or
    /// ",", joined by "T" or a space, followed by "Z" or an offset (+01:00, +0100, +01). A time without an
    /// offset is UTC. Digits of a fraction beyond the sixth are cut off. Throws 1007 for any other text and
    /// for fields out of their range.
    XTime( const XString& inDateText, const XString& inTimeText );

    void UpdateTime() { *this = Now(); }

    /// Seconds since 1 January 1970 UTC.
    void SetUnixTime( std::int64_t inSeconds );
    void SetPlatformTime( std::int64_t inSeconds ) { SetUnixTime( inSeconds ); }

    /// Seconds since 1 January 1970 UTC; the fraction of the count is dropped towards zero (towards 1904).
    std::int64_t GetPlatformTime() const;

    /// Days with fraction since 30 December 1899, rounded to the nearest second, halves up.
    void SetPlatformDate( double inDays );

    /// Months and days count from 1; `inSeconds` from 0 to below 60, rounded to microseconds. Throws 1007 for
    /// a date or time that does not exist.
    void SetDateTimeUTC(
        std::uint32_t inYear, std::uint32_t inMonth, std::uint32_t inDay, std::uint32_t inHour,
        std::uint32_t inMinute, double inSeconds );

    /// Throws 1007 before the year 0.
    void GetDateUTC( std::uint32_t& outYear, std::uint32_t& outMonth, std::uint32_t& outDay ) const;
    void GetTimeUTC( std::uint32_t& outHour, std::uint32_t& outMinute, double& outSeconds ) const;

    /// Midnight of the same day, at or before this time.
    XTime GetDate() const;

    /// What has passed since midnight: 0 to below one day, for times before 1904 too.
    XTime GetTimeOfDay() const;

    double GetDays() const { return static_cast<double>( itsMicroSeconds ) / kOneDay; }
    double GetHours() const { return static_cast<double>( itsMicroSeconds ) / kOneHour; }
    double GetMinutes() const { return static_cast<double>( itsMicroSeconds ) / kOneMinute; }
    double GetSeconds() const { return static_cast<double>( itsMicroSeconds ) / kOneSecond; }
    double GetMilliSeconds() const { return static_cast<double>( itsMicroSeconds ) / kOneMillisecond; }

    constexpr std::int64_t GetMicroSeconds() const { return itsMicroSeconds; }
    constexpr std::uint32_t GetHiWord() const
    {
        return static_cast<std::uint32_t>( static_cast<std::uint64_t>( itsMicroSeconds ) >> 32 );
    }
    constexpr std::uint32_t GetLoWord() const { return static_cast<std::uint32_t>( itsMicroSeconds ); }

    XTime& operator+=( const XTime& inOther );
    XTime& operator-=( const XTime& inOther );
    XTime& operator*=( std::int64_t inFactor );

    /// Truncates towards zero.
    XTime& operator/=( std::int64_t inDivisor );

    /// The remainder of that division, with the sign of this time.
    XTime& operator%=( std::int64_t inDivisor );

    friend XTime operator+( XTime inLeft, const XTime& inRight ) { return inLeft += inRight; }
    friend XTime operator-( XTime inLeft, const XTime& inRight ) { return inLeft -= inRight; }
    friend constexpr auto operator<=>( const XTime&, const XTime& ) = default;

    /// The date and the time of day in UTC, in English, with a space between them. `kDateISO` with
    /// `kTimeMicroSeconds` (1 and 3) loses nothing and is what tables show: "2026-03-05 16:07:08.901234".
    /// Throws 1013 for an unknown format.
    XString GetTimeString( XDateFormat inDateFormat, XTimeFormat inTimeFormat ) const;

    /// This point in time in full, as ISO 8601 writes it: "2026-03-05T16:07:08.901234Z".
    XString GetAbsoluteTimeString() const;

    /// This time as a length: hours, which may be many, minutes and so on, with a "-" before a negative one:
    /// "-100:07:08.901234". `kTimeTwelveHour` writes what `kTimeSeconds` writes, `kTimeNone` nothing. Throws
    /// 1013 for an unknown format.
    XString GetRelativeTimeString( XTimeFormat inTimeFormat ) const;

    /// "Thu, 05 Mar 2026 16:07:08 GMT", or "Invalid time" outside 2082844800 to 4225824000000000 microseconds
    /// (the end of 27 November 2037).
    XString GetInternetTimeString() const;

    /// The stream form: the count as one signed 64-bit integer.
    void ReadStream2( XStream& inStream );
    void WriteStream2( XStream& inStream ) const;
    static constexpr USize64 GetStreamUsage() { return sizeof( std::int64_t ); }

private:
    /// From the platform's microsecond clock to microseconds since 1904; 0 until it has been fixed.
    static std::atomic<std::int64_t> sStartupUS;

    std::int64_t itsMicroSeconds;
};
