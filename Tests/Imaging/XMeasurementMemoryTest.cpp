#include "Imaging/Measurements/XMeasurementMemory.h"

#include "Imaging/Measurements/XMeasurementTable.h"
#include "Imaging/TestPages.h"
#include "Memory/XMemoryManager.h"

/// Pages of different objects are kept, purged and brought back, in a budget that has room for them or has none; each
/// gets its own back, and what was in use before is in use again.
TEST( XMeasurementMemoryTest, BringsBackTheObjectsOfEveryPage )
{
    auto& manager = *XMemoryManager::GetManager();
    const auto budget = manager.GetBudget();
    const auto inUse = manager.GetBytesInUse();
    XMeasureSettings settings;
    settings.objects.threshold = 0;
    settings.children = { 0, 5, 1 };
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
