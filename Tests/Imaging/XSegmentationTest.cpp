#include "Imaging/Objects/XSegmentation.h"

#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/Pages/Internal/XVectorLoops.h"
#include "Imaging/TestPages.h"
#include "Imaging/Thresholds/XLocalThreshold.h"

namespace
{
using enum XThresholdMethod;

constexpr std::array kGlobalMethods{ kOtsu, kLi, kTriangle, kYen, kIsodata, kMultiOtsu };

double FindThreshold( const WImagePage& inPage, const XAutomaticThreshold& inSettings )
{
    return XGetAutomaticThreshold( inPage, 0, inSettings );
}

/// Two humps of unequal height and width.
template<class T>
WImagePage MakeHumps()
{
    std::vector<T> samples;
    for ( int i = 0; i < 400; ++i )
        samples.push_back( static_cast<T>( 30 + i * i % 23 + ( i % 5 == 0 ? 60 + i * 7 % 90 : 0 ) ) );
    return MakePage<T>( 20, samples );
}

std::vector<bool> ListMarked( const XPixelMask& inMask )
{
    std::vector<bool> marked;
    for ( std::uint32_t y = 0; y < inMask.GetHeight(); ++y )
        for ( std::uint32_t x = 0; x < inMask.GetWidth(); ++x )
            marked.push_back( inMask.GetRow( y )[x / 64] >> x % 64 & 1 );
    return marked;
}
} // namespace

TEST( XSegmentationTest, HasTheThresholdsOfScikitImage )
{
    // From threshold_otsu, threshold_li, ... of version 0.19.3.
    const auto page = MakeHumps<std::uint16_t>();
    EXPECT_EQ( FindThreshold( page, { .method = kOtsu } ), 48.0 );
    EXPECT_NEAR( FindThreshold( page, { .method = kLi } ), 69.05447545990657, 1e-5 );
    EXPECT_EQ( FindThreshold( page, { .method = kTriangle } ), 35.0 );
    EXPECT_EQ( FindThreshold( page, { .method = kYen } ), 113.0 );
    EXPECT_EQ( FindThreshold( page, { .method = kIsodata } ), 89.0 );
    const auto floats = MakeHumps<float>();
    EXPECT_EQ( FindThreshold( floats, { .method = kOtsu } ), 47.923828125 );
    EXPECT_NEAR( FindThreshold( floats, { .method = kLi } ), 69.05447387695312, 1e-5 );
    EXPECT_EQ( FindThreshold( floats, { .method = kTriangle } ), 31.572265625 );
    EXPECT_EQ( FindThreshold( floats, { .method = kYen } ), 112.701171875 );
    EXPECT_EQ( FindThreshold( floats, { .method = kIsodata } ), 88.802734375 );
}

TEST( XSegmentationTest, DividesIntoClasses )
{
    const auto page = MakeHumps<std::uint8_t>();
    const auto find = [&]( std::uint32_t inClasses, std::uint32_t inExcluded )
    {
        return FindThreshold(
            page, { .method = kMultiOtsu, .classes = inClasses, .excludedClasses = inExcluded } );
    };
    EXPECT_EQ( find( 2, 1 ), 48 );
    EXPECT_EQ( find( 3, 1 ), 48 );
    EXPECT_EQ( find( 3, 2 ), 143 );
    EXPECT_EQ( find( 3, 0 ), 143 );
    EXPECT_EQ( find( 4, 1 ), 39 );
    EXPECT_EQ( find( 4, 2 ), 48 );
    EXPECT_EQ( find( 4, 3 ), 143 );
    EXPECT_EQ( find( 5, 1 ), 39 );
    EXPECT_EQ( find( 5, 2 ), 48 );
    EXPECT_EQ( find( 5, 3 ), 124 );
    EXPECT_EQ( find( 5, 4 ), 153 );
    // As many classes as levels, at most.
    const auto few = MakePage<std::uint8_t>( 3, { 9, 40, 9, 41, 40, 9 } );
    EXPECT_EQ( FindThreshold( few, { .method = kMultiOtsu, .classes = 3, .excludedClasses = 1 } ), 9 );
    EXPECT_EQ( FindThreshold( few, { .method = kMultiOtsu, .classes = 9 } ), 40 );
    EXPECT_ERROR( 1013, FindThreshold( few, { .method = kMultiOtsu, .classes = 1 } ) );
    EXPECT_ERROR( 1013, FindThreshold( few, { .method = kLocal } ) );
}

