#include "Imaging/Objects/XObjectSplitting.h"

#include "Imaging/Objects/XDistanceTransform.h"
#include "Imaging/TestPages.h"
#include "Imaging/Thresholds/XPixelMask.h"

#include <array>
#include <set>
#include <tuple>

namespace
{
using Parts = std::vector<std::uint32_t>;

/// A page with values of its pixels, of which those above 0 belong to objects.
struct Relief
{
    int width;
    std::vector<double> values;
    XConnectivity connectivity;

    int GetCount() const { return static_cast<int>( values.size() ); }
    double At( int inPixel ) const { return values[static_cast<std::size_t>( inPixel )]; }

    /// The neighbours of a pixel inside objects, those at edges first.
    std::vector<int> GetNeighbours( int inPixel ) const
    {
        constexpr std::array<std::pair<int, int>, 8> kSteps{
            { { 0, -1 }, { -1, 0 }, { 1, 0 }, { 0, 1 }, { -1, -1 }, { 1, -1 }, { -1, 1 }, { 1, 1 } } };
        std::vector<int> found;
        for ( const auto& [dx, dy] : kSteps )
        {
            const auto x = inPixel % width + dx, pixel = inPixel + dy * width + dx;
            const auto isCorner = dx != 0 && dy != 0;
            if ( x >= 0 && x < width && pixel >= 0 && pixel < GetCount() && At( pixel ) > 0 &&
                 !( isCorner && connectivity == XConnectivity::kEdges ) )
                found.push_back( pixel );
        }
        return found;
    }

    bool IsHigher( int inOne, int inOther ) const
    {
        return At( inOne ) > At( inOther ) || ( At( inOne ) == At( inOther ) && inOne < inOther );
    }

    /// The highest level from which a way leads to a higher pixel; 0 if there is none.
    double FindPass( int inFrom ) const
    {
        for ( const auto neighbour : GetNeighbours( inFrom ) )
            if ( At( neighbour ) > At( inFrom ) )
                return At( inFrom );
        const std::set<double, std::greater<>> levels( values.begin(), values.end() );
        for ( const auto level : levels )
        {
            if ( level > At( inFrom ) || level == 0 )
                continue;
            std::vector<char> isSeen( values.size() );
            std::vector<int> open{ inFrom };
            while ( !open.empty() )
            {
                const auto pixel = open.back();
                open.pop_back();
                if ( IsHigher( pixel, inFrom ) )
                    return level;
                for ( const auto neighbour : GetNeighbours( pixel ) )
                    if ( At( neighbour ) >= level &&
                         !std::exchange( isSeen[static_cast<std::size_t>( neighbour )], 1 ) )
                        open.push_back( neighbour );
            }
        }
        return 0;
    }

    /// The parts by their definition, numbered in the order of their first pixel; 0 outside objects.
    Parts Split( double inDepth ) const
    {
        std::vector<int> labels( values.size() );
        std::set<std::tuple<double, int, int>> queue;
        int time = 0;
        const auto reach = [&]( int inPixel, int inLabel )
        {
            labels[static_cast<std::size_t>( inPixel )] = inLabel;
            queue.emplace( -At( inPixel ), time++, inPixel );
        };
        for ( int pixel = 0; pixel < GetCount(); ++pixel )
            if ( const auto pass = FindPass( pixel );
                 At( pixel ) > 0 && ( pass == 0 || ( pass < At( pixel ) && At( pixel ) - pass >= inDepth ) ) )
                reach( pixel, pixel + 1 );
        while ( !queue.empty() )
        {
            const auto pixel = std::get<2>( *queue.begin() );
            queue.erase( queue.begin() );
            for ( const auto neighbour : GetNeighbours( pixel ) )
                if ( labels[static_cast<std::size_t>( neighbour )] == 0 )
                    reach( neighbour, labels[static_cast<std::size_t>( pixel )] );
        }
        std::map<int, std::uint32_t> numbers{ { 0, 0 } };
        Parts parts;
        for ( const auto label : labels )
            parts.push_back( numbers.emplace( label, numbers.size() ).first->second );
        return parts;
    }
};

Parts Paint( const XLabelledObjects& inObjects, std::uint32_t inWidth, std::size_t inCount )
{
    Parts parts( inCount );
    for ( const auto& run : inObjects.runs )
        std::fill_n( parts.begin() + run.row * inWidth + run.first, run.end - run.first, run.object + 1 );
    return parts;
}

/// The distance of each pixel of the mask to the nearest pixel outside.
std::vector<double> GetDistances( const std::vector<std::uint8_t>& inMask, int inWidth )
{
    std::vector<double> distances;
    const auto count = static_cast<int>( inMask.size() );
    for ( int i = 0; i < count; ++i )
    {
        std::int64_t least = std::numeric_limits<std::uint32_t>::max();
        for ( int other = 0; other < count; ++other )
            if ( const std::int64_t x = i % inWidth - other % inWidth, y = i / inWidth - other / inWidth;
                 inMask[static_cast<std::size_t>( other )] == 0 )
                least = std::min( least, x * x + y * y );
        distances.push_back( std::sqrt( static_cast<double>( least ) ) );
    }
    return distances;
}

/// Random pixels, or discs that overlap.
std::vector<std::uint8_t> MakeMask( std::mt19937& ioRandom, int inWidth, int inHeight, bool inHasDiscs )
{
    std::vector<std::uint8_t> mask;
    for ( int i = 0; i < inWidth * inHeight; ++i )
        mask.push_back( !inHasDiscs && ioRandom() % 4 != 0 );
    for ( int disc = 0; inHasDiscs && disc < 4; ++disc )
    {
        const auto x = static_cast<int>( ioRandom() % 24 ), y = static_cast<int>( ioRandom() % 24 );
        const auto radius = static_cast<int>( 2 + ioRandom() % 5 );
        for ( int i = 0; i < inWidth * inHeight; ++i )
        {
            const auto dx = i % inWidth - x, dy = i / inWidth - y;
            mask[static_cast<std::size_t>( i )] |= dx * dx + dy * dy <= radius * radius;
        }
    }
    return mask;
}

/// Two discs of radius 8 at that distance, both complete.
WImagePage MakeDiscs( int inDistance )
{
    std::vector<std::uint8_t> samples;
    for ( int y = -10; y <= 10; ++y )
        for ( int x = -10; x <= 30; ++x )
            samples.push_back( x * x + y * y <= 64 || ( x - inDistance ) * ( x - inDistance ) + y * y <= 64 );
    return MakePage<std::uint8_t>( 41, samples );
}

std::size_t CountParts( const WImagePage& inPage, double inDepth )
{
    const auto objects = XFindObjects( inPage, 0, 0, XConnectivity::kEdges );
    return XSplitByDistance( objects, inPage, XConnectivity::kEdges, inDepth ).shapes.size();
}
} // namespace

