#include "Core/Strings/XString.h"
#include "Core/Times/XTime.h"
#include "Testing.h"

#include <clocale>

namespace
{

const XTime kSample( 2026, 3, 5, 16, 7, 8.901234 );

constexpr XDateFormat kDateFormats[] = { kDateISO, kDateDayMonthYear, kDateLong, kDateCompact };

std::string Format( const XTime& inTime, XDateFormat inDateFormat, XTimeFormat inTimeFormat )
{
    return inTime.GetTimeString( inDateFormat, inTimeFormat );
}

std::string Relative( std::int64_t inCount, XTimeFormat inFormat )
{
    return XTime( inCount ).GetRelativeTimeString( inFormat );
}

XTime Parse( const char* inDateText, const char* inTimeText = "" )
{
    return XTime( inDateText, inTimeText );
}

} // namespace

TEST( XTimeTextTest, WritesEveryDateFormat )
{
    EXPECT_EQ( Format( kSample, kDateISO, kTimeNone ), "2026-03-05" );
    EXPECT_EQ( Format( kSample, kDateDayMonthYear, kTimeNone ), "5 Mar 2026" );
    EXPECT_EQ( Format( kSample, kDateLong, kTimeNone ), "Thursday, 5 March 2026" );
    EXPECT_EQ( Format( kSample, kDateCompact, kTimeNone ), "20260305" );
    EXPECT_EQ( Format( kSample, kDateNone, kTimeNone ), "" );
    EXPECT_EQ( Format( XTime( 12026, 3, 5 ), kDateISO, kTimeNone ), "+012026-03-05" );
    EXPECT_EQ( Format( XTime( 0, 1, 1 ) - 1, kDateISO, kTimeMicroSeconds ), "-000001-12-31 23:59:59.999999" );
    EXPECT_EQ(
        Format( XTime( 1903, 12, 31, 23, 59 ), kDateLong, kTimeMinutes ),
        "Thursday, 31 December 1903 23:59" );
}

TEST( XTimeTextTest, WritesEveryTimeFormat )
{
    EXPECT_EQ( Format( kSample, kDateNone, kTimeMinutes ), "16:07" );
    EXPECT_EQ( Format( kSample, kDateNone, kTimeSeconds ), "16:07:08" );
    EXPECT_EQ( Format( kSample, kDateNone, kTimeMicroSeconds ), "16:07:08.901234" );
    EXPECT_EQ( Format( kSample, kDateNone, kTimeMilliSeconds ), "16:07:08.901" );
    EXPECT_EQ( Format( kSample, kDateNone, kTimeTwelveHour ), "4:07:08 PM" );
    EXPECT_EQ( Format( kSample, kDateNone, kTimeCompact ), "160708" );
    EXPECT_EQ( Format( XTime( 0 ), kDateNone, kTimeTwelveHour ), "12:00:00 AM" );
    EXPECT_EQ( Format( XTime( 2026, 1, 1, 12 ), kDateISO, kTimeTwelveHour ), "2026-01-01 12:00:00 PM" );
    EXPECT_EQ( std::string( kSample.GetAbsoluteTimeString() ), "2026-03-05T16:07:08.901234Z" );
    EXPECT_ERROR( 1013, Format( kSample, XDateFormat( 9 ), kTimeNone ) );
    EXPECT_ERROR( 1013, Format( kSample, kDateNone, XTimeFormat( 9 ) ) );
}

TEST( XTimeTextTest, WritesLengthsOfTime )
{
    EXPECT_EQ( Relative( 100 * XTime::kOneHour + 1, kTimeMicroSeconds ), "100:00:00.000001" );
    EXPECT_EQ( Relative( -90 * XTime::kOneSecond, kTimeSeconds ), "-00:01:30" );
    EXPECT_EQ( Relative( -90 * XTime::kOneSecond, kTimeMinutes ), "-00:01" );
    EXPECT_EQ( Relative( -59 * XTime::kOneSecond, kTimeMinutes ), "00:00" ) << "no sign before nothing";
    EXPECT_EQ( Relative( 13 * XTime::kOneHour, kTimeTwelveHour ), "13:00:00" );
    EXPECT_EQ( Relative( -1, kTimeNone ), "" );
    EXPECT_EQ(
        Relative( std::numeric_limits<std::int64_t>::min(), kTimeMicroSeconds ), "-2562047788:00:54.775808" );
    EXPECT_ERROR( 1013, Relative( 0, XTimeFormat( 7 ) ) );
}

TEST( XTimeTextTest, ReadsBackWhatItWrites )
{
    std::mt19937_64 random( 7 );
    XVector<XTime> times = {
        kSample, XTime( 0 ), XTime( -1 ), std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max() };
    for ( int i = 0; i < 2000; ++i )
        times.push_back( XTime( static_cast<std::int64_t>( random() >> ( i % 20 ) ) ) );

    for ( const XTime& time : times )
    {
        ASSERT_EQ( XTime( time.GetAbsoluteTimeString(), "" ), time );
        for ( const XDateFormat format : kDateFormats )
        {
            ASSERT_EQ( XTime( time.GetTimeString( format, kTimeMicroSeconds ), "" ), time ) << format;
            ASSERT_EQ(
                XTime(
                    time.GetTimeString( format, kTimeNone ),
                    time.GetTimeString( kDateNone, kTimeMicroSeconds ) ),
                time );
        }
    }
}

