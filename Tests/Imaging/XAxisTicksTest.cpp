#include "Drawing/XAxisTicks.h"

#include "Testing.h"

namespace
{
/// The labels with blanks between them, and a power that they share at the end.
std::string ListLabels( const XAxisRange& inRange, std::uint32_t inMost )
{
    const auto ticks = XMakeTicks( inRange, inMost );
    std::string labels;
    for ( const auto& [number, label] : ticks.ticks )
        labels += label.text + ( label.exponent.empty() ? "" : "^" + label.exponent ) + " ";
    return labels + ( ticks.exponent != 0 ? "x" + std::to_string( ticks.exponent ) : "" );
}
} // namespace

TEST( XAxisTicksTest, AreMultiplesOfOneTwoOrFive )
{
    EXPECT_EQ( ListLabels( { 0, 10 }, 5 ), "0 5 10 " );
    EXPECT_EQ( ListLabels( { 0, 10 }, 6 ), "0 2 4 6 8 10 " );
    EXPECT_EQ( ListLabels( { -1.04, 1.04 }, 5 ), "\u22121.0 \u22120.5 0.0 0.5 1.0 " );
    EXPECT_EQ( ListLabels( { 0.1, 0.3 }, 5 ), "0.10 0.15 0.20 0.25 0.30 " );
    EXPECT_EQ( ListLabels( { 0, 2.1, false, true }, 8 ), "0 1 2 " );
}

TEST( XAxisTicksTest, ShareAPowerWhereThatIsShorter )
{
    EXPECT_EQ( ListLabels( { 0, 3.2e6 }, 4 ), "0 1 2 3 x6" );
    EXPECT_EQ( ListLabels( { 0, 4.1e-5 }, 5 ), "0 10 20 30 40 x-6" );
    EXPECT_EQ( ListLabels( { 0, 1e5 }, 3 ), "0 50000 100000 " );
    EXPECT_EQ( ListLabels( { -5e4, 5e4 }, 3 ), "\u221250000 0 50000 " ); // However many bytes the minus has.
    EXPECT_EQ( ListLabels( { 1000001, 1000003 }, 3 ), "1000001 1000002 1000003 " );
}

TEST( XAxisTicksTest, OfLogarithmicAxes )
{
    EXPECT_EQ( ListLabels( { 1, 1000, true }, 10 ), "1 2 5 10 20 50 100 200 500 1000 " );
    EXPECT_EQ( ListLabels( { 0.9, 1100, true }, 9 ), "1 10 100 1000 " );
    EXPECT_EQ( ListLabels( { 0.5, 30, true, true }, 9 ), "1 2 5 10 20 " );
    EXPECT_EQ( ListLabels( { 1e-6, 1e-4, true }, 4 ), "10^\u22126 10^\u22125 10^\u22124 " );
    EXPECT_EQ(
        ListLabels( { 1e-6, 1.5e-5, true }, 6 ),
        "10^\u22126 2\u00D710^\u22126 5\u00D710^\u22126 10^\u22125 " );
    EXPECT_EQ( ListLabels( { 1e-20, 1e20, true }, 5 ), "10^\u221220 10^\u221210 10^0 10^10 10^20 " );
    EXPECT_EQ( ListLabels( { 3, 4.2, true }, 3 ), "3.0 3.5 4.0 " );
    EXPECT_EQ( XMakeTicks( { 1, 100, true }, 3 ).minorTicks.size(), 16u );
    EXPECT_NEAR( XMakeAxisRange( 1000, 1010, true ).high, 1010.4, 0.1 );
    EXPECT_NEAR( XMakeAxisRange( 1000, 1000, true ).high, 1050, 0.1 );
}

TEST( XAxisTicksTest, CanBeToldApartWhateverTheNumbers )
{
    std::mt19937 random( 1 );
    std::uniform_real_distribution<double> mantissas( -10, 10 ), exponents( -249, 279 );
    for ( int i = 0; i < 20000; ++i )
    {
        const auto first = mantissas( random ) * std::pow( 10, exponents( random ) );
        // Equal numbers, near ones and far ones.
        const auto second = i % 3 == 0 ? first
            : i % 3 == 1               ? first * ( 1 + mantissas( random ) * std::pow( 10, -( i % 17 ) ) )
                                       : mantissas( random ) * std::pow( 10, exponents( random ) );
        const auto isLogarithmic = i % 2 == 0 && first > 0 && second > 0;
        const auto range =
            XMakeAxisRange( std::min( first, second ), std::max( first, second ), isLogarithmic );
        ASSERT_LT( range.low, std::min( first, second ) );
        ASSERT_GT( range.high, std::max( first, second ) );

        const auto most = static_cast<std::uint32_t>( 2 + i % 11 );
        const auto ticks = XMakeTicks( range, most ).ticks;
        ASSERT_LE( ticks.size(), std::max( most, 6u ) );
        ASSERT_GE( ticks.size(), 2u ) << range.low << ' ' << range.high;
        std::set<std::string> labels;
        for ( const auto& [number, label] : ticks )
        {
            EXPECT_TRUE( labels.insert( label.text + "^" + label.exponent ).second ) << number;
            EXPECT_NEAR( range.GetShare( number ), 0.5, 0.5 + 1e-6 );
            EXPECT_NE( label.text, "\u22120" );
        }
    }
}
