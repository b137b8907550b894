#include "Imaging/Objects/XConnectedComponents.h"

#include "Imaging/TestPages.h"

#include <array>
#include <gtest/gtest.h>

namespace
{
using Labels = std::vector<std::uint32_t>;
constexpr std::uint32_t kBackground = XPixelRun::kNoObject;

/// Numbers the components by flooding each from its first pixel.
Labels Flood( const std::vector<bool>& inMask, int inWidth, int inHeight, XConnectivity inConnectivity )
{
    Labels labels( inMask.size(), kBackground );
    std::uint32_t next = 0;
    for ( int start = 0; start < inWidth * inHeight; ++start )
    {
        if ( !inMask[static_cast<std::size_t>( start )] ||
             labels[static_cast<std::size_t>( start )] != kBackground )
            continue;
        std::vector<int> open{ start };
        labels[static_cast<std::size_t>( start )] = next;
        while ( !open.empty() )
        {
            const auto x = open.back() % inWidth, y = open.back() / inWidth;
            open.pop_back();
            for ( int dy = -1; dy <= 1; ++dy )
                for ( int dx = -1; dx <= 1; ++dx )
                {
                    const auto isCorner = dx != 0 && dy != 0;
                    if ( x + dx < 0 || x + dx >= inWidth || y + dy < 0 || y + dy >= inHeight ||
                         ( isCorner && inConnectivity == XConnectivity::kEdges ) )
                        continue;
                    const auto other = static_cast<std::size_t>( ( y + dy ) * inWidth + x + dx );
                    if ( inMask[other] && labels[other] == kBackground )
                    {
                        labels[other] = next;
                        open.push_back( static_cast<int>( other ) );
                    }
                }
        }
        ++next;
    }
    return labels;
}

Labels Paint( const XLabelledObjects& inFound, const WImagePage& inPage )
{
    Labels labels( std::size_t{ inPage.width } * inPage.height, kBackground );
    for ( const auto& run : inFound.runs )
        std::fill(
            labels.begin() + run.row * inPage.width + run.first,
            labels.begin() + run.row * inPage.width + run.end, run.object );
    return labels;
}

/// The shape of every object, pixel by pixel.
std::vector<XObjectShape> Measure( const Labels& inLabels, int inWidth, int inHeight, std::size_t inCount )
{
    std::vector<XObjectShape> shapes( inCount );
    const auto at = [&]( int inX, int inY )
    {
        const auto isInside = inX >= 0 && inX < inWidth && inY >= 0 && inY < inHeight;
        return isInside ? inLabels[static_cast<std::size_t>( inY * inWidth + inX )] : kBackground;
    };
    for ( int y = 0; y < inHeight; ++y )
        for ( int x = 0; x < inWidth; ++x )
        {
            const auto label = at( x, y );
            if ( label == kBackground )
                continue;
            const auto column = static_cast<std::uint32_t>( x ), row = static_cast<std::uint32_t>( y );
            const auto isStart = at( x - 1, y ) != label, hasAbove = at( x, y - 1 ) == label;
            shapes[label].Add( { column, row, 1, hasAbove, isStart, column, row, column, row, column } );
        }
    return shapes;
}

/// Edges of pixels towards another label, counted one by one.
std::vector<std::uint64_t>
CountEdges( const Labels& inLabels, int inWidth, int inHeight, std::size_t inCount )
{
    std::vector<std::uint64_t> edges( inCount );
    for ( int y = 0; y < inHeight; ++y )
        for ( int x = 0; x < inWidth; ++x )
        {
            const auto label = inLabels[static_cast<std::size_t>( y * inWidth + x )];
            if ( label == kBackground )
                continue;
            for ( const auto& [dx, dy] :
                  std::array<std::array<int, 2>, 4>{ { { 1, 0 }, { -1, 0 }, { 0, 1 }, { 0, -1 } } } )
            {
                const auto isOutside = x + dx < 0 || x + dx >= inWidth || y + dy < 0 || y + dy >= inHeight;
                if ( isOutside ||
                     inLabels[static_cast<std::size_t>( ( y + dy ) * inWidth + x + dx )] != label )
                    ++edges[label];
            }
        }
    return edges;
}

void ExpectFloodedObjects( const WImagePage& inPage, const std::vector<bool>& inMask, double inThreshold )
{
    const auto width = static_cast<int>( inPage.width ), height = static_cast<int>( inPage.height );
    for ( const auto connectivity : { XConnectivity::kEdges, XConnectivity::kEdgesAndCorners } )
    {
        const auto labels = Flood( inMask, width, height, connectivity );
        const auto found = XFindObjects( inPage, 0, inThreshold, connectivity );
        ASSERT_EQ( Paint( found, inPage ), labels ) << width << " x " << height;

        const auto shapes = Measure( labels, width, height, found.shapes.size() );
        const auto edges = CountEdges( labels, width, height, found.shapes.size() );
        for ( std::size_t i = 0; i < shapes.size(); ++i )
        {
            const auto& shape = found.shapes[i];
            EXPECT_EQ( shape.pixelCount, shapes[i].pixelCount );
            EXPECT_EQ( shape.sumX, shapes[i].sumX );
            EXPECT_EQ( shape.sumY, shapes[i].sumY );
            EXPECT_EQ( shape.left, shapes[i].left );
            EXPECT_EQ( shape.top, shapes[i].top );
            EXPECT_EQ( shape.firstX, shapes[i].firstX );
            EXPECT_EQ( shape.GetBoundsX(), shapes[i].GetBoundsX() );
            EXPECT_EQ( shape.GetBoundsY(), shapes[i].GetBoundsY() );
            EXPECT_EQ( shape.GetPerimeter(), edges[i] );
        }
    }
}

template<class T>
void TestNoise(
    std::mt19937& ioRandom, std::uint32_t inWidth, std::uint32_t inHeight, std::uint32_t inPerCent )
{
    const auto samples = MakeNoise<T>( ioRandom, std::size_t{ inWidth } * inHeight, 100 );
    std::vector<bool> mask( samples.size() );
    for ( std::size_t i = 0; i < samples.size(); ++i )
        mask[i] = samples[i] >= static_cast<T>( inPerCent );
    ExpectFloodedObjects( MakePage<T>( inWidth, samples ), mask, inPerCent - 0.5 );
}
} // namespace

