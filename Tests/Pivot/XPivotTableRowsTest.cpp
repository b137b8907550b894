#include "Pivot/ColumnTools.h"
#include "Pivot/Tables/Internal/XPivotTableGroups.h"

namespace
{
/// A number and a text per row, and the row's number before anything moved.
XPivotTable MakeRows(
    const std::vector<std::optional<double>>& inNumbers, const std::vector<std::optional<XString>>& inTexts )
{
    XPivotTable table;
    table.AddColumn( MakeColumn<XPivotFloatColumn>( inNumbers ) );
    table.AddColumn( MakeColumn<XPivotStringColumn>( inTexts ) );
    auto rows = std::make_unique<XPivotUInt32Column>( kPivotID, "", "", "" );
    for ( std::uint32_t row = 0; row < inNumbers.size(); ++row )
        rows->AppendValue( row, true );
    table.AddColumn( std::move( rows ) );
    return table;
}

XPivotTable MakeRows()
{
    return MakeRows(
        { 2.0, kNaN, 2.0, std::nullopt, 1.0, -0.0, 0.0 },
        { "b", "a", "a10", "", "a9", std::nullopt, "a10" } );
}

XRows RowsOf( const XPivotTable& inTable )
{
    return dynamic_cast<const XPivotUInt32Column&>( inTable.GetColumn( 2 ) ).GetDataVector();
}
} // namespace

TEST( XPivotTableSortTest, TakesEachKeyInItsDirection )
{
    XPivotTable table = MakeRows();
    XRows order;
    table.Sort( { { 0, kSortDescending }, { 1, kSortAscending } }, &order );
    EXPECT_EQ( order, ( XRows{ 2, 0, 4, 5, 6, 3, 1 } ) ); // NaN and missing numbers are equal
    EXPECT_EQ( RowsOf( table ), order );
    table = MakeRows();
    table.Sort( { { 0 }, { 1, kSortDescending } } );
    EXPECT_EQ( RowsOf( table ), ( XRows{ 1, 3, 6, 5, 4, 0, 2 } ) );
    table.Sort( XVector<XPivotTable::XSortKey>() );
    EXPECT_EQ( RowsOf( table ), ( XRows{ 1, 3, 6, 5, 4, 0, 2 } ) );
    EXPECT_ERROR( 1006, table.Sort( { { 3 } } ) );
}

TEST( XPivotTableFilterTest, CombinesWithAndAndOr )
{
    using XFilter = XPivotTableFilter;
    XPivotTable table = MakeRows();
    const XFilter isTwo( 0, kFilterEqual, 2.0 );
    const XFilter isLong( 1, kFilterContains, XString( "10" ) );
    const XFilter isNotTwo( 0, kFilterNotEqual, 2.0 );
    EXPECT_EQ( table.FindRows( XFilter::AllOf( { isTwo, isLong } ) ), ( XRows{ 2 } ) );
    EXPECT_EQ( table.FindRows( XFilter::AnyOf( { isTwo, isLong } ) ), ( XRows{ 0, 2, 6 } ) );
    EXPECT_EQ( table.FindRows( isNotTwo ), ( XRows{ 1, 4, 5, 6 } ) ); // a missing row passes nothing
    EXPECT_EQ( table.FindRows( XFilter::AllOf( {} ) ).size(), 7u );
    EXPECT_TRUE( table.FindRows( XFilter::AnyOf( {} ) ).empty() );
    table.FilterRows( XFilter::AllOf( { XFilter::AnyOf( { isTwo, isLong } ), isNotTwo } ) );
    EXPECT_EQ( RowsOf( table ), ( XRows{ 6 } ) );
    EXPECT_ERROR( 1006, table.FindRows( XFilter( 3, kFilterEqual, 0.0 ) ) );
}

TEST( XPivotTableRowsTest, AreDuplicated )
{
    XPivotTable table = MakeRows( { 1.0, 2.0, 3.0 }, { "a", "b", "c" } );
    table.DuplicateRows( { 2, 0, 2 } );
    EXPECT_EQ( RowsOf( table ), ( XRows{ 0, 0, 1, 2, 2, 2 } ) );
    EXPECT_ERROR( 1006, table.DuplicateRows( { 6 } ) );
    table.KeepRows( { 1, 5 } );
    table.DuplicateAllRows( 2, true );
    EXPECT_EQ( RowsOf( table ), ( XRows{ 0, 0, 2, 2 } ) );
    table.DuplicateAllRows( 2, false );
    EXPECT_EQ( RowsOf( table ), ( XRows{ 0, 0, 2, 2, 0, 0, 2, 2 } ) );
    table.DuplicateAllRows( 0, false );
    EXPECT_EQ( table.GetNumRows(), 0u );
}

