#include "Core/Times/XTime.h"

#include "Core/Streams/XMemStream.h"
#include "Core/Streams/XStreamVectors.h"
#include "Core/Strings/XString.h"
#include "Testing.h"
#include "Time/WClock.h"

namespace
{

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kUnixEpoch = 2082844800;

static_assert( sizeof( XTime ) == 8 && std::is_trivially_copyable_v<XTime> );
static_assert( XTime::kOneWeek == 604800000000 );

std::string InternetText( std::int64_t inCount )
{
    return XTime( inCount ).GetInternetTimeString();
}

std::int64_t FromPlatformDate( double inDays )
{
    XTime time( 0 );
    time.SetPlatformDate( inDays );
    return time.GetMicroSeconds();
}

/// The first microsecond of a day, by the standard library's calendar.
std::int64_t GetCount( std::chrono::sys_days inDay )
{
    return ( inDay.time_since_epoch().count() * 86400 + kUnixEpoch ) * 1000000;
}

void ExpectDate( std::int64_t inCount, std::chrono::year_month_day inDate )
{
    std::uint32_t year = 0, month = 0, day = 0;
    XTime( inCount ).GetDateUTC( year, month, day );
    ASSERT_EQ( int( year ), int( inDate.year() ) ) << inCount;
    ASSERT_EQ( month, unsigned( inDate.month() ) ) << inCount;
    ASSERT_EQ( day, unsigned( inDate.day() ) ) << inCount;
}

} // namespace

TEST( XTimeTest, CountsSecondsSince1970 )
{
    XTime time( 0 );
    time.SetUnixTime( 0 );
    EXPECT_EQ( time.GetMicroSeconds(), 2082844800000000 );
    EXPECT_EQ( time.GetPlatformTime(), 0 );
    time.SetPlatformTime( -kUnixEpoch );
    EXPECT_EQ( time, XTime( 0 ) );
    EXPECT_EQ( XTime( 999999 ).GetPlatformTime(), -kUnixEpoch );
    EXPECT_EQ( XTime( -999999 ).GetPlatformTime(), -kUnixEpoch ) << "truncates towards zero";
    EXPECT_EQ( XTime( kMin ).GetPlatformTime(), kMin / 1000000 - kUnixEpoch );

    const std::int64_t last = kMax / 1000000 - kUnixEpoch;
    time.SetUnixTime( last );
    EXPECT_EQ( time.GetPlatformTime(), last );
    EXPECT_ERROR( 1007, time.SetUnixTime( last + 1 ) );
    EXPECT_ERROR( 1007, time.SetUnixTime( kMax ) );
    EXPECT_ERROR( 1007, time.SetUnixTime( kMin ) );
    EXPECT_EQ( time.GetPlatformTime(), last ) << "unchanged after an error";
}

TEST( XTimeTest, RoundsPlatformDatesToSeconds )
{
    EXPECT_EQ( FromPlatformDate( 1462.0 ), 0 );
    EXPECT_EQ( FromPlatformDate( 1462.0 + 0.4999 / 86400 ), 0 );
    EXPECT_EQ( FromPlatformDate( 1462.0 + 0.50001 / 86400 ), 1000000 );
    EXPECT_EQ( FromPlatformDate( 25569.0 ), kUnixEpoch * 1000000 );
    EXPECT_EQ( FromPlatformDate( 0.0 ), -1462 * XTime::kOneDay );
    EXPECT_EQ( FromPlatformDate( 1462.0 - 0.7 / 86400 ), -1000000 ) << "the nearest second before 1904, too";
    EXPECT_EQ( FromPlatformDate( 1462.0 - 0.3 / 86400 ), 0 );
    EXPECT_EQ(
        FromPlatformDate( 45000.0 + 1.0 / 3 ), ( 45000 - 1462 ) * XTime::kOneDay + 8 * XTime::kOneHour );
    for ( const double days : { 1e300, -1e300, 1.1e8, -1.1e8, HUGE_VAL, -HUGE_VAL, std::nan( "" ) } )
        EXPECT_ERROR( 1007, FromPlatformDate( days ) ) << days;
}

