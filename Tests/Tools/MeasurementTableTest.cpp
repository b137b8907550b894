#include "Imaging/XMeasurementTable.h"
#include "Measuring/MeasurementSummary.h"

#include "Imaging/TestPages.h"
#include "Memory/XMemoryManager.h"
#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"

#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace
{
/// Two images of one name; both pages of each hold one object with one inside it, and one without.
XPivotTable MeasureTwoImages()
{
    XMeasureSettings settings;
    settings.objects.threshold = 0;
    settings.inside = { 0, 5, 1 };
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

TEST( MeasurementTable, KnowsWhoBelongsToWhom )
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

TEST( MeasurementTable, GivesObjectsIdentitiesOfTheirOwnButTheSameEveryTime )
{
    auto first = MeasureTwoImages(), second = MeasureTwoImages();
    const auto ids = GetColumn<XPivotRowRefColumn>( first, kPivotID ).GetUUIDVector();
    EXPECT_EQ( std::set<XUUID>( ids.begin(), ids.end() ).size(), 12u );
    EXPECT_EQ( GetColumn<XPivotRowRefColumn>( second, kPivotID ).GetUUIDVector(), ids );
}

/// Pages of different objects are kept, purged and brought back, in a budget that has room for them or has none; each
/// gets its own back, and what was in use before is in use again.
TEST( XMeasurementMemory, BringsBackTheObjectsOfEveryPage )
{
    auto& manager = *XMemoryManager::GetManager();
    const auto budget = manager.GetBudget();
    const auto inUse = manager.GetBytesInUse();
    XMeasureSettings settings;
    settings.objects.threshold = 0;
    settings.inside = { 0, 5, 1 };
    const auto makePage = [&]( std::uint8_t inValue ) {
        return XMeasurePage( MakePage<std::uint8_t>( 5, { 1, inValue, 1, 0, inValue } ), settings );
    };
    for ( const auto size : { budget, inUse } )
    {
        manager.SetBudget( size );
        XPageMemory pages;
        XMeasurementMemory memory( pages );
        std::vector<XImageMeasurement> plain{ { "a.tif", {} } }, kept = plain;
        for ( std::uint8_t value = 6; value < 16; ++value )
        {
            plain[0].pages.push_back( makePage( value ) );
            kept[0].pages.push_back( makePage( value ) );
            memory.Keep( kept[0].pages.back() );
            EXPECT_EQ( kept[0].pages.back().shapes.empty(), size == budget );
        }
        EXPECT_EQ( kept[0].GetObjectCount(), plain[0].GetObjectCount() );
        manager.FreeMemory( manager.GetBytesInUse() );
        const auto table = XMakeMeasurementTable( kept, settings, &memory );
        EXPECT_EQ( manager.GetBytesInUse() > inUse, size == budget ); // The table counts, if there is room.
        const auto expected = XMakeMeasurementTable( plain, settings );
        for ( std::uint32_t column = 0; column < expected.GetNumColumns(); ++column )
            EXPECT_EQ(
                table.GetColumn( column ).GetStringVector(), expected.GetColumn( column ).GetStringVector() );
    }
    manager.SetBudget( budget );
    EXPECT_EQ( manager.GetBytesInUse(), inUse );
}

TEST( MeasurementSummary, ShowsTheMaximumOfNegativeIntensitiesAndThatOfInnerObjects )
{
    XMeasureSettings settings;
    settings.objects.threshold = -10;
    settings.inside = { 0, -6, 1 };
    const auto dark = XMeasurePage( MakePage<float>( 4, { -5, -9, -20, -7 } ), settings );
    const auto bright = XMeasurePage( MakePage<float>( 1, { 9 } ), settings );
    std::vector<XImageMeasurement> images{ { "dark", { dark } }, { "bright", { bright } } };
    std::ostringstream out;
    PrintSummary( images, XMakeMeasurementTable( images, settings ), 0, out );
    std::istringstream lines( out.str() );
    std::vector<std::string> maxima;
    for ( std::string line; std::getline( lines, line ); )
        maxima.push_back( line.substr( line.find_last_of( ' ' ) + 1 ) );
    EXPECT_EQ( maxima, ( std::vector<std::string>{ "(C1)", "Max", "-7", "-5", "9", "9", "9", "9" } ) );
}