TEST( XConnectedComponentsTest, FindsWhatAFloodFillFinds )
{
    std::mt19937 random( 7 );
    for ( const std::uint32_t width : { 1u, 2u, 63u, 64u, 65u, 130u } )
        for ( const std::uint32_t perCent : { 5u, 40u, 60u, 95u, 100u } )
        {
            TestNoise<std::uint8_t>( random, width, 37, perCent );
            TestNoise<std::uint16_t>( random, width, 1, perCent );
            TestNoise<float>( random, width, 20, perCent );
        }
}

TEST( XConnectedComponentsTest, JoinsSpiralsAndCombs )
{
    // Branches that meet late join components that were numbered far apart.
    const std::vector<std::uint8_t> samples{
        1, 0, 1, 0, 1, 0, 1, 1, 1, //
        1, 0, 1, 0, 1, 0, 1, 0, 1, //
        1, 1, 1, 0, 1, 0, 0, 0, 1, //
        0, 0, 0, 0, 1, 1, 1, 1, 1, //
        1, 0, 0, 1, 0, 0, 0, 0, 0, //
        0, 1, 1, 0, 0, 0, 1, 0, 1, //
    };
    std::vector<bool> mask( samples.begin(), samples.end() );
    ExpectFloodedObjects( MakePage( 9, samples ), mask, 0 );
}

TEST( XConnectedComponentsTest, TakesThresholdsOutsideTheSamplesRange )
{
    const auto page = MakePage<std::uint8_t>( 2, { 0, 255, 0, 255 } );
    EXPECT_EQ( XFindObjects( page, 0, -1, XConnectivity::kEdges ).shapes.at( 0 ).pixelCount, 4u );
    EXPECT_TRUE( XFindObjects( page, 0, 255, XConnectivity::kEdges ).shapes.empty() );
    EXPECT_TRUE( XFindObjects( page, 0, 1e300, XConnectivity::kEdges ).shapes.empty() );

    const auto infinity = std::numeric_limits<float>::infinity();
    const auto floats = MakePage<float>( 4, { -infinity, infinity, std::nanf( "" ), 0.1f } );
    EXPECT_EQ( XFindObjects( floats, 0, -1e300, XConnectivity::kEdges ).shapes.size(), 2u );
    EXPECT_EQ( XFindObjects( floats, 0, 1e300, XConnectivity::kEdges ).shapes.size(), 1u );
    EXPECT_EQ( XFindObjects( floats, 0, double{ 0.1f }, XConnectivity::kEdges ).shapes.size(), 1u );
    EXPECT_EQ(
        XFindObjects( floats, 0, std::nextafter( double{ 0.1f }, 0 ), XConnectivity::kEdges ).shapes.size(),
        2u );
}

TEST( XConnectedComponentsTest, LeavesOutSmallObjectsAndNumbersTheRest )
{
    const auto page = MakePage<std::uint8_t>( 7, { 1, 0, 1, 1, 0, 0, 0, 0, 0, 0, 1, 0, 1, 1 } );
    const auto found = XFindObjects( page, 0, 0, XConnectivity::kEdges, 2 );
    const Labels expected{ kBackground, kBackground, 0,           0, kBackground, kBackground, kBackground,
                           kBackground, kBackground, kBackground, 0, kBackground, 1,           1 };
    EXPECT_EQ( Paint( found, page ), expected );
    EXPECT_EQ( found.shapes.size(), 2u );
}