TEST( XTimeTest, KnowsTheCalendarAsTheStandardLibraryDoes )
{
    using namespace std::chrono;
    for ( sys_days day = sys_days( 1500y / 1 / 1 ); day < sys_days( 2420y / 1 / 1 ); day += days( 1 ) )
    {
        const year_month_day date( day );
        ASSERT_NO_FATAL_FAILURE( ExpectDate( GetCount( day ), date ) );
        const XTime time(
            std::uint32_t( int( date.year() ) ), unsigned( date.month() ), unsigned( date.day() ) );
        ASSERT_EQ( time.GetMicroSeconds(), GetCount( day ) );
    }
    std::mt19937 random( 1904 );
    for ( int i = 0; i < 100000; ++i )
    {
        const auto offset = std::int64_t( random() % 11900000 );
        const sys_days day = sys_days( 0y / 1 / 1 ) + days( offset );
        const std::int64_t timeOfDay = std::int64_t( random() ) * 20 % XTime::kOneDay;
        ASSERT_NO_FATAL_FAILURE( ExpectDate( GetCount( day ) + timeOfDay, year_month_day( day ) ) );
    }
}

TEST( XTimeTest, RepeatsTheCalendarEvery400Years )
{
    constexpr std::int64_t kCycle = 146097 * XTime::kOneDay;
    for ( std::int64_t count = 0; count < kMax - kCycle; count += kCycle )
    {
        std::uint32_t year = 0, month = 0, day = 0;
        XTime( count ).GetDateUTC( year, month, day );
        ASSERT_EQ( year, 1904 + 400 * std::uint32_t( count / kCycle ) );
        ASSERT_EQ( month * 100 + day, 101u );
        ASSERT_EQ( XTime( year, 1, 1 ).GetMicroSeconds(), count );
    }
    std::uint32_t year = 0, month = 0, day = 0;
    XTime( kMax ).GetDateUTC( year, month, day );
    EXPECT_EQ( year, 294181u );
    EXPECT_ERROR( 1007, XTime( 294182, 1, 1 ) );
    EXPECT_ERROR( 1007, XTime( 0xFFFFFFFF, 1, 1 ) );
    XTime( XTime( 0, 1, 1 ) ).GetDateUTC( year, month, day );
    EXPECT_EQ( year, 0u );
    EXPECT_ERROR( 1007, ( XTime( 0, 1, 1 ) - 1 ).GetDateUTC( year, month, day ) );
}

TEST( XTimeTest, SplitsDatesAndTimesOfDayDownwards )
{
    const XTime time( 1903, 12, 31, 23, 59, 58.25 );
    EXPECT_EQ( time.GetMicroSeconds(), -1750000 );
    EXPECT_EQ( time.GetDate().GetMicroSeconds(), -XTime::kOneDay );
    EXPECT_EQ( time.GetTimeOfDay().GetMicroSeconds(), XTime::kOneDay - 1750000 );
    std::uint32_t hour = 0, minute = 0;
    double seconds = 0;
    time.GetTimeUTC( hour, minute, seconds );
    EXPECT_EQ( hour, 23u );
    EXPECT_EQ( minute, 59u );
    EXPECT_EQ( seconds, 58.25 );

    EXPECT_EQ( XTime( 2026, 1, 1, 0, 0, 59.9999999 ), XTime( 2026, 1, 1, 0, 1 ) ) << "rounds to microseconds";
    EXPECT_ERROR( 1007, XTime( kMin ).GetDate() );
    EXPECT_GE( XTime( kMin ).GetTimeOfDay(), XTime( 0 ) );
}

TEST( XTimeTest, RefusesDatesAndTimesThatDoNotExist )
{
    EXPECT_ERROR( 1007, XTime( 2026, 2, 29 ) );
    EXPECT_ERROR( 1007, XTime( 1900, 2, 29 ) );
    EXPECT_NO_THROW( XTime( 2000, 2, 29 ) );
    EXPECT_ERROR( 1007, XTime( 2026, 0, 1 ) );
    EXPECT_ERROR( 1007, XTime( 2026, 13, 1 ) );
    EXPECT_ERROR( 1007, XTime( 2026, 4, 31 ) );
    EXPECT_ERROR( 1007, XTime( 2026, 4, 0 ) );
    EXPECT_ERROR( 1007, XTime( 2026, 4, 1, 24 ) );
    EXPECT_ERROR( 1007, XTime( 2026, 4, 1, 0, 60 ) );
    for ( const double seconds : { 60.0, -0.5, std::nan( "" ), HUGE_VAL } )
        EXPECT_ERROR( 1007, XTime( 2026, 4, 1, 0, 0, seconds ) ) << seconds;
}

