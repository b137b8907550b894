#include "Drawing/XHistogram.h"

#include "Testing.h"

namespace
{
using Samples = std::vector<double>;
}

TEST( XHistogramTest, FollowsFreedmanAndDiaconis )
{
    // As numpy.histogram( numbers, "fd" ) has it.
    const Samples numbers{ 1.5, 2.25, 2.5, 3.0, 3.75, 4.25, 5.5, 6.0, 9.5, 12.25, 2.75, 3.5 };
    const auto limits = XMakeBinLimits( numbers );
    const Samples expected{ 1.5, 3.65, 5.8, 7.949999999999999, 10.1, 12.25 };
    ASSERT_EQ( limits.size(), expected.size() );
    for ( std::size_t i = 0; i < limits.size(); ++i )
        EXPECT_DOUBLE_EQ( limits[i], expected[i] );
    EXPECT_EQ( XCountInBins( numbers, limits ), ( std::vector<std::uint64_t>{ 6, 3, 1, 1, 1 } ) );
}

TEST( XHistogramTest, PutsLimitsBetweenWholeNumbers )
{
    EXPECT_EQ( XMakeBinLimits( Samples{ 3, 3, 3 } ), ( Samples{ 2.5, 3.5 } ) );
    EXPECT_EQ( XMakeBinLimits( Samples{ 0, 1, 1, 2, 2, 2, 3 } ), ( Samples{ -0.5, 0.5, 1.5, 2.5, 3.5 } ) );
    EXPECT_EQ( XMakeBinLimits( Samples{ 0, 1, 2, 9 }, 5 ), ( Samples{ -0.5, 1.5, 3.5, 5.5, 7.5, 9.5 } ) );
    EXPECT_EQ( XMakeBinLimits( Samples{ 0, 1, 2 }, 900 ).size(), 4u );
    EXPECT_EQ(
        XCountInBins( Samples{ 0, 1, 1, 5 }, Samples{ -0.5, 0.5, 1.5, 5.5 } ),
        ( std::vector<std::uint64_t>{ 1, 2, 1 } ) );
}

TEST( XHistogramTest, FallsBackWhereTheQuartilesAreOne )
{
    Samples numbers( 98, 1.5 );
    numbers.insert( numbers.end(), { 0.25, 9.75 } );
    const auto limits = XMakeBinLimits( numbers );
    EXPECT_GT( limits.size(), 3u );
    EXPECT_LT( limits.size(), 30u );
    EXPECT_EQ( XMakeBinLimits( Samples{ 0.5, 0.5 } ).size(), 2u );
    EXPECT_EQ( XMakeBinLimits( Samples{ 0.5, 2.5 }, 8 ).size(), 9u );
}

TEST( XHistogramTest, CountsEveryNumberOnce )
{
    std::mt19937 random( 1 );
    std::uniform_real_distribution<double> exponents( -290, 299 );
    for ( int i = 0; i < 500; ++i )
    {
        Samples numbers( 1 + random() % 300 );
        const auto scale = std::pow( 10, exponents( random ) );
        // Narrow and wide distributions, with outliers and without, some of whole numbers.
        for ( auto& number : numbers )
            number = i % 4 == 0 ? static_cast<double>( random() % ( 1 + i ) )
                : i % 4 == 1    ? scale * ( 1 + 1e-16 * static_cast<double>( random() % 8 ) )
                : i % 4 == 2    ? scale * std::pow( static_cast<double>( random() % 1000 ), 3 )
                                : std::pow( 10, exponents( random ) ) * ( random() % 2 ? 1 : -1 );
        const auto limits = XMakeBinLimits( numbers );
        ASSERT_LE( limits.size(), kMostBins + 1 );
        ASSERT_TRUE( std::ranges::is_sorted( limits, std::less_equal() ) ) << i;
        ASSERT_LE( limits.front(), std::ranges::min( numbers ) );
        ASSERT_GE( limits.back(), std::ranges::max( numbers ) );
        const auto counts = XCountInBins( numbers, limits );
        ASSERT_EQ( std::accumulate( counts.begin(), counts.end(), std::uint64_t{ 0 } ), numbers.size() );
    }
}
