#include "Imaging/Filters/XChannelFilters.h"

#include "Imaging/Filters/XDiscMorphology.h"
#include "Imaging/Filters/XGaussianFilter.h"
#include "Imaging/Filters/XMedianFilter.h"
#include "Imaging/Pages/Internal/XVectorLoops.h"
#include "Imaging/TestPages.h"

#include <span>

namespace
{
/// Random pages of every sample type, most of them smaller than the filters, as the second of two channels.
template<class T>
WImagePage MakeRandomPage( std::mt19937& ioRandom, std::uint32_t inWidth, std::uint32_t inHeight )
{
    auto samples = MakeNoise<T>( ioRandom, std::size_t{ 2 } * inWidth * inHeight, 60000 );
    if constexpr ( std::is_floating_point_v<T> )
        for ( auto& sample : samples )
            sample = sample / 7 - 1000;
    return MakePage<T>( inWidth, samples, 2 );
}

template<class T>
T Get( const WImagePage& inPage, std::int64_t inX, std::int64_t inY, std::uint32_t inChannel )
{
    const auto x = std::clamp<std::int64_t>( inX, 0, inPage.width - 1 );
    const auto y = std::clamp<std::int64_t>( inY, 0, inPage.height - 1 );
    return inPage
        .GetSamples<T>()[static_cast<std::size_t>( y * inPage.width + x ) * inPage.channels + inChannel];
}

/// The samples of a disc; those of the border are repeated outside the page, or left out.
template<class T>
std::vector<T> ListDisc( const WImagePage& inPage, int inX, int inY, int inRadius, bool inIsRepeated )
{
    std::vector<T> samples;
    for ( int y = inY - inRadius; y <= inY + inRadius; ++y )
        for ( int x = inX - inRadius; x <= inX + inRadius; ++x )
        {
            const auto isInside = x >= 0 && y >= 0 && x < static_cast<int>( inPage.width ) &&
                y < static_cast<int>( inPage.height );
            const auto distance = ( x - inX ) * ( x - inX ) + ( y - inY ) * ( y - inY );
            if ( distance <= inRadius * inRadius && ( isInside || inIsRepeated ) )
                samples.push_back( Get<T>( inPage, x, y, inPage.channels - 1 ) );
        }
    std::ranges::sort( samples );
    return samples;
}

double SmoothPlainly( const WImagePage& inPage, auto inGet, int inX, int inY, double inSigma )
{
    const auto reach = static_cast<int>( 4 * inSigma + 0.5 );
    double sum = 0, weights = 0;
    for ( int y = -reach; y <= reach; ++y )
        for ( int x = -reach; x <= reach; ++x )
        {
            const auto weight = std::exp( -0.5 * ( x * x + y * y ) / ( inSigma * inSigma ) );
            sum += weight * inGet( inPage, inX + x, inY + y );
            weights += weight;
        }
    return sum / weights;
}

/// Calls `inCheck( x, y )` for each pixel.
void ForEachPixel( const WImagePage& inPage, auto inCheck )
{
    for ( std::uint32_t y = 0; y < inPage.height; ++y )
        for ( std::uint32_t x = 0; x < inPage.width; ++x )
            inCheck( static_cast<int>( x ), static_cast<int>( y ) );
}

template<class T>
void CheckFilters( std::uint32_t inWidth, std::uint32_t inHeight )
{
    std::mt19937 random( inWidth );
    const auto page = MakeRandomPage<T>( random, inWidth, inHeight );
    for ( const auto radius : { 1u, 2u, 3u, 4u, 5u, 14u } )
    {
        SCOPED_TRACE( radius );
        const auto r = static_cast<int>( radius );
        const auto median = XFilterMedian( page, 1, radius ), eroded = XErodeChannel( page, 1, radius );
        const auto opened = XDilateChannel( eroded, 0, radius ), topHat = XTopHatChannel( page, 1, radius );
        ForEachPixel(
            page,
            [&]( int inX, int inY )
            {
                const auto disc = ListDisc<T>( page, inX, inY, r, true );
                EXPECT_EQ( Get<T>( median, inX, inY, 0 ), disc[disc.size() / 2] );
                EXPECT_EQ( Get<T>( eroded, inX, inY, 0 ), ListDisc<T>( page, inX, inY, r, false ).front() );
                const auto largest = ListDisc<T>( eroded, inX, inY, r, false ).back();
                EXPECT_EQ( Get<T>( opened, inX, inY, 0 ), largest );
                EXPECT_EQ(
                    Get<T>( topHat, inX, inY, 0 ), static_cast<T>( Get<T>( page, inX, inY, 1 ) - largest ) );
            } );
    }
    for ( const auto sigma : { 0.1, 0.7, 5.0 } )
    {
        const auto smooth = XSmoothChannel( page, 1, sigma );
        const auto get = []( const WImagePage& inPage, int inX, int inY )
        { return Get<T>( inPage, inX, inY, 1 ); };
        ForEachPixel(
            page,
            [&]( int inX, int inY )
            {
                const auto expected = SmoothPlainly( page, get, inX, inY, sigma );
                EXPECT_NEAR(
                    Get<float>( smooth, inX, inY, 0 ), expected, 1e-6 * std::max( expected, 1000.0 ) );
            } );
    }
}

bool HasEqualSamples( const WImagePage& inOne, const WImagePage& inOther )
{
    return std::memcmp( inOne.samples.get(), inOther.samples.get(), inOne.GetByteCount() ) == 0;
}
} // namespace

