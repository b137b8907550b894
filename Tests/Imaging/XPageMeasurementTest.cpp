#include "Imaging/Measurements/XPageMeasurement.h"

#include "Imaging/TestPages.h"

TEST( XPageMeasurementTest, MeasuresEveryChannelOfAnObject )
{
    // Channel 2 finds the objects; two samples a pixel.
    const auto page = MakePage<std::uint16_t>( 3, { 7, 0, 10, 9, 65535, 9, 5, 0, 20, 9, 1, 0 }, 2 );
    XMeasureSettings settings;
    settings.objects.channel = 1;
    settings.objects.threshold = 1;
    const auto result = XMeasurePage( page, settings );
    ASSERT_EQ( result.shapes.size(), 1u );
    ASSERT_EQ( result.statistics.size(), 2u );
    EXPECT_EQ( result.shapes[0].pixelCount, 3u );

    const auto& first = result.statistics[0];
    EXPECT_EQ( first.min, 10 );
    EXPECT_EQ( first.max, 65535 );
    EXPECT_EQ( first.sum, 65565 );
    EXPECT_EQ( first.mean, 21855 );
    EXPECT_NEAR( first.standardDeviation / 30886.424472034, 1, 1e-12 );
    EXPECT_EQ( result.statistics[1].standardDeviation, 0 );
}

TEST( XPageMeasurementTest, SumsFloatsExactly )
{
    const auto page = MakePage<float>( 4, { 1e30f, 1.0f, -1e30f, 2.0f } );
    XMeasureSettings settings;
    settings.objects.threshold = -1e35;
    const auto result = XMeasurePage( page, settings );
    EXPECT_EQ( result.statistics.at( 0 ).sum, 3 );
    EXPECT_EQ( result.statistics[0].mean, 0.75 );

    // A large offset leaves nothing of the deviations in sums of squares.
    const auto high = MakePage<float>( 4, { 16777214.0f, 16777215.0f, 16777214.0f, 16777215.0f } );
    settings.objects.threshold = 0;
    EXPECT_EQ( XMeasurePage( high, settings ).statistics.at( 0 ).standardDeviation, 0.5 );
}

TEST( XPageMeasurementTest, RefusesAChannelThatIsNotThere )
{
    XMeasureSettings settings;
    settings.objects.channel = 1;
    EXPECT_THROW( XMeasurePage( MakePage<std::uint8_t>( 1, { 1, 2 } ), settings ), WImageError );
}

TEST( XPageMeasurementTest, FindsNothingOnAPageOfOneValue )
{
    const auto result = XMeasurePage( MakePage<std::uint8_t>( 2, { 9, 9, 9, 9 } ), {} );
    EXPECT_EQ( result.threshold, 9 );
    EXPECT_TRUE( result.shapes.empty() );
}