TEST( XPivotTableRowsTest, LoseDuplicates )
{
    XPivotTable table = MakeRows(
        { 0.0, kNaN, -0.0, std::nullopt, kNaN, std::nullopt, kNaN }, { "", "a", "", "a", "a", "a", "a b" } );
    XRows kept;
    table.RemoveDuplicates( { 0, 1 }, &kept );
    EXPECT_EQ( kept, ( XRows{ 0, 1, 3, 6 } ) );
    EXPECT_EQ( RowsOf( table ), kept );
    table.RemoveDuplicates(); // the row numbers differ
    EXPECT_EQ( table.GetNumRows(), 4u );
    table.RemoveDuplicates( { 0 } );
    EXPECT_EQ( RowsOf( table ), ( XRows{ 0, 1, 3 } ) );
    table.AddColumn( MakeColumn<XPivotSInt32Column>( { {}, {}, {} } ) );
    table.RemoveDuplicates( { 3 } ); // all its rows are missing
    EXPECT_EQ( RowsOf( table ), ( XRows{ 0 } ) );
    XPivotTable none;
    none.RemoveDuplicates( {}, &kept );
    EXPECT_TRUE( kept.empty() );
}

TEST( XPivotTableGroupsTest, AreTheSameWhenHashesCollide )
{
    const XPivotTable table = MakeRows();
    const XVector<const XPivotColumn*> keys = { &table.GetColumn( 0 ), &table.GetColumn( 1 ) };
    const auto groups = XGroupPivotTableRows( keys, table.GetNumRows() );
    const auto collided = XGroupPivotTableRows( keys, table.GetNumRows(), 1 );
    EXPECT_EQ( groups.groups, ( XRows{ 0, 1, 2, 3, 4, 5, 6 } ) );
    EXPECT_EQ( collided.groups, groups.groups );
    const auto byNumber = XGroupPivotTableRows( { &table.GetColumn( 0 ) }, table.GetNumRows(), 1 );
    EXPECT_EQ( byNumber.groups, ( XRows{ 0, 1, 0, 2, 3, 4, 4 } ) );
    EXPECT_EQ( byNumber.firstRows, ( XRows{ 0, 1, 3, 4, 5 } ) );
}

TEST( XPivotTableGroupsTest, AreTheSameWhenHashesCrowd )
{
    XPivotSInt32Column numbers;
    for ( std::int32_t row = 0; row < 6000; ++row )
        numbers.AppendValue( row % 3000, true );
    for ( const std::uint64_t hashBits : { kAllHashBits, kAllHashBits << 32, kAllHashBits << 24 } )
    {
        const auto groups = XGroupPivotTableRows( { &numbers }, 6000, hashBits );
        ASSERT_EQ( groups.GetCount(), 3000u );
        for ( std::uint32_t row = 0; row < 6000; ++row )
            ASSERT_EQ( groups.groups[row], row % 3000 );
    }
}

TEST( XPivotTableGroupsTest, AreTheSameWhereTextsShareStorage )
{
    for ( const std::uint32_t texts : { 3u, 700u, 20000u } ) // the last are too many to go by storages
    {
        XPivotStringColumn column;
        for ( std::uint32_t part = 0; part < 2; ++part ) // which have storages of their own
        {
            XPivotStringColumn added;
            for ( std::uint32_t row = 0; row < 20000; ++row )
                added.AppendValue( row % 7 == part ? XString() : XString( row % texts ), row % 5 != part );
            column += added;
        }
        const auto groups = XGroupPivotTableRows( { &column }, column.GetColumnSize() );
        const auto byValue = XGroupPivotTableRows( { &column }, column.GetColumnSize(), 1 );
        EXPECT_EQ( groups.groups, byValue.groups ) << texts;
        EXPECT_EQ( groups.firstRows, byValue.firstRows ) << texts;
    }
}