TEST( XSegmentationTest, FindsNothingOnUniformPages )
{
    const auto check = []( const WImagePage& inPage )
    {
        for ( const auto method : { kOtsu, kLi, kTriangle, kYen, kIsodata, kMultiOtsu, kLocal, kSauvola } )
            for ( const double sigma : { 0.0, 1.5 } )
            {
                XSegmentationSettings settings;
                settings.filters.smoothSigma = sigma;
                settings.automatic = { .method = method, .scale = 0.5 };
                EXPECT_EQ( XSegmentPage( inPage, settings ).mask.CountRuns(), 0u )
                    << static_cast<int>( method );
            }
    };
    check( MakePage<std::uint8_t>( 5, std::vector<std::uint8_t>( 20, 7 ) ) );
    check( MakePage<float>( 1, { 0.3f } ) );
    check( MakePage<float>( 2, { std::nanf( "" ), std::numeric_limits<float>::infinity() } ) );
    check( MakePage<float>( 2, { std::nanf( "" ), 3 } ) );
}

TEST( XSegmentationTest, NeverMarksWhatIsNotFinite )
{
    constexpr auto kInfinity = std::numeric_limits<float>::infinity();
    const auto page = MakePage<float>( 3, { 5, std::nanf( "" ), 90, kInfinity, 7, -kInfinity, 91, 6, 8 } );
    const auto check = [&]( const XSegmentationSettings& inSettings )
    {
        const auto result = XSegmentPage( page, inSettings );
        const auto marked = ListMarked( result.mask );
        EXPECT_EQ( result.nonFinite, 3u );
        for ( const std::size_t i : { 1u, 3u, 5u } )
            EXPECT_FALSE( marked[i] ) << i;
        EXPECT_TRUE( marked[2] && marked[6] );
    };
    for ( const auto method : { kOtsu, kLi, kTriangle, kIsodata, kLocal } )
        check( { .automatic = { .method = method } } );
    check( { .threshold = 50 } );
    check( { .filters = { .smoothSigma = 0.5 } } );
}

TEST( XSegmentationTest, ScalesThresholds )
{
    const auto page = MakeHumps<std::uint8_t>();
    for ( const auto method : kGlobalMethods )
    {
        const auto once = FindThreshold( page, { .method = method } );
        EXPECT_EQ( FindThreshold( page, { .method = method, .scale = 1.25 } ), once * 1.25 );
    }
    const auto small = MakePage<std::uint8_t>( 3, { 10, 10, 10, 10, 12, 10, 10, 10, 10 } );
    const auto count = [&]( double inScale )
    {
        const auto mask = XMarkLocally( small, 0, { .method = kLocal, .size = 3, .scale = inScale }, 127.5 );
        return std::ranges::count( ListMarked( mask ), true );
    };
    EXPECT_EQ( count( 1 ), 1 );
    EXPECT_EQ( count( 0.9 ), 9 );
    EXPECT_EQ( count( 1.3 ), 0 );
}

