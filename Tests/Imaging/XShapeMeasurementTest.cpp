#include "Imaging/Measurements/XShapeMeasurement.h"

#include "Imaging/TestPages.h"

#include <numbers>

namespace
{
/// Measures the only object of a page; '#' belongs to it.
XShapeMeasurement MeasureShape( std::size_t inWidth, const std::string& inPixels )
{
    XLabelCollector collector;
    for ( std::size_t place = 0; place < inPixels.size(); place += inWidth )
    {
        std::vector<std::uint32_t> labels;
        for ( const auto pixel : inPixels.substr( place, inWidth ) )
            labels.push_back( pixel == '#' ? 9 : 0 );
        collector.AddRow( labels );
    }
    const auto objects = collector.TakeObjects();
    EXPECT_EQ( objects.shapes.size(), 1u );
    return XMeasureShapes( objects ).at( 0 );
}
} // namespace

TEST( XShapeMeasurementTest, MeasuresSmallObjectsAsByHand )
{
    using std::numbers::pi;
    const auto pixel = MeasureShape( 3, "...#....." );
    EXPECT_EQ( pixel.majorAxis, 0 );
    EXPECT_EQ( pixel.eccentricity, 0 );
    EXPECT_EQ( pixel.orientation, pi / 4 );
    EXPECT_EQ( pixel.maxFeret, 1 );
    EXPECT_DOUBLE_EQ( pixel.minFeret, std::sqrt( 0.5 ) );
    EXPECT_DOUBLE_EQ( pixel.perimeter, pi / 4 * ( 2 + std::sqrt( 2.0 ) ) );
    EXPECT_EQ( pixel.convexArea, 1u );

    const auto line = MeasureShape(
        8,
        "........"
        ".######." );
    EXPECT_DOUBLE_EQ( line.majorAxis, 4 * std::sqrt( 35.0 / 12 ) );
    EXPECT_EQ( line.minorAxis, 0 );
    EXPECT_EQ( line.eccentricity, 1 );
    EXPECT_EQ( line.orientation, pi / 2 );
    EXPECT_EQ( line.maxFeret, 6 );
    EXPECT_EQ( line.minFeret, 1 );

    // All of the page, which has nothing around it.
    const auto full = MeasureShape( 3, "#########" );
    EXPECT_DOUBLE_EQ( full.maxFeret, std::sqrt( 13.0 ) );
    EXPECT_EQ( full.minFeret, 3 );
    EXPECT_EQ( full.majorAxis, full.minorAxis );
}

TEST( XShapeMeasurementTest, CountsHolesAndConvexPixels )
{
    const auto count = []( std::size_t inWidth, const std::string& inPixels )
    {
        const auto shape = MeasureShape( inWidth, inPixels );
        return std::pair( shape.holes, shape.convexArea );
    };
    using Counts = std::pair<std::uint64_t, std::uint64_t>;
    EXPECT_EQ( count( 3, "####.####" ), Counts( 1, 9 ) );
    EXPECT_EQ( count( 3, ".#.#.#.#." ), Counts( 1, 5 ) ); // closed by corners
    EXPECT_EQ( count( 4, "#####.#.####" ), Counts( 1, 12 ) );
    EXPECT_EQ( count( 5, "######.#.######" ), Counts( 2, 15 ) );
    EXPECT_EQ( count( 5, "#...#.....#...#" ), Counts( 0, 15 ) ); // four parts, and a row without any
    EXPECT_EQ( count( 5, "#....#....#####" ), Counts( 0, 11 ) );
    // A part inside the hole of another one
    EXPECT_EQ( count( 5, "######...##.#.##...######" ), Counts( 1, 25 ) );
}
