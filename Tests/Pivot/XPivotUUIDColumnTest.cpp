#include "Pivot/ColumnTools.h"

TEST( XPivotUUIDColumnTest, ShowsTextAndHash )
{
    XPivotUUIDColumn column;
    column.SetData( "f81d4fae-7dec-11d0-a765-00a0c91e6bf6", 0, true );
    EXPECT_EQ( column.GetDataFloat( 0 ), static_cast<double>( column.GetValue( 0 ).GetHash() ) );
    EXPECT_EQ( column.GetDataString( 0 ), "f81d4fae-7dec-11d0-a765-00a0c91e6bf6" );
    column.SetData( 5.0, 1, true );
    EXPECT_EQ( column.GetColumnSize(), 1u ) << "a number is no identifier";
    EXPECT_ERROR( 1026, column.SetData( "x", 1, true ) );
    EXPECT_EQ( column.GetColumnSize(), 1u );
}