TEST( XChannelFiltersTest, EqualTheirPlainDefinitions )
{
    CheckFilters<std::uint8_t>( 37, 6 );
    CheckFilters<std::uint16_t>( 5, 19 );
    CheckFilters<float>( 13, 11 );
    CheckFilters<std::uint16_t>( 1, 1 );
    CheckFilters<float>( 1, 7 );
}

TEST( XChannelFiltersTest, AreTheSameWithoutVectorInstructions )
{
    std::mt19937 random( 4 );
    const auto check = []( const WImagePage& inPage )
    {
        for ( const XChannelFilters& filters :
              { XChannelFilters{ .medianRadius = 3, .smoothSigma = 2, .backgroundRadius = 6 },
                XChannelFilters{ .flattenSigma = 9, .isDark = true, .medianRadius = 1 } } )
        {
            const auto result = XFilterChannel( inPage, 1, filters );
            const auto usesAVX2 = std::exchange( XUsesAVX2(), false );
            EXPECT_TRUE( HasEqualSamples( result, XFilterChannel( inPage, 1, filters ) ) );
            XUsesAVX2() = usesAVX2;
        }
    };
    check( MakeRandomPage<std::uint8_t>( random, 71, 40 ) );
    check( MakeRandomPage<std::uint16_t>( random, 71, 40 ) );
    check( MakeRandomPage<float>( random, 71, 40 ) );
}

TEST( XChannelFiltersTest, KeepUniformPagesUniform )
{
    const auto page = MakePage<std::uint16_t>( 40, std::vector<std::uint16_t>( 1200, 50123 ) );
    const auto isUniform = []( const WImagePage& inPage, float inValue )
    {
        return std::ranges::all_of(
            std::span( inPage.GetSamples<float>(), 1200 ),
            [&]( float inSample ) { return inSample == inValue; } );
    };
    const auto smooth = XSmoothChannel( page, 0, 4 );
    EXPECT_TRUE( isUniform( smooth, smooth.GetSamples<float>()[0] ) );
    EXPECT_NEAR( smooth.GetSamples<float>()[0], 50123, 0.02 );
    // Nothing to divide by.
    const auto black = MakePage<std::uint8_t>( 40, std::vector<std::uint8_t>( 1200, 0 ) );
    EXPECT_TRUE( isUniform( XFlattenChannel( black, 0, 4 ), 0 ) );
}

TEST( XChannelFiltersTest, ReplaceWhatIsNotFinite )
{
    constexpr auto kInfinity = std::numeric_limits<float>::infinity();
    const auto page = MakePage<float>( 3, { 5, std::nanf( "" ), 9, kInfinity, 7, -kInfinity } );
    EXPECT_EQ( XCountNonFinite( page, 0 ), 3u );
    const auto darkest = XFilterChannel( page, 0, {} ),
               brightest = XFilterChannel( page, 0, { .isDark = true } );
    const std::vector<float> filled{ 5, 5, 9, 5, 7, 5 }, inverted{ -4, -8, -8, -8, -6, -8 };
    EXPECT_TRUE( std::ranges::equal( std::span( darkest.GetSamples<float>(), 6 ), filled ) );
    EXPECT_TRUE( std::ranges::equal( std::span( brightest.GetSamples<float>(), 6 ), inverted ) );
}

TEST( XChannelFiltersTest, RejectSizesOutOfRange )
{
    const auto page = MakePage<std::uint8_t>( 2, { 1, 2 } );
    for ( const auto sigma : { 0.0, -1.0, 501.0, std::nan( "" ) } )
        EXPECT_ERROR( 1013, XSmoothChannel( page, 0, sigma ) );
    for ( const auto radius : { 0u, 501u } )
        EXPECT_ERROR( 1013, XTopHatChannel( page, 0, radius ) );
    for ( const auto radius : { 0u, 101u } )
        EXPECT_ERROR( 1013, XFilterMedian( page, 0, radius ) );
}
