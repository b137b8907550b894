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
    kDateLong = 3,         ///< thursday, 5 March 2026
    kDateCompact = 4       ///< 20260305
};

/// How `XTime` writes the time of day or a duration. The examples show 16:07:08.901234. Parts beyond the
/// format are truncated, not rounded.
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

/// A point in time or a duration: one signed 64-bit count of microseconds. A point in time is counted from
/// 00:00:00 UTC on 1 January 1904, in the proleptic Gregorian calendar and without leap seconds.
///
/// A plain value of 8 bytes: a vector of times is a block of 64-bit counts. In a stream a time is its count.
/// Threads: like an integer.
/// Errors: 1007 if a result or an argument is outside the 64-bit range or the calendar, 1013 for a division
/// by zero; the time is then unchanged.
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

    /// Determines the offset from the platform's microsecond clock to the system time, once: later calls do
    /// nothing. `Now` calls it if necessary.
    /// Threads: any.
    static void Initialise();

    /// The current time. Monotonic for the life of the process, even if the system time is changed.
    static XTime Now();

    /// The current time; see `Now()`.
    XTime();

    constexpr XTime( std::int64_t inMicroSeconds ) : itsMicroSeconds( inMicroSeconds ) {}

    /// See `SetDateTimeUTC`.
    XTime(
        std::uint32_t inYear, std::uint32_t inMonth, std::uint32_t inDay, std::uint32_t inHour = 0,
        std::uint32_t inMinute = 0, double inSeconds = 0.0 );

    /// Parses a date and a time of day. White space around either is ignored. If the time text is empty, the
    /// date text may contain the time as well; without one the time is midnight. If the date text is empty,
    /// the result is the time of day, counted from 0.
    /// Accepts all texts that `GetTimeString`, `GetAbsoluteTimeString` and `GetInternetTimeString` write, and
    /// of ISO 8601: calendar dates (2026-03-05, 20260305), week dates (2026-W10-4), ordinal dates (2026-064),
    /// times to the minute or the second with a fraction after "." or ",", joined by "T" or a space, followed
    /// by "Z" or an offset (+01:00, +0100, +01). A time without an offset is UTC. Fractional digits beyond
    /// the sixth are truncated. Throws 1007 for any other text and for fields out of range.
    XTime( const XString& inDateText, const XString& inTimeText );

    void UpdateTime() { *this = Now(); }

    /// Seconds since 1 January 1970 UTC.
    void SetUnixTime( std::int64_t inSeconds );
    void SetPlatformTime( std::int64_t inSeconds ) { SetUnixTime( inSeconds ); }

    /// Seconds since 1 January 1970 UTC; the fraction of the count is truncated towards 1904.
    std::int64_t GetPlatformTime() const;

    /// Days with fraction since 30 December 1899, rounded to the nearest second, halves up.
    void SetPlatformDate( double inDays );

    /// Months and days count from 1; `inSeconds` is at least 0 and below 60, and is rounded to microseconds.
    /// Throws 1007 for a date or time that does not exist.
    void SetDateTimeUTC(
        std::uint32_t inYear, std::uint32_t inMonth, std::uint32_t inDay, std::uint32_t inHour,
        std::uint32_t inMinute, double inSeconds );

    /// Throws 1007 for times before the year 0.
    void GetDateUTC( std::uint32_t& outYear, std::uint32_t& outMonth, std::uint32_t& outDay ) const;
    void GetTimeUTC( std::uint32_t& outHour, std::uint32_t& outMinute, double& outSeconds ) const;

    /// Midnight of the same day, at or before this time.
    XTime GetDate() const;

    /// The time since midnight: from 0 to below one day, also for times before 1904.
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

    /// The remainder of the division that truncates towards zero; it has the sign of this time.
    XTime& operator%=( std::int64_t inDivisor );

    friend XTime operator+( XTime inLeft, const XTime& inRight ) { return inLeft += inRight; }
    friend XTime operator-( XTime inLeft, const XTime& inRight ) { return inLeft -= inRight; }
    friend constexpr auto operator<=>( const XTime&, const XTime& ) = default;

    /// The date and the time of day in UTC, in English, separated by a space. `kDateISO` with
    /// `kTimeMicroSeconds` (1 and 3) is lossless and is the form shown in tables: "2026-03-05
    /// 16:07:08.901234". Throws 1013 for an unknown format.
    XString GetTimeString( XDateFormat inDateFormat, XTimeFormat inTimeFormat ) const;

    /// The complete point in time in ISO 8601: "2026-03-05T16:07:08.901234Z".
    XString GetAbsoluteTimeString() const;

    /// This time as a duration: hours (not limited to 24), minutes and so on, with a "-" if it is negative:
    /// "-100:07:08.901234". `kTimeTwelveHour` is written like `kTimeSeconds`, `kTimeNone` writes nothing.
    /// Throws 1013 for an unknown format.
    XString GetRelativeTimeString( XTimeFormat inTimeFormat ) const;

    /// "Thu, 05 Mar 2026 16:07:08 GMT", or "Invalid time" outside 2082844800 to 4225824000000000 microseconds
    /// (the end of 27 November 2037).
    XString GetInternetTimeString() const;

    /// The stream form: the count as one signed 64-bit integer.
    void ReadStream2( XStream& inStream );
    void WriteStream2( XStream& inStream ) const;
    static constexpr USize64 GetStreamUsage() { return sizeof( std::int64_t ); }

private:
    /// Offset from the platform's microsecond clock to microseconds since 1904; 0 until `Initialise`.
    static std::atomic<std::int64_t> sStartupUS;

    std::int64_t itsMicroSeconds;
};
