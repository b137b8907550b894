#include "Tables/ColumnNames.h"

#include "Support/WrongUsage.h"
#include "TestTables.h"

namespace
{
/// What FindColumnByName says of a name that it refuses.
std::string GetRefusal( const XPivotTable& inTable, const std::string& inName )
{
    return TextOfError( [&] { FindColumnByName( inTable, inName ); } );
}
} // namespace

TEST( ColumnNamesTest, AreThoseDisplayedOrShort )
{
    const auto table = MakeTestTable();
    const std::vector<std::pair<std::string, std::uint32_t>> cases{
        { "ID", 0 },         { "parent id", 1 }, { "Area (\u00B5m\u00B2)", 4 },
        { "area (UM2)", 4 }, { " Area um2", 4 }, { "Area", 4 },
        { "Mean (C2)", 6 },  { "mean c1", 5 },   { "A, B", 7 },
        { "#1", 0 },         { "#10", 9 },       { "x<5", 11 },
        { "abs. time", 10 }, { "#13", 12 } };
    for ( const auto& [name, index] : cases )
        EXPECT_EQ( FindColumnByName( table, name ), index ) << name;
    for ( const auto index : { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 10u, 11u, 12u } )
        EXPECT_EQ( FindColumnByName( table, GetColumnName( table.GetColumn( index ) ) ), index );
}

TEST( ColumnNamesTest, AreRefusedWithTheNearest )
{
    const auto table = MakeTestTable();
    EXPECT_EQ(
        GetRefusal( table, "Mean" ), "ambiguous column \"Mean\": \"Mean (C1)\" (#6) or \"Mean (C2)\" (#7)" );
    EXPECT_EQ( GetRefusal( table, "twin" ), "ambiguous column \"twin\": \"twin\" (#9) or \"twin\" (#10)" );
    EXPECT_EQ(
        GetRefusal( table, "Aera" ), "unknown column \"Aera\" (did you mean \"Area (\u00B5m\u00B2)\"?)" );
    EXPECT_EQ( GetRefusal( table, "mean c3" ), "unknown column \"mean c3\" (did you mean \"Mean (C1)\"?)" );
    for ( const auto& name : { "", "#0", "#14", "#-1", "#1x", "#99999999999" } )
        EXPECT_STARTS( GetRefusal( table, name ), "unknown column" ) << name;
    XPivotTable objects;
    AddTestColumn<XPivotUInt32Column>( objects, XPivotColumnDescriptor( kPivotPixelCount, "", "", "" ), {} );
    for ( const auto* name : { "area", "Area (\u00B5m\u00B2)" } )
        EXPECT_EQ(
            GetRefusal( objects, name ),
            "unknown column \"" + std::string( name ) +
                "\": the images have no pixel size (korvale measure --pixel-size sets it)" );
    EXPECT_EQ( GetRefusal( XPivotTable(), "ID" ), "unknown column \"ID\": the table has no columns" );
}

TEST( ColumnNamesTest, ShadowedByCaseAreFoundAsTheyStand )
{
    XPivotTable table;
    for ( const auto* name : { "a", "A", "A (x)", "#1", "a\r\nb" } )
        AddTestColumn<XPivotSInt32Column>(
            table, XPivotColumnDescriptor( kPivotUserDefined, name, "", "" ), {} );
    EXPECT_EQ( FindColumnByName( table, "A" ), 1u );
    EXPECT_EQ( FindColumnByName( table, "a x" ), 2u );
    EXPECT_EQ( FindColumnByName( table, "#1" ), 3u );
    EXPECT_EQ( FindColumnByName( table, "a  b" ), 4u );
}

TEST( ColumnNamesTest, StandInListsWithCommasBetweenThem )
{
    using Names = std::vector<std::string>;
    EXPECT_EQ(
        SplitColumnNames( " a b ,\"c, d\",\"\"\"e\"\"\" ,5\" disc" ),
        ( Names{ "a b", "c, d", "\"e\"", "5\" disc" } ) );
    for ( const auto* list : { "", "a,", ",a", "a,,b", "\"a", "\"a\"b", "\"a\"b,c" } )
        EXPECT_THROW( SplitColumnNames( list ), WrongUsage ) << list;
}
