#include "Plots/XLabelPlacement.h"

#include "Testing.h"

TEST( XLabelPlacementTest, LieInObjectsOrBesideThem )
{
    const XObjectLabel large{ { 10, 10, 60, 60 }, { 30, 40 }, 20, 10 };
    const XObjectLabel small{ { 80, 10, 84, 14 }, { 82, 12 }, 20, 10 };
    const auto places = XPlaceLabels( { small, large, small, small, small, small }, 200, 100 );
    EXPECT_EQ( places[1], ( WPoint{ 30, 40 } ) );
    EXPECT_EQ( places[0], ( WPoint{ 97, 12 } ) );
    EXPECT_EQ( places[2], ( WPoint{ 67, 12 } ) );
    EXPECT_EQ( places[3], ( WPoint{ 82, 22 } ) );
    EXPECT_EQ( places[4], std::nullopt ); // There is no room above.
    EXPECT_EQ( places[5], std::nullopt );
}

TEST( XLabelPlacementTest, DoNotOverlap )
{
    std::mt19937 random( 1 );
    std::uniform_real_distribution<double> coordinates( 0, 600 ), sides( 1, 60 ), widths( 5, 25 );
    std::vector<XObjectLabel> numbers;
    for ( int i = 0; i < 500; ++i )
    {
        const auto x = coordinates( random ), y = coordinates( random ), side = sides( random );
        numbers.push_back(
            { { x, y, x + side, y + side }, { x + side / 2, y + side / 2 }, widths( random ), 10 } );
    }
    const auto places = XPlaceLabels( numbers, 650, 650 );
    std::size_t placed = 0;
    const auto areApart = [&]( std::size_t inOne, std::size_t inOther )
    {
        constexpr double kRounding = 1e-9;
        const auto width = ( numbers[inOne].width + numbers[inOther].width ) / 2;
        return std::abs( places[inOne]->x - places[inOther]->x ) >= width - kRounding ||
            std::abs( places[inOne]->y - places[inOther]->y ) >= 10 - kRounding;
    };
    for ( std::size_t i = 0; i < places.size(); ++i )
    {
        placed += places[i] ? 1 : 0;
        for ( std::size_t j = 0; j < i; ++j )
            EXPECT_TRUE( !places[i] || !places[j] || areApart( i, j ) );
    }
    EXPECT_GT( placed, 100u );
}
