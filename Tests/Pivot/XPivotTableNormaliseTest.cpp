#include "Pivot/ColumnTools.h"

namespace
{
XPivotTable MakeValues()
{
    XPivotTable table;
    table.AddColumn( MakeColumn<XPivotStringColumn>( { "A", "A", "B", "B", "C", "A" } ) );
    table.AddColumn(
        MakeColumn<XPivotUInt32Column>( { 8, 4, 3, 2, 9, {} }, { kPivotPixelCount, "", "C1", "px" } ) );
    return table;
}

const XRows kControls = { 1, 3, 5 }; // plate C has none, and the last is missing
} // namespace

TEST( XPivotTableNormaliseTest, RelatesToAReference )
{
    const std::vector<std::tuple<XPivotTableControlRelationship, double, const char*>> cases = {
        { kControlRatio, 2.0, "" },
        { kControlPercent, 200.0, "%" },
        { kControlDifference, 4.0, "px" },
        { kControlPercentDifference, 100.0, "%" },
        { kControlLogRatio, 1.0, "" } };
    for ( const auto& [relationship, expected, units] : cases )
    {
        XPivotTable table = MakeValues();
        table.NormaliseTo( 1, 4.0, relationship );
        EXPECT_EQ( table.GetColumn( 1 ).GetDataFloat( 0 ), expected );
        EXPECT_FALSE( table.GetColumn( 1 ).DoesDataExist( 5 ) );
        EXPECT_EQ( table.GetColumn( 1 ).GetUnits(), units );
        EXPECT_EQ( table.GetColumn( 1 ).GetID(), kPivotPixelCount );
        EXPECT_EQ( table.GetColumn( 1 ).GetTable(), &table );
    }
    XPivotTable table = MakeValues();
    EXPECT_ERROR( 1006, table.NormaliseTo( 1, 4.0, XPivotTableControlRelationship( 5 ) ) );
    table.NormaliseTo( 0, 4.0, kControlRatio ); // texts stay
    EXPECT_EQ( table.GetColumn( 0 ).GetDataString( 0 ), XString( "A" ) );
}

TEST( XPivotTableNormaliseTest, RelatesToTheControlsOfEachGroup )
{
    XPivotTable table = MakeValues();
    table.NormaliseToControls( 1, kControls, kControlRatio, { 0 } );
    EXPECT_EQ( table.GetColumn( 1 ).GetExistsVector(), ( XVector<std::uint8_t>{ 1, 1, 1, 1, 0, 0 } ) );
    EXPECT_EQ( table.GetColumn( 1 ).GetFloatVector(), ( XVector<double>{ 2.0, 1.0, 1.5, 1.0 } ) );
    table = MakeValues();
    table.NormaliseToControls( 1, kControls, kControlDifference );
    EXPECT_EQ( table.GetColumn( 1 ).GetFloatVector(), ( XVector<double>{ 5.0, 1.0, 0.0, -1.0, 6.0 } ) );
    EXPECT_ERROR( 1006, table.NormaliseToControls( 1, { 6 }, kControlRatio ) );
}

TEST( XPivotTableBucketsTest, GatherNumbersBetweenLimits )
{
    XPivotTable table = MakeValues();
    const XPivotStringColumn& buckets = table.BucketsGather( 1, { 3.0, 4.0, 8.0 } );
    EXPECT_EQ( buckets.GetDisplayName(), XString( "Pixel Count Group (C1)" ) );
    EXPECT_EQ( buckets.GetStringVector(), ( XVector<XString>{ "4 to 8", "4 to 8", "3 to 4", "", "", "" } ) );
    EXPECT_EQ( buckets.GetExistsVector(), ( XVector<std::uint8_t>{ 1, 1, 1, 0, 0, 0 } ) );
    EXPECT_EQ( &table.BucketsGather( 1, { 0.0, 100.0 } ), &buckets ); // written anew
    EXPECT_EQ( buckets.GetValue( 4 ), XString( "0 to 100" ) );
    for ( const XVector<double>& limits : { XVector<double>{}, { 1.0 }, { 1.0, 1.0 }, { 1.0, kNaN } } )
        EXPECT_ERROR( 1013, table.BucketsGather( 1, limits ) );
    EXPECT_EQ( table.GetNumColumns(), 3u );

    XPivotTable close;
    close.AddColumn( MakeColumn<XPivotFloatColumn>( { 0.0, 1e-7, 2e-7, 1.0 / 3 } ) );
    EXPECT_EQ(
        close.BucketsGather( 0, { 0.0, 1e-7, 2e-7, 1.0 } ).GetStringVector(),
        ( XVector<XString>{ "0 to 1e-07", "1e-07 to 2e-07", "2e-07 to 1", "2e-07 to 1" } ) );
    EXPECT_EQ( close.BucketsGather( 0, { 0.0, 1.0 / 3 } ).GetValue( 3 ), XString( "0 to 0.333333" ) );
}

TEST( XPivotTableBucketsTest, GatherTextsAndTakeNewNames )
{
    XPivotTable table = MakeValues();
    const XPivotStringColumn& buckets = table.BucketsGather( 0, { "C", "B" }, "treated" );
    EXPECT_EQ(
        buckets.GetStringVector(), ( XVector<XString>{ "A", "A", "treated", "treated", "treated", "A" } ) );
    table.BucketsGather( 0, { "C" }, "later" ); // the others stay where they are
    EXPECT_EQ( buckets.GetValue( 3 ), XString( "treated" ) );
    EXPECT_EQ( buckets.GetValue( 4 ), XString( "later" ) );
    EXPECT_EQ( table.BucketRename( 0, "A", "later" ), 3u );
    EXPECT_EQ( table.BucketRename( 0, "A", "later" ), 0u );
    EXPECT_EQ( buckets.GetStringSet(), ( XVector<XString>{ "later", "treated" } ) );
    EXPECT_EQ( table.BucketRename( 1, "A", "B" ), 0u ); // no buckets there
}
