#include "Pivot/ColumnTools.h"

TEST( XPivotTimeColumnTest, ReadsBackTheTextItShows )
{
    XPivotTimeColumn column;
    column.AppendData( XTime( 2026, 3, 5, 16, 7, 8.901234 ), true );
    EXPECT_EQ( column.GetDataString( 0 ), "2026-03-05 16:07:08.901234" );
    column.SetData( column.GetDataString( 0 ), 1, true );
    EXPECT_EQ( column.GetValue( 0 ), column.GetValue( 1 ) );
    column.SetData( 1e30, 2, true );
    EXPECT_EQ( column.GetValue( 2 ).GetMicroSeconds(), std::numeric_limits<std::int64_t>::max() );
    EXPECT_ERROR( 1007, column.SetData( "soon", 0, true ) );
    EXPECT_FALSE( column.IsFilterable() );
}
