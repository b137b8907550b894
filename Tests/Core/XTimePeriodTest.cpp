#include "Core/Times/XTimePeriod.h"

#include "Core/Streams/XMemStream.h"
#include "Core/Strings/XString.h"
#include "Testing.h"

namespace
{

std::string Describe( double inValue, XTimePeriod::XUnit inUnit )
{
    return XTimePeriod( inValue, inUnit ).GetDescription();
}

std::uint32_t ErrorOfReading( double inValue, std::uint32_t inUnit )
{
    XMemStream stream;
    stream.WriteFloat64S( inValue );
    stream.Write32( inUnit );
    stream.SeekTo( 0 );
    XTimePeriod period;
    return ErrorOf( [&] { period.ReadStream2( stream ); } );
}

} // namespace

TEST( XTimePeriodTest, ConvertsBetweenUnitsAndLengths )
{
    XTimePeriod period( 1.5, XTimePeriod::kMinutes );
    EXPECT_EQ( period.GetPeriod(), XTime( 90 * XTime::kOneSecond ) );
    EXPECT_EQ( period.GetPeriodSeconds(), 90.0 );
    period.SetPeriod( XTime( XTime::kOneHour ) );
    EXPECT_EQ( period, XTimePeriod( 60.0, XTimePeriod::kMinutes ) );
    period.SetUnit( XTimePeriod::kMilliSeconds );
    period.SetPeriodSeconds( 0.1 );
    EXPECT_EQ( period.GetValue(), 100.0 );
    EXPECT_EQ( XTimePeriod( 3.0, XTimePeriod::kMicroSeconds ).GetPeriodSeconds(), 3e-6 );
    EXPECT_EQ( XTimePeriod( -0.6, XTimePeriod::kMicroSeconds ).GetPeriod(), XTime( -1 ) );
    EXPECT_EQ( XTimePeriod( 2.0, XTimePeriod::kWeeks ).GetPeriod(), XTime( 2 * XTime::kOneWeek ) );
}

TEST( XTimePeriodTest, RefusesWhatHasNoLength )
{
    EXPECT_ERROR( 1007, XTimePeriod( 1e30, XTimePeriod::kDays ).GetPeriod() );
    EXPECT_ERROR( 1007, XTimePeriod( std::nan( "" ), XTimePeriod::kDays ) );
    EXPECT_ERROR( 1007, XTimePeriod().SetPeriodSeconds( HUGE_VAL ) );
    EXPECT_ERROR( 1013, XTimePeriod( 1.0, XTimePeriod::XUnit( 8 ) ) );
}

TEST( XTimePeriodTest, CountsTimePoints )
{
    XTimePeriod period;
    EXPECT_ERROR( 1013, period.GetTimepointValue() );
    period.SetTimepointValue( 0xFFFFFFFF );
    EXPECT_EQ( period.GetTimepointValue(), 0xFFFFFFFFu );
    EXPECT_EQ( period.GetUnit(), XTimePeriod::kTimepoints );
    EXPECT_ERROR( 1013, period.GetPeriod() );
    EXPECT_ERROR( 1013, period.SetPeriod( XTime( 1 ) ) );
    EXPECT_ERROR( 1013, period.SetValue( 1.5 ) );
    EXPECT_ERROR( 1013, period.SetValue( -1.0 ) );
    EXPECT_ERROR( 1013, period.SetValue( 4294967296.0 ) );
    EXPECT_EQ( period.GetTimepointValue(), 0xFFFFFFFFu ) << "unchanged after errors";
}

TEST( XTimePeriodTest, DescribesItself )
{
    EXPECT_EQ( Describe( 1.5, XTimePeriod::kMinutes ), "1.5 minutes" );
    EXPECT_EQ( Describe( 1.0, XTimePeriod::kHours ), "1 hour" );
    EXPECT_EQ( Describe( 0.0, XTimePeriod::kDays ), "0 days" );
    EXPECT_EQ( Describe( 1000000.0, XTimePeriod::kMicroSeconds ), "1000000 microseconds" );
    EXPECT_EQ( Describe( -0.1, XTimePeriod::kSeconds ), "-0.1 seconds" );
    EXPECT_EQ( Describe( 1e300, XTimePeriod::kWeeks ), "1e+300 weeks" );
    EXPECT_EQ( Describe( 12.0, XTimePeriod::kTimepoints ), "12 time points" );
    EXPECT_EQ( std::string( XTimePeriod::GetUnitDescription( XTimePeriod::kMilliSeconds ) ), "milliseconds" );
    EXPECT_EQ(
        std::string( XTimePeriod( 1.0, XTimePeriod::kTimepoints ).GetUnitDescription() ), "time point" );
}

TEST( XTimePeriodTest, MapsUnitsToMenuPositionsAndBack )
{
    for ( std::uint32_t index = 0; index < XTimePeriod::kUnitCount; ++index )
        EXPECT_EQ(
            XTimePeriod::GetTimePeriodMenuIndexFromUnits(
                XTimePeriod::GetTimePeriodUnitsFromMenuIndex( index ) ),
            index );
    EXPECT_EQ( XTimePeriod::GetTimePeriodUnitsFromMenuIndex( 0 ), XTimePeriod::kMicroSeconds );
    EXPECT_ERROR( 1013, XTimePeriod::GetTimePeriodUnitsFromMenuIndex( 8 ) );
}

TEST( XTimePeriodTest, RefusesCorruptStreams )
{
    XMemStream stream;
    const XTimePeriod period( 2.5, XTimePeriod::kHours );
    period.WriteStream2( stream );
    EXPECT_EQ( stream.GetLength(), XTimePeriod::GetStreamUsage() );
    stream.SeekTo( 0 );
    XTimePeriod copy;
    copy.ReadStream2( stream );
    EXPECT_EQ( copy, period );

    EXPECT_EQ( ErrorOfReading( 1.0, 8 ), 1005u );
    EXPECT_EQ( ErrorOfReading( std::nan( "" ), 2 ), 1005u );
    EXPECT_EQ( ErrorOfReading( HUGE_VAL, 2 ), 1005u );
    EXPECT_EQ( ErrorOfReading( 0.5, XTimePeriod::kTimepoints ), 1005u );
}
