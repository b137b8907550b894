#include "Pivot/ColumnTools.h"

#include <gtest/gtest.h>

TEST( XPivotColumnID, NamesEveryStandardQuantityOnce )
{
    EXPECT_EQ( XGetPivotStandardIDs().size(), 140u );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotUnknownColumn ), "Unknown Column" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotCentroidX ), "Centroid X" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotCentroidXCalibrated ), "Centroid X" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotVoxelRatio ), "Voxel Ratio Ch.X / Ch.Y" );
    EXPECT_EQ( XPivotColumn::GetIDName( kPivotDistanceIntensity ), "Intensity" );
    EXPECT_EQ( ErrorOf( [] { XPivotColumn::GetIDName( kPivotNone ); } ), 3209u );
}

TEST( XPivotColumnID, TakesNewOnesButNoneTwice )
{
    constexpr auto kOwn = static_cast<XPivotColumnID>( 70001 );
    EXPECT_EQ( ErrorOf( [&] { XPivotFloatColumn( kOwn, "", "", "" ); } ), 3209u );
    XPivotColumn::RegisterID( kOwn, "Own" );
    EXPECT_EQ( XPivotFloatColumn( kOwn, "", "", "" ).GetColumnName(), "Own" );
    EXPECT_EQ( ErrorOf( [&] { XPivotColumn::RegisterID( kOwn, "Own" ); } ), 1006u );
    EXPECT_EQ( ErrorOf( [] { XPivotColumn::RegisterID( kPivotArea, "Area" ); } ), 1006u );
    XPivotColumn::RegisterStandardIDs();
}
