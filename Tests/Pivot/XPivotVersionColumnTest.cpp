#include "Pivot/ColumnTools.h"

TEST( XPivotVersionColumnTest, ShowsDescriptionsByClassAlone )
{
    const auto column = MakeColumn<XPivotVersionColumn>(
        { XVersion( kClassPivotTable ), XVersion( 0x1234u ), XVersion( 0x51234u ), std::nullopt } );
    EXPECT_EQ( column->GetDataString( 0 ), "Table" );
    EXPECT_EQ( column->GetDataString( 1 ), "<Unknown object type 4660>" );
    EXPECT_EQ( column->GetDataString( 2 ), "<Unknown object type 4660>" );
    EXPECT_EQ( column->GetDataString( 3 ), "<Unknown object type 0>" );
    EXPECT_TRUE( std::isnan( column->GetDataFloat( 0 ) ) );
    const auto read = [&]
    {
        for ( int i = 0; i < 2000; ++i )
            EXPECT_EQ( column->GetDataString( 0 ), "Table" );
    };
    std::thread other( read );
    for ( int i = 0; i < 2000; ++i )
        EXPECT_EQ( column->GetDataString( 1 ), "<Unknown object type 4660>" );
    other.join();
}
