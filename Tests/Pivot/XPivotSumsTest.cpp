#include "Pivot/Accumulators/Internal/XPivotSums.h"

#include "Pivot/ColumnTools.h"

TEST( XPivotSumsTest, AreTheSameOnEveryProcessor )
{
    std::mt19937 random( 7 );
    std::vector<double> values( 1003 );
    std::vector<std::uint8_t> exists( values.size() );
    for ( std::size_t i = 0; i < values.size(); ++i )
    {
        values[i] = random() % 9
            ? std::ldexp( static_cast<double>( random() ) - 2e9, static_cast<int>( random() % 60 ) )
            : kNaN;
        exists[i] = random() % 8 != 0;
    }
    const XPivotColumn::XFloatBlock block = {
        values.data(), exists.data(), static_cast<std::uint32_t>( values.size() ) };
    XPivotMomentSums fast, plain;
    XGetPivotSumLoops().addMoments( block, fast );
    XGetPortablePivotSumLoops().addMoments( block, plain );
    EXPECT_EQ( std::memcmp( &fast, &plain, sizeof fast ), 0 );
    XPivotSums fastSquares, plainSquares;
    XGetPivotSumLoops().addSquares( block, 3.25, fastSquares );
    XGetPortablePivotSumLoops().addSquares( block, 3.25, plainSquares );
    EXPECT_EQ( std::memcmp( &fastSquares, &plainSquares, sizeof fastSquares ), 0 );
}
