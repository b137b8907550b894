#include "Core/Times/XTime.h"

#include "Core/Streams/XStream.h"
#include "Core/Strings/XString.h"
#include "Core/Times/Internal/XCalendar.h"
#include "Core/Times/Internal/XTimeText.h"
#include "Ground/XErrorNumbers.h"
#include "Time/WClock.h"

#include <cmath>

// A time is a count of microseconds since 1 January 1904, UTC, or a difference of such counts; a day always
// has 86,400 seconds. All arithmetic is checked for overflow (1007). Now() adds a monotonic clock to the
// system time read once at the start of the process, so times of one process are ordered even if the system
// clock is set meanwhile.

namespace
{

/// From 1904 to 1970.
constexpr std::int64_t kUnixEpochSeconds = 2082844800;

/// 1 January 1904 as a platform date.
constexpr double kPlatformDateOf1904 = 1462.0;

std::int64_t GetDayNumber( std::int64_t inMicroSeconds )
{
    return XCalendar::DivideDown( inMicroSeconds, XTime::kOneDay );
}

void CheckFits( bool inOverflows )
{
    if ( inOverflows )
        XThrow( kErrorTimeRange );
}

} // namespace

std::atomic<std::int64_t> XTime::sStartupUS{ 0 };

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr std::int64_t XTime::kOneMicrosecond;
constexpr std::int64_t XTime::kOneMillisecond;
constexpr std::int64_t XTime::kOneSecond;
constexpr std::int64_t XTime::kOneMinute;
constexpr std::int64_t XTime::kOneHour;
constexpr std::int64_t XTime::kOneDay;
constexpr std::int64_t XTime::kOneWeek;

void XTime::Initialise()
{
    const std::int64_t systemUS = WClock::GetSystemMicroSeconds() + kUnixEpochSeconds * kOneSecond;
    std::int64_t expected = 0;
    // The first thread decides, so that all have the same difference.
    sStartupUS.compare_exchange_strong( expected, systemUS - WClock::GetMicroSeconds() );
}

XTime XTime::Now()
{
    if ( sStartupUS.load( std::memory_order_relaxed ) == 0 ) [[unlikely]]
        Initialise();
    return XTime( WClock::GetMicroSeconds() + sStartupUS.load( std::memory_order_relaxed ) );
}

XTime::XTime() : XTime( Now() ) {}

XTime::XTime(
    std::uint32_t inYear, std::uint32_t inMonth, std::uint32_t inDay, std::uint32_t inHour,
    std::uint32_t inMinute, double inSeconds )
{
    SetDateTimeUTC( inYear, inMonth, inDay, inHour, inMinute, inSeconds );
}

XTime::XTime( const XString& inDateText, const XString& inTimeText )
    : itsMicroSeconds( XParseTimeText( inDateText.GetStringView(), inTimeText.GetStringView() ) )
{
}

void XTime::SetUnixTime( std::int64_t inSeconds )
{
    std::int64_t seconds = 0;
    CheckFits( __builtin_add_overflow( inSeconds, kUnixEpochSeconds, &seconds ) );
    *this = XTime( seconds ) *= kOneSecond;
}

std::int64_t XTime::GetPlatformTime() const
{
    return itsMicroSeconds / kOneSecond - kUnixEpochSeconds;
}

void XTime::SetPlatformDate( double inDays )
{
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    // Microseconds of a day.
    const double exact = ( inDays - kPlatformDateOf1904 ) * 8.64e10;
    CheckFits( !( exact >= -kLimit && exact < kLimit ) ); // NaN does not fit
    const auto count = static_cast<std::int64_t>( exact );
    const std::int64_t fraction = count - XCalendar::DivideDown( count, kOneSecond ) * kOneSecond;
    *this = XTime( count ) += fraction < kOneSecond / 2 ? -fraction : kOneSecond - fraction;
}