TEST( XObjectSplittingTest, FollowsItsDefinition )
{
    std::mt19937 random( 5 );
    for ( int i = 0; i < 60; ++i )
    {
        const auto width = static_cast<int>( 1 + random() % 24 ),
                   height = static_cast<int>( 1 + random() % 24 );
        const auto mask = MakeMask( random, width, height, i % 2 == 0 );
        const auto connectivity = i % 3 == 0 ? XConnectivity::kEdges : XConnectivity::kEdgesAndCorners;
        const auto page = MakePage( static_cast<std::uint32_t>( width ), mask );
        const auto components = XFindObjects( page, 0, 0, connectivity );
        const auto distances = GetDistances( mask, width );
        const auto found = XGetDistances( XMarkPixels( page, 0, 0 ) );
        for ( std::size_t pixel = 0; pixel < mask.size(); ++pixel )
            ASSERT_EQ( found.GetSamples<float>()[pixel], static_cast<float>( distances[pixel] ) );

        for ( const double depth : { 0.0, 0.5, 1.0, 2.0 } )
            ASSERT_EQ(
                Paint( XSplitByDistance( components, page, connectivity, depth ), page.width, mask.size() ),
                ( Relief{ width, distances, connectivity }.Split( depth ) ) )
                << i << ", " << depth;

        // Few levels have plateaus; negative samples and both zeros are in order.
        std::vector<float> samples;
        std::vector<double> values;
        for ( const auto isSet : mask )
        {
            const auto level = static_cast<int>( random() % ( i % 4 == 1 ? 4 : 1000 ) );
            samples.push_back(
                level == 2 && isSet == random() % 2 ? -0.0f : static_cast<float>( level - 2 ) );
            values.push_back( isSet ? level + 1 : 0 );
        }
        const auto relief = MakePage( page.width, samples );
        ASSERT_EQ(
            Paint( XSplitByIntensity( components, relief, connectivity ), page.width, mask.size() ),
            ( Relief{ width, values, connectivity }.Split( 0 ) ) )
            << i;
    }
}

TEST( XObjectSplittingTest, DividesWhereObjectsAreNarrow )
{
    EXPECT_EQ( CountParts( MakeDiscs( 14 ), 1 ), 2u );
    EXPECT_EQ( CountParts( MakeDiscs( 14 ), 6 ), 1u );
    EXPECT_EQ( CountParts( MakeDiscs( 3 ), 1 ), 1u );
    EXPECT_EQ( CountParts( MakeDiscs( 0 ), 0.5 ), 1u );
    EXPECT_ERROR( 1013, CountParts( MakeDiscs( 0 ), -1 ) );
    EXPECT_ERROR( 1013, CountParts( MakeDiscs( 0 ), std::nan( "" ) ) );
    // Without background there is nothing to be far from.
    const auto full = MakePage<std::uint8_t>( 30, std::vector<std::uint8_t>( 900, 1 ) );
    EXPECT_EQ( CountParts( full, 0 ), 1u );
    EXPECT_EQ( XGetDistances( XMarkPixels( full, 0, 0 ) ).GetSamples<float>()[17], 65536.0f );
    EXPECT_EQ( CountParts( MakePage<std::uint8_t>( 1, { 1 } ), 0 ), 1u );
    EXPECT_EQ( CountParts( MakePage<std::uint8_t>( 2, { 0, 0 } ), 0 ), 0u );
}

TEST( XObjectSplittingTest, KnowsDistancesOfLongRuns )
{
    // Farther than the squares of 32 bits reach.
    std::vector<std::uint8_t> samples( 200'001, 1 );
    samples[0] = 0;
    const auto page = MakePage( 200'001, samples );
    const auto distances = XGetDistances( XMarkPixels( page, 0, 0 ) );
    EXPECT_EQ( distances.GetSamples<float>()[1], 1.0f );
    EXPECT_EQ( distances.GetSamples<float>()[65'535], 65'535.0f );
    EXPECT_EQ( distances.GetSamples<float>()[200'000], 65'536.0f );
    EXPECT_EQ( CountParts( page, 1 ), 1u );
}
