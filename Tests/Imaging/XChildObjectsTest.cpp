#include "Imaging/Objects/XChildObjects.h"

#include "Imaging/TestPages.h"

namespace
{
XChildObjects FindInside(
    const WImagePage& inPage, const XObjectSettings& inSettings, XConnectivity inConnectivity,
    std::uint64_t inLeastPixels = 1 )
{
    const auto objects = XFindObjects( inPage, 0, 0, inConnectivity, inLeastPixels );
    return XFindChildObjects( inPage, objects, inSettings, inConnectivity );
}

std::vector<std::uint32_t> GetPixelCounts( const XLabelledObjects& inFound )
{
    std::vector<std::uint32_t> counts;
    for ( const auto& shape : inFound.shapes )
        counts.push_back( shape.pixelCount );
    return counts;
}

using Numbers = std::vector<std::uint32_t>;
} // namespace

TEST( XChildObjectsTest, KeepToTheirObjects )
{
    // The second and the third object touch by a corner: one object, with one inside it, when corners connect.
    const auto page = MakePage<std::uint8_t>(
        6, { 9, 1, 9, 0, 8, 1, 9, 1, 1, 0, 1, 8, 1, 1, 1, 0, 0, 0, 0, 0, 0, 7, 1, 1, 0, 7, 7, 0, 0, 2 } );
    const XObjectSettings above5{ 0, 5, 1 };
    auto inner = FindInside( page, above5, XConnectivity::kEdges );
    EXPECT_EQ( GetPixelCounts( inner.objects ), ( Numbers{ 2, 1, 1, 1, 1, 2 } ) );
    EXPECT_EQ( inner.parents, ( Numbers{ 0, 0, 1, 1, 2, 3 } ) );

    inner = FindInside( page, above5, XConnectivity::kEdgesAndCorners );
    EXPECT_EQ( GetPixelCounts( inner.objects ), ( Numbers{ 2, 1, 2, 3 } ) );
    EXPECT_EQ( inner.parents, ( Numbers{ 0, 0, 1, 0 } ) );

    // Objects that are too small have nothing inside, and inner objects have a limit of their own.
    inner = FindInside( page, { 0, 5, 2 }, XConnectivity::kEdges, 4 );
    EXPECT_EQ( GetPixelCounts( inner.objects ), Numbers{ 2 } );
    EXPECT_EQ( inner.parents, Numbers{ 0 } );
}

TEST( XChildObjectsTest, EndWhereTheirObjectTouchesAnother )
{
    // Three objects of two columns each, which touch; all bright pixels are connected.
    const auto page = MakePage<std::uint8_t>( 6, { 9, 9, 9, 9, 9, 9, 9, 1, 1, 9, 9, 1, 1, 9, 9, 1, 1, 9 } );
    XLabelCollector collector;
    for ( int row = 0; row < 3; ++row )
        collector.AddRow( Numbers{ 7, 7, 4'294'967'295, 4'294'967'295, 3, 3 } );
    const auto inner =
        XFindChildObjects( page, collector.TakeObjects(), { 0, 5, 1 }, XConnectivity::kEdgesAndCorners );
    EXPECT_EQ( GetPixelCounts( inner.objects ), ( Numbers{ 4, 4, 4 } ) );
    EXPECT_EQ( inner.parents, ( Numbers{ 0, 1, 2 } ) );
}

TEST( XChildObjectsTest, TakeTheThresholdOfTheirOwnObject )
{
    // Two objects of unlike brightness; the third is flat, the fourth a single pixel.
    const auto page =
        MakePage<std::uint16_t>( 12, { 10, 11, 30, 0, 1000, 5000, 5001, 0, 700, 700, 0, 65535 } );
    const auto inner = FindInside( page, {}, XConnectivity::kEdges );
    ASSERT_EQ( GetPixelCounts( inner.objects ), ( Numbers{ 1, 2 } ) );
    EXPECT_EQ( inner.objects.shapes[0].left, 2u );
    EXPECT_EQ( inner.objects.shapes[1].left, 5u );
    EXPECT_EQ( inner.parents, ( Numbers{ 0, 1 } ) );
}

TEST( XChildObjectsTest, AreFoundInAnotherChannel )
{
    const auto page = MakePage<float>( 3, { 1, -3, 1, -1, 0, 5 }, 2 );
    const auto inner = FindInside( page, { 1, -2, 1 }, XConnectivity::kEdges );
    EXPECT_EQ( GetPixelCounts( inner.objects ), Numbers{ 1 } );
    EXPECT_EQ( inner.objects.shapes.at( 0 ).left, 1u );
}
