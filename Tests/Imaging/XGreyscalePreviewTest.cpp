#include "Imaging/Pages/XGreyscalePreview.h"

#include "Imaging/TestPages.h"

namespace
{
constexpr auto kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr auto kInfinity = std::numeric_limits<float>::infinity();
} // namespace

TEST( XGreyscalePreviewTest, IsStretched )
{
    EXPECT_EQ(
        XMakeGreyscalePreview( MakePage<std::uint16_t>( 3, { 1000, 9, 1500, 9, 2000, 9 }, 2 ), 0, 1 ).levels,
        ( std::vector<std::uint8_t>{ 0, 128, 255 } ) );
    EXPECT_EQ(
        XMakeGreyscalePreview( MakePage<float>( 5, { 0, kNaN, 1, kInfinity, -kInfinity } ), 0, 1 ).levels,
        ( std::vector<std::uint8_t>{ 0, 0, 255, 255, 0 } ) );
    EXPECT_EQ(
        XMakeGreyscalePreview( MakePage<float>( 4, { 7, kNaN, 7, -kInfinity } ), 0, 1 ).levels,
        ( std::vector<std::uint8_t>{ 128, 0, 128, 0 } ) );
    // A few outliers do not darken all others.
    std::vector<std::uint16_t> samples( 10000, 100 );
    std::fill( samples.begin(), samples.begin() + 5000, std::uint16_t{ 300 } );
    samples[7] = 60000;
    EXPECT_EQ( XMakeGreyscalePreview( MakePage( 100, samples ), 0, 1 ).levels[0], 255 );
}

TEST( XGreyscalePreviewTest, IsReducedAndEnlarged )
{
    const auto page = MakePage<std::uint8_t>( 3, { 0, 200, 0, 0, 200, 0, 200, 0, 200 } );
    const auto reduced = XMakeGreyscalePreview( page, 0, 2 );
    EXPECT_EQ( reduced.width, 2u );
    EXPECT_EQ( reduced.height, 2u );
    EXPECT_EQ( reduced.levels, ( std::vector<std::uint8_t>{ 127, 0, 127, 255 } ) );
    const auto enlarged = XEnlargePicture( { 2, 1, { 1, 2 } }, 2 );
    EXPECT_EQ( enlarged.width, 4u );
    EXPECT_EQ( enlarged.height, 2u );
    EXPECT_EQ( enlarged.levels, ( std::vector<std::uint8_t>{ 1, 1, 2, 2, 1, 1, 2, 2 } ) );
}
