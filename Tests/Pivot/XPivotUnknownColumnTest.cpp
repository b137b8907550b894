#include "Pivot/ColumnTools.h"

TEST( XPivotUnknownColumnTest, HasRowsButNoValues )
{
    XPivotUnknownColumn column( kPivotUserDefined, "?", "", "" );
    column.InsertEmptyRows( 0, 3 );
    column.SetData( 1.0, 0, true );
    column.SetDataExists( 0, true );
    EXPECT_EQ( column.GetColumnSize(), 3u );
    EXPECT_TRUE( column.IsEmptyColumn() );
    EXPECT_EQ( column.GetDataString( 2 ), "N/A" );
    EXPECT_EQ( column.GetDataFloat( 2 ), 0.0 );
    EXPECT_EQ( column.FindDataFloat( 0.0 ), -1 );
    XRows order;
    column.Sort( kSortDescending, order );
    EXPECT_EQ( order, ( XRows{ 0, 1, 2 } ) );
    XPivotStringColumn texts;
    column.CopyRowsInto( 1, texts, 0, 2 );
    EXPECT_EQ( texts.GetExistsVector(), ( XVector<std::uint8_t>{ 0, 0 } ) );
}