void XTime::SetDateTimeUTC(
    std::uint32_t inYear, std::uint32_t inMonth, std::uint32_t inDay, std::uint32_t inHour,
    std::uint32_t inMinute, double inSeconds )
{
    const XCalendar::XDate date{ inYear, inMonth, inDay };
    CheckFits( !XCalendar::IsValid( date ) );
    CheckFits( inHour > 23 || inMinute > 59 || !( inSeconds >= 0.0 && inSeconds < 60.0 ) );
    const std::int64_t timeOfDay =
        inHour * kOneHour + inMinute * kOneMinute + std::llround( inSeconds * 1e6 );
    itsMicroSeconds = XJoinDayAndTime( XCalendar::GetDays( date ), timeOfDay );
}

void XTime::GetDateUTC( std::uint32_t& outYear, std::uint32_t& outMonth, std::uint32_t& outDay ) const
{
    const XCalendar::XDate date = XCalendar::GetDate( GetDayNumber( itsMicroSeconds ) );
    CheckFits( date.year < 0 );
    outYear = static_cast<std::uint32_t>( date.year );
    outMonth = date.month;
    outDay = date.day;
}

void XTime::GetTimeUTC( std::uint32_t& outHour, std::uint32_t& outMinute, double& outSeconds ) const
{
    const std::int64_t timeOfDay = GetTimeOfDay().itsMicroSeconds;
    outHour = static_cast<std::uint32_t>( timeOfDay / kOneHour );
    outMinute = static_cast<std::uint32_t>( timeOfDay / kOneMinute % 60 );
    outSeconds = static_cast<double>( timeOfDay % kOneMinute ) / kOneSecond;
}

XTime XTime::GetDate() const
{
    return *this - GetTimeOfDay();
}

XTime XTime::GetTimeOfDay() const
{
    const std::int64_t rest = itsMicroSeconds % kOneDay;
    return XTime( rest < 0 ? rest + kOneDay : rest );
}

XTime& XTime::operator+=( const XTime& inOther )
{
    std::int64_t sum = 0;
    CheckFits( __builtin_add_overflow( itsMicroSeconds, inOther.itsMicroSeconds, &sum ) );
    itsMicroSeconds = sum;
    return *this;
}

XTime& XTime::operator-=( const XTime& inOther )
{
    std::int64_t difference = 0;
    CheckFits( __builtin_sub_overflow( itsMicroSeconds, inOther.itsMicroSeconds, &difference ) );
    itsMicroSeconds = difference;
    return *this;
}

XTime& XTime::operator*=( std::int64_t inFactor )
{
    std::int64_t product = 0;
    CheckFits( __builtin_mul_overflow( itsMicroSeconds, inFactor, &product ) );
    itsMicroSeconds = product;
    return *this;
}

XTime& XTime::operator/=( std::int64_t inDivisor )
{
    if ( inDivisor == 0 )
        XThrow( kErrorBadParameters );
    // The lowest count has no positive counterpart, and the processor traps on that division.
    if ( inDivisor == -1 )
        return *this *= -1;
    itsMicroSeconds /= inDivisor;
    return *this;
}

XTime& XTime::operator%=( std::int64_t inDivisor )
{
    if ( inDivisor == 0 )
        XThrow( kErrorBadParameters );
    itsMicroSeconds = inDivisor == -1 ? 0 : itsMicroSeconds % inDivisor;
    return *this;
}

void XTime::ReadStream2( XStream& inStream )
{
    itsMicroSeconds = inStream.Read64S();
}

void XTime::WriteStream2( XStream& inStream ) const
{
    inStream.Write64S( itsMicroSeconds );
}

std::int64_t XJoinDayAndTime( std::int64_t inDays, std::int64_t inMicroSeconds )
{
    // The first day of the range begins before it: join from the nearer side of zero.
    const std::int64_t wholeDays = inDays < 0 ? inDays + 1 : inDays;
    const std::int64_t rest = inDays < 0 ? inMicroSeconds - XTime::kOneDay : inMicroSeconds;
    XTime time( wholeDays );
    time *= XTime::kOneDay;
    time += rest;
    return time.GetMicroSeconds();
}
