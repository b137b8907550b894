#include "Pivot/Accumulators/XPivotColumnSummary.h"

#include "Pivot/ColumnTools.h"

TEST( XPivotColumnSummaryTest, LosesNothingThatCancels )
{
    const auto cancelling = MakeColumn<XPivotFloatColumn>( { 1e100, 1.0, -1e100, 1e16, 1.0, -1e16 } );
    EXPECT_EQ( XPivotColumnSummary( *cancelling ).GetMoments().sum, 2.0 );
}

TEST( XPivotColumnSummaryTest, AgreesWithAPlainReference )
{
    std::mt19937 random( 5 );
    std::normal_distribution<double> normal( 1e6, 3.0 );
    for ( const int count : { 1, 15, 16, 17, 4095, 4096, 4113, 12345 } )
    {
        XPivotFloatColumn column;
        long double sum = 0.0, squares = 0.0;
        std::uint64_t numbers = 0, present = 0;
        for ( int i = 0; i < count; ++i )
        {
            const double value = random() % 20 ? normal( random ) : kNaN;
            const bool exists = random() % 10 != 0;
            column.AppendData( value, exists );
            present += exists;
            numbers += exists && !std::isnan( value );
            sum += exists && !std::isnan( value ) ? value : 0.0;
        }
        for ( const double value : column.GetFloatVector() )
            squares += std::isnan( value ) ? 0.0L : ( value - sum / numbers ) * ( value - sum / numbers );
        const XPivotColumnSummary summary( column );
        EXPECT_EQ( summary.GetMoments().count, present );
        EXPECT_EQ( summary.GetMoments().numbers, numbers );
        EXPECT_DOUBLE_EQ( summary.GetMoments().sum, static_cast<double>( sum ) );
        EXPECT_NEAR(
            summary.GetSquaredDeviations(), static_cast<double>( squares ),
            1e-9 * static_cast<double>( squares ) );
    }
}
