#include "Memory/WFileMapping.h"

#include "Testing.h"

TEST( WFileMappingTest, KeepsThePageFilesBytesWithoutAView )
{
    // Smaller than a page, one more than a page, and one less and one more than several large pages.
    for ( const std::uint64_t size : { 1, 4097, 6 * 1024 * 1024 - 1, 6 * 1024 * 1024 + 1 } )
    {
        WFileMapping mapping( size );
        mapping.MapView( size, XFileMappingBase::kPageReadWrite );
        auto* bytes = static_cast<std::uint8_t*>( mapping.GetViewData() );
        EXPECT_TRUE( std::all_of( bytes, bytes + size, []( std::uint8_t inByte ) { return inByte == 0; } ) );
        std::vector<std::uint8_t> written( size );
        for ( std::uint64_t i = 0; i < size; ++i )
            written[i] = bytes[i] = static_cast<std::uint8_t>( i * 7 + 1 );

        mapping.UnmapView();
        EXPECT_EQ( mapping.GetViewData(), nullptr );
        mapping.MapView( size, XFileMappingBase::kPageReadOnly );
        bytes = static_cast<std::uint8_t*>( mapping.GetViewData() );
        EXPECT_TRUE( std::equal( written.begin(), written.end(), bytes ) );
    }
}
