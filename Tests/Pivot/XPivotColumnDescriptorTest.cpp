#include "Pivot/ColumnTools.h"

TEST( XPivotColumnDescriptorTest, ShowsUnitsAndChannel )
{
    const XPivotColumnDescriptor volume( kPivotVolume, "", "C1", "\265m3" );
    EXPECT_EQ( volume.GetDisplayName(), "Volume (\265m\xB3) (C1)" );
    EXPECT_EQ( volume.GetDisplayName( true ), "Volume (\265m\xB3)\r\n(C1)" );
    EXPECT_EQ( XPivotColumnDescriptor( kPivotHalfTime, "", "", "s" ).GetDisplayName(), "T\xBD (s)" );
    EXPECT_EQ( XPivotColumnDescriptor( kPivotDeltaSquared, "", "", "" ).GetDisplayName(), "Delta\xB2" );
    EXPECT_EQ( XPivotColumnDescriptor( kPivotUserDefined, "a^3", "", "" ).GetDisplayName(), "a\xB3" );
    const auto unregistered = static_cast<XPivotColumnID>( 99999 );
    EXPECT_EQ( XPivotColumnDescriptor( unregistered, "stored", "", "" ).GetDisplayName(), "stored" );
}

TEST( XPivotColumnDescriptorTest, OrdersByIDThenTexts )
{
    const XPivotColumnDescriptor low( kPivotArea, "", "C2", "" );
    const XPivotColumnDescriptor high( kPivotArea, "", "C10", "" );
    EXPECT_TRUE( low < high && high > low && low != high && !( high < low ) );
    EXPECT_LT( XPivotColumnDescriptor( static_cast<XPivotColumnID>( -1 ), "z", "", "" ), low );
    EXPECT_TRUE( XPivotColumnDescriptor().IsNull() && !low.IsNull() );
}
