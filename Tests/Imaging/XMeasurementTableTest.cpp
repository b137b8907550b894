#include "Imaging/Measurements/XMeasurementTable.h"

#include "Imaging/TestPages.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"

namespace
{
/// Two images of one name; both pages of each hold one object with one inside it, and one without.
XPivotTable MeasureTwoImages()
{
    XMeasureSettings settings;
    settings.objects.threshold = 0;
    settings.children = { 0, 5, 1 };
    const auto page = XMeasurePage( MakePage<std::uint8_t>( 5, { 1, 9, 1, 0, 1 } ), settings );
    std::vector images( 2, XImageMeasurement{ "a.tif", { page, page } } );
    return XMakeMeasurementTable( images, settings );
}

template<class Column>
Column& GetColumn( XPivotTable& inTable, XPivotColumnID inID )
{
    auto* column = inTable.FindColumn( XPivotColumnDescriptor( inID, XString(), XString(), XString() ) );
    return dynamic_cast<Column&>( *column );
}
} // namespace

TEST( XMeasurementTableTest, KnowsWhoBelongsToWhom )
{
    auto table = MeasureTwoImages();
    ASSERT_EQ( table.GetNumRows(), 12u );
    const auto& id = GetColumn<XPivotRowRefColumn>( table, kPivotID );
    const auto& parent = GetColumn<XPivotOtherRowRefColumn>( table, kPivotParentID );
    for ( std::uint32_t row = 0; row < 12; ++row )
    {
        EXPECT_EQ( id.GetDataUserVisibleID( row ), row + 1 );
        EXPECT_EQ( parent.DoesDataExist( row ), row % 3 == 2 );
        EXPECT_EQ( parent.GetDataUserVisibleID( row ), row % 3 == 2 ? row - 1 : 0 );
    }

    // Still so when the rows have moved and the objects of the first page are gone.
    table.Sort( 0, XPivotTable::kSortDescending, nullptr );
    table.DeleteRows( { 9, 10, 11 } );
    for ( std::uint32_t row = 0; row < 9; row += 3 )
        EXPECT_EQ( id.FindDataUUID( parent.GetDataUUID( row ) ), static_cast<std::int32_t>( row + 2 ) );
}

TEST( XMeasurementTableTest, GivesObjectsIdentitiesOfTheirOwnButTheSameEveryTime )
{
    auto first = MeasureTwoImages(), second = MeasureTwoImages();
    const auto ids = GetColumn<XPivotRowRefColumn>( first, kPivotID ).GetUUIDVector();
    EXPECT_EQ( std::set<XUUID>( ids.begin(), ids.end() ).size(), 12u );
    EXPECT_EQ( GetColumn<XPivotRowRefColumn>( second, kPivotID ).GetUUIDVector(), ids );

    // Two objects that interlock have the same sums and bounds.
    XPageObjects objects;
    XLabelCollector collector;
    for ( const auto& row : { std::vector<std::uint32_t>{ 1, 2 }, { 2, 1 } } )
        collector.AddRow( row );
    objects.outer = collector.TakeObjects();
    std::vector images( 1, XImageMeasurement{ "a.tif", {} } );
    images[0].pages.push_back( XMeasureObjects( MakePage<std::uint8_t>( 2, { 5, 5, 5, 5 } ), objects ) );
    auto table = XMakeMeasurementTable( images, {} );
    const auto interlocked = GetColumn<XPivotRowRefColumn>( table, kPivotID ).GetUUIDVector();
    ASSERT_EQ( interlocked.size(), 2u );
    EXPECT_NE( interlocked[0], interlocked[1] );
}
