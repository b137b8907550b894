#include "Imaging/Objects/XContours.h"

#include "Imaging/Objects/XConnectedComponents.h"
#include "Imaging/TestPages.h"

namespace
{
using Loops = std::vector<XContourLoop>;

/// The contours of the pixels that are drawn as '#'.
std::vector<Loops> Trace(
    std::uint32_t inWidth, std::string_view inPixels,
    XConnectivity inConnectivity = XConnectivity::kEdgesAndCorners )
{
    std::vector<std::uint8_t> samples;
    for ( const auto pixel : inPixels )
        samples.push_back( pixel == '#' );
    return XTraceContours( XFindObjects( MakePage( inWidth, samples ), 0, 0.5, inConnectivity ) );
}

XContourLoop StartAt( const XPixelCorner& inCorner, XContourLoop inLoop )
{
    std::rotate( inLoop.begin(), std::ranges::find( inLoop, inCorner ), inLoop.end() );
    return inLoop;
}

std::int64_t Subtract( std::uint32_t inOne, std::uint32_t inOther )
{
    return std::int64_t{ inOne } - inOther;
}

struct Sums
{
    std::int64_t length = 0;
    std::int64_t area = 0; ///< Holes count as less than nothing.

    explicit Sums( const Loops& inLoops )
    {
        for ( const auto& loop : inLoops )
            for ( std::size_t i = 0; i < loop.size(); ++i )
            {
                const auto& from = loop[i];
                const auto& to = loop[( i + 1 ) % loop.size()];
                // Every line is horizontal or vertical, and turns at its end.
                EXPECT_TRUE( ( from.x == to.x ) != ( from.y == to.y ) );
                EXPECT_EQ( from.x == to.x, i % 2 == ( loop[0].x == loop[1].x ? 0u : 1u ) );
                length += std::abs( Subtract( to.x, from.x ) ) + std::abs( Subtract( to.y, from.y ) );
                area += std::int64_t{ from.x } * Subtract( to.y, from.y );
            }
    }
};
} // namespace

TEST( XContoursTest, RunAroundPixels )
{
    const auto outlines = Trace(
        4,
        "#..."
        ".##."
        ".##." );
    ASSERT_EQ( outlines.size(), 1u );
    // They touch at a corner and do not cross there.
    ASSERT_EQ( outlines[0].size(), 2u );
    EXPECT_EQ(
        StartAt( { 0, 0 }, outlines[0][0] ), ( XContourLoop{ { 0, 0 }, { 1, 0 }, { 1, 1 }, { 0, 1 } } ) );
    EXPECT_EQ(
        StartAt( { 1, 1 }, outlines[0][1] ), ( XContourLoop{ { 1, 1 }, { 3, 1 }, { 3, 3 }, { 1, 3 } } ) );
}

TEST( XContoursTest, FollowObjectsThatTouchAndHaveGaps )
{
    std::mt19937 random( 3 );
    for ( int i = 0; i < 300; ++i )
    {
        const auto width = 1 + random() % 20, height = 1 + random() % 20;
        const auto labels = MakeNoise<std::uint32_t>( random, width * height, 1 + i % 9 );
        XLabelCollector collector;
        for ( std::size_t row = 0; row < height; ++row )
            collector.AddRow( { &labels[row * width], width } );
        const auto objects = collector.TakeObjects();
        const auto outlines = XTraceContours( objects );
        ASSERT_EQ( outlines.size(), objects.shapes.size() );
        for ( std::size_t object = 0; object < outlines.size(); ++object )
        {
            const auto& shape = objects.shapes[object];
            const auto label = labels[shape.top * width + shape.firstX];
            EXPECT_EQ( shape.pixelCount, std::ranges::count( labels, label ) );
            EXPECT_EQ(
                std::ranges::find( labels, label ) - labels.begin(), shape.top * width + shape.firstX );
            const Sums sums( outlines[object] );
            EXPECT_EQ( sums.length, static_cast<std::int64_t>( shape.GetPerimeter() ) );
            EXPECT_EQ( sums.area, shape.pixelCount );
        }
    }
}

TEST( XContoursTest, AreAsLongAsThePerimeterAndHoldEveryPixel )
{
    std::mt19937 random( 1 );
    for ( int i = 0; i < 300; ++i )
    {
        const auto width = static_cast<std::uint32_t>( 1 + random() % 20 );
        const auto samples = MakeNoise<std::uint8_t>( random, width * ( 1 + random() % 20 ), 10 );
        const auto connectivity = i % 2 ? XConnectivity::kEdges : XConnectivity::kEdgesAndCorners;
        const auto found = XFindObjects(
            MakePage( width, samples ), 0, static_cast<double>( i % 9 ), connectivity, 1 + random() % 3 );
        const auto outlines = XTraceContours( found );
        ASSERT_EQ( outlines.size(), found.shapes.size() );
        for ( std::size_t object = 0; object < outlines.size(); ++object )
        {
            const Sums sums( outlines[object] );
            EXPECT_EQ( sums.length, static_cast<std::int64_t>( found.shapes[object].GetPerimeter() ) );
            EXPECT_EQ( sums.area, found.shapes[object].pixelCount );
        }
    }
}