TEST( XTimeTextTest, ReadsBackTheCoarserFormats )
{
    const XTime second( 2026, 3, 5, 16, 7, 8 );
    for ( const XDateFormat format : kDateFormats )
    {
        for ( const XTimeFormat timeFormat : { kTimeSeconds, kTimeTwelveHour, kTimeCompact } )
            EXPECT_EQ( XTime( second.GetTimeString( format, timeFormat ), "" ), second )
                << format << timeFormat;
        EXPECT_EQ( XTime( kSample.GetTimeString( format, kTimeMinutes ), "" ), XTime( 2026, 3, 5, 16, 7 ) );
        EXPECT_EQ(
            XTime( kSample.GetTimeString( format, kTimeMilliSeconds ), "" ),
            XTime( 2026, 3, 5, 16, 7, 8.901 ) );
    }
    EXPECT_EQ( XTime( second.GetInternetTimeString(), "" ), second );
    EXPECT_EQ( XTime( "", second.GetTimeString( kDateNone, kTimeTwelveHour ) ), second.GetTimeOfDay() );
}

TEST( XTimeTextTest, ReadsISO8601 )
{
    EXPECT_EQ( Parse( "2026-03-05T16:07:08.901234Z" ), kSample );
    EXPECT_EQ( Parse( "20260305T160708,901234Z" ), kSample );
    EXPECT_EQ( Parse( "2026-03-05t16:07:08.9012349999z" ), kSample )
        << "digits beyond microseconds are cut off";
    EXPECT_EQ( Parse( "2026-03-05 17:37:08.901234+01:30" ), kSample );
    EXPECT_EQ( Parse( "2026-03-05T06:07:08.901234-1000" ), kSample );
    EXPECT_EQ( Parse( "2026-03-05", "16:07:08.901234 +00" ), kSample );
    EXPECT_EQ( Parse( " 2026-03-05 ", "\t16:07 " ), XTime( 2026, 3, 5, 16, 7 ) );
    EXPECT_EQ( Parse( "2026-01-01T00:30+01:00" ), XTime( 2025, 12, 31, 23, 30 ) ) << "into the day before";
    EXPECT_EQ( Parse( "2026-064" ), XTime( 2026, 3, 5 ) );
    EXPECT_EQ( Parse( "2024366" ), XTime( 2024, 12, 31 ) );
    EXPECT_EQ( Parse( "2026-W10-4" ), XTime( 2026, 3, 5 ) );
    EXPECT_EQ( Parse( "2020W537" ), XTime( 2021, 1, 3 ) );
    EXPECT_EQ( Parse( "2025-W01-1" ), XTime( 2024, 12, 30 ) );
}

TEST( XTimeTextTest, ReadsOtherForms )
{
    EXPECT_EQ( Parse( "thu, 5 MARCH 2026 4:07 pm" ), XTime( 2026, 3, 5, 16, 7 ) );
    EXPECT_EQ( Parse( "05 mar 2026", "12:00:00AM" ), XTime( 2026, 3, 5 ) );
    EXPECT_EQ( Parse( "", "00:00:01.5" ), XTime( 1500000 ) );
}

TEST( XTimeTextTest, RefusesWhatIsNoTime )
{
    for ( const std::string& text : Split(
              "| |Invalid time|now|2026|2026-03|26-03-05|2026-3-5|2026-03-0|2026-0305|202603-05|2026/03/05|"
              "2026-02-30|2026-13-01|2026-00-10|2026-366|2026-000|2026-W54-1|2026-W00-1|2025-W53-1|"
              "2026-W10|2026-W10-8|2026-W104|+2026-03-05|+999999-01-01|-999999-01-01|"
              "+294247-01-10T04:00:55|2026-03-05T|2026-03-05X16:07|2026-03-05T24:00|2026-03-05T16:60|"
              "2026-03-05T16:07:60|2026-03-05T16:07:08.|2026-03-05T16|2026-03-05T16:07:8|"
              "2026-03-05T16:0708|2026-03-05T16:07.5|2026-03-05T16:07Q|2026-03-05T16:07+24:00|"
              "2026-03-05T16:07+01:60|2026-03-05T16:07+1|2026-03-05T16:07ZZ|2026-03-05 13:00 PM|"
              "2026-03-05 0:00 AM|5 Mrz 2026|5 Mar|5Mar2026|Fri, 5 Mar 2026|Foo, 5 Mar 2026|30 Feb 2026|"
              "2026-03-05 2026-03-05|99999999999999999999" ) )
        EXPECT_ERROR( 1007, Parse( text.c_str() ) ) << text;
    EXPECT_ERROR( 1007, Parse( "2026-03-05T16:07", "16:07" ) );
    EXPECT_ERROR( 1007, Parse( "16:07" ) ) << "a time of day alone is no date";
    EXPECT_ERROR( 1007, Parse( "", "25:00" ) );
}

TEST( XTimeTextTest, IsEnglishInAnyLocale )
{
    const std::string before = std::setlocale( LC_ALL, nullptr );
    for ( const char* locale : { "de_DE.UTF-8", "de_DE", "German_Germany.1252", "" } )
        if ( std::setlocale( LC_ALL, locale ) )
            break;
    EXPECT_EQ( Format( kSample, kDateLong, kTimeMilliSeconds ), "Thursday, 5 March 2026 16:07:08.901" );
    EXPECT_EQ( Parse( "Thursday, 5 March 2026 16:07:08.901234" ), kSample );
    std::setlocale( LC_ALL, before.c_str() );
}