TEST( XSegmentationTest, CleansItsMask )
{
    //                                                  a ring with a gap in a corner, a speck, a part at the border
    const std::string_view drawing = "..........."
                                     ".#####....#"
                                     ".#...#....#"
                                     ".#...#.#..."
                                     ".####......"
                                     "...........";
    std::vector<float> samples;
    for ( const auto pixel : drawing )
        samples.push_back( pixel == '#' ? 9.0f : 0.0f );
    samples[2 * 11 + 3] = std::nanf( "" ); // inside the ring
    const auto page = MakePage<float>( 11, samples );
    const auto count = [&]( const XMaskCleaning& inCleaning )
    {
        const auto result = XSegmentPage( page, { .threshold = 5, .cleaning = inCleaning } );
        return std::ranges::count( ListMarked( result.mask ), true );
    };
    EXPECT_EQ( count( {} ), 16 );
    // The gap joins the hole with the outside only by a corner; the NaN stays out.
    EXPECT_EQ( count( { .fillsHoles = true } ), 16 + 5 );
    EXPECT_EQ( count( { .openRadius = 1, .fillsHoles = true } ), 0 );
    EXPECT_EQ( count( { .openRadius = 500 } ), 0 );
    EXPECT_EQ( count( { .closeRadius = 500 } ), 65 );
    EXPECT_ERROR( 1013, count( { .openRadius = 501 } ) );

    XMeasureSettings settings;
    settings.objects = { .threshold = 5 };
    const auto list = [&]( std::uint64_t inMost, bool inExcludesEdges )
    {
        settings.mostPixels = inMost;
        settings.excludesEdges = inExcludesEdges;
        std::vector<std::uint32_t> sizes;
        const auto objects = XFindPageObjects( page, settings ).outer;
        for ( const auto& shape : objects.shapes )
            sizes.push_back( shape.pixelCount );
        for ( const auto& run : objects.runs )
            EXPECT_TRUE( run.object == XPixelRun::kNoObject || run.object < sizes.size() );
        return sizes;
    };
    using Sizes = std::vector<std::uint32_t>;
    EXPECT_EQ( list( 1000, false ), ( Sizes{ 13, 2, 1 } ) );
    EXPECT_EQ( list( 2, false ), ( Sizes{ 2, 1 } ) );
    EXPECT_EQ( list( 12, true ), ( Sizes{ 1 } ) );
}

TEST( XSegmentationTest, EqualsThePlainDefinitionOfSauvola )
{
    std::mt19937 random( 8 );
    const auto samples = MakeNoise<std::uint16_t>( random, 9 * 6, 65536 );
    const auto page = MakePage<std::uint16_t>( 9, samples );
    const auto mirror = []( int inPlace, int inCount )
    {
        while ( inPlace < 0 || inPlace >= inCount )
            inPlace = inPlace < 0 ? -inPlace : 2 * ( inCount - 1 ) - inPlace;
        return inPlace;
    };
    for ( const std::uint32_t size : { 3u, 5u, 31u } )
    {
        std::vector<bool> expected;
        const auto reach = static_cast<int>( size / 2 );
        for ( int i = 0; i < 54; ++i )
        {
            double sum = 0, squares = 0;
            for ( int y = i / 9 - reach; y <= i / 9 + reach; ++y )
                for ( int x = i % 9 - reach; x <= i % 9 + reach; ++x )
                {
                    const double sample =
                        samples[static_cast<std::size_t>( mirror( y, 6 ) * 9 + mirror( x, 9 ) )];
                    sum += sample;
                    squares += sample * sample;
                }
            const auto mean = sum / size / size;
            const auto deviation = std::sqrt( squares / size / size - mean * mean );
            expected.push_back(
                samples[static_cast<std::size_t>( i )] > mean * ( 1 + 0.2 * ( deviation / 32767.5 - 1 ) ) );
        }
        const auto mask = XMarkLocally( page, 0, { .method = kSauvola, .size = size }, 32767.5 );
        EXPECT_EQ( ListMarked( mask ), expected ) << size;
    }
    for ( const std::uint32_t size : { 0u, 1u, 4u, 1001u } )
        EXPECT_ERROR( 1013, XMarkLocally( page, 0, { .method = kLocal, .size = size }, 1 ) );
}