TEST( XTimeTest, CalculatesWithinItsRange )
{
    XTime time( 10 );
    time += XTime::kOneSecond;
    time -= XTime( 3 );
    EXPECT_EQ( time.GetMicroSeconds(), 1000007 );
    EXPECT_EQ( ( XTime( -7 ) /= 2 ).GetMicroSeconds(), -3 );
    EXPECT_EQ( ( XTime( -7 ) %= 2 ).GetMicroSeconds(), -1 );
    EXPECT_EQ( ( XTime( -7 ) *= -3 ).GetMicroSeconds(), 21 );
    EXPECT_EQ( ( XTime( kMin ) %= -1 ).GetMicroSeconds(), 0 );
    EXPECT_EQ( XTime( -1 ).GetHiWord(), 0xFFFFFFFFu );
    EXPECT_EQ( XTime( 0x123456789ABCDEF0 ).GetLoWord(), 0x9ABCDEF0u );
    EXPECT_EQ( XTime( 36 * XTime::kOneHour ).GetDays(), 1.5 );
    EXPECT_EQ( XTime( 1500 ).GetMilliSeconds(), 1.5 );

    EXPECT_ERROR( 1007, XTime( kMax ) += 1 );
    EXPECT_ERROR( 1007, XTime( kMin ) -= 1 );
    EXPECT_ERROR( 1007, XTime( 0 ) -= XTime( kMin ) );
    EXPECT_ERROR( 1007, XTime( kMax / 2 ) *= 3 );
    EXPECT_ERROR( 1007, XTime( kMin ) /= -1 );
    EXPECT_ERROR( 1013, XTime( 5 ) /= 0 );
    EXPECT_ERROR( 1013, XTime( 5 ) %= 0 );
}

TEST( XTimeTest, FollowsTheSystemTimeWithoutRunningBackwards )
{
    const std::int64_t before = WClock::GetSystemMicroSeconds();
    XTime last;
    for ( int i = 0; i < 100000; ++i )
    {
        const XTime now = XTime::Now();
        ASSERT_GE( now, last );
        last = now;
    }
    const std::int64_t unixCount = last.GetMicroSeconds() - kUnixEpoch * 1000000;
    EXPECT_GT( unixCount, before - XTime::kOneMinute );
    EXPECT_LT( unixCount, WClock::GetSystemMicroSeconds() + XTime::kOneMinute );
    XTime::Initialise();
    EXPECT_GE( XTime::Now(), last ) << "a second initialisation changes nothing";
}

TEST( XTimeTest, WritesInternetTimeWithinItsBounds )
{
    EXPECT_EQ( InternetText( 0 ), "Invalid time" );
    EXPECT_EQ( InternetText( 2082844799 ), "Invalid time" );
    EXPECT_EQ( InternetText( 2082844800 ), "Fri, 01 Jan 1904 00:34:42 GMT" );
    EXPECT_EQ(
        InternetText( XTime( 1994, 11, 6, 8, 49, 37.9 ).GetMicroSeconds() ),
        "Sun, 06 Nov 1994 08:49:37 GMT" );
    EXPECT_EQ( InternetText( 4225823999999999 ), "Fri, 27 Nov 2037 23:59:59 GMT" );
    EXPECT_EQ( InternetText( 4225824000000000 ), "Sat, 28 Nov 2037 00:00:00 GMT" );
    EXPECT_EQ( InternetText( 4225824000000001 ), "Invalid time" );
    EXPECT_EQ( InternetText( kMin ), "Invalid time" );
}

TEST( XTimeTest, IsItsCountInAStream )
{
    XMemStream stream;
    stream.SetByteOrder( kMotorolaOrder );
    const XVector<XTime> times = { XTime( 1 ), XTime( -2 ), XTime( kMin ) };
    XWriteVector( stream, times );
    const std::uint8_t expected[] = { 0,    0,    0,    3,    0,    0,    0,    0, 0, 0, 0, 1, 0xFF, 0xFF,
                                      0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0x80, 0, 0, 0, 0, 0, 0,    0 };
    ASSERT_EQ( stream.GetLength(), sizeof( expected ) );
    EXPECT_EQ( std::memcmp( stream.GetData(), expected, sizeof( expected ) ), 0 );
    EXPECT_EQ( XGetValueVectorStreamUsage( times ), sizeof( expected ) );

    stream.SeekTo( 0 );
    XVector<XTime> copies;
    XReadVector( stream, copies );
    EXPECT_EQ( copies, times );
    EXPECT_ERROR( 1260, copies[0].ReadStream2( stream ) );
}
