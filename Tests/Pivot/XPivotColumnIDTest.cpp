#include "Pivot/ColumnTools.h"

TEST( XPivotColumnIDTest, NamesEveryStandardQuantityOnce )
{
    EXPECT_EQ( XGetPivotStandardIDs().size(), 140u );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotUnknownColumn ), "Unknown Column" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotCentroidX ), "Centroid X" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotCentroidXCalibrated ), "Centroid X" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotVoxelRatio ), "Voxel Ratio Ch.X / Ch.Y" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotDistanceIntensity ), "Intensity" );
    EXPECT_ERROR( 3209, XPivotColumn::GetIDName( kPivotNone ) );
}

TEST( XPivotColumnIDTest, TakesNewOnesButNoneTwice )
{
    constexpr auto kOwn = static_cast<XPivotColumnID>( 70001 );
    EXPECT_ERROR( 3209, XPivotFloatColumn( kOwn, "", "", "" ) );
    XPivotColumn::RegisterID( kOwn, "Own" );
    EXPECT_EQ( XPivotFloatColumn( kOwn, "", "", "" ).GetColumnName(), "Own" );
    EXPECT_ERROR( 1006, XPivotColumn::RegisterID( kOwn, "Own" ) );
    EXPECT_ERROR( 1006, XPivotColumn::RegisterID( kPivotArea, "Area" ) );
    XPivotColumn::RegisterStandardIDs();
}
