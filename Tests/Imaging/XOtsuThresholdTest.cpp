#include "Imaging/Thresholds/XOtsuThreshold.h"

#include "Imaging/TestPages.h"

namespace
{
/// The definition, class by class in long double; levels whose variances differ by rounding alone are taken as ties.
template<class T>
double FindPlainly( const std::vector<T>& inSamples )
{
    const auto [lowest, highest] = std::ranges::minmax( inSamples );
    long double best = 0;
    double bestLevel = lowest;
    for ( std::uint32_t level = lowest; level < highest; ++level )
    {
        long double counts[2] = {}, sums[2] = {};
        for ( const auto sample : inSamples )
        {
            ++counts[sample > level];
            sums[sample > level] += sample;
        }
        const auto distance = sums[0] / counts[0] - sums[1] / counts[1];
        const auto variance = counts[0] * counts[1] * distance * distance;
        if ( variance > best * ( 1 + 1e-15L ) )
        {
            best = variance;
            bestLevel = level;
        }
    }
    return bestLevel;
}

template<class T>
double FindOtsu( const std::vector<T>& inSamples )
{
    return XGetOtsuThreshold( MakePage<T>( static_cast<std::uint32_t>( inSamples.size() ), inSamples ), 0 );
}
} // namespace

TEST( XOtsuThresholdTest, EqualsThePlainDefinition )
{
    std::mt19937 random( 3 );
    for ( const auto levels : { 2u, 3u, 17u, 256u } )
        for ( int i = 0; i < 20; ++i )
        {
            const auto samples = MakeNoise<std::uint8_t>( random, 200, levels );
            EXPECT_EQ( FindOtsu( samples ), FindPlainly( samples ) ) << levels;
        }
    auto samples = MakeNoise<std::uint16_t>( random, 500, 700 );
    for ( auto& sample : samples )
        sample = static_cast<std::uint16_t>( 64000 + sample );
    EXPECT_EQ( FindOtsu( samples ), FindPlainly( samples ) );
}

TEST( XOtsuThresholdTest, TakesTheLowestLevelOnTies )
{
    EXPECT_EQ( FindOtsu<std::uint8_t>( { 10, 10, 200, 200 } ), 10 );
    EXPECT_EQ( FindOtsu<std::uint8_t>( { 0, 1, 2 } ), 0 );
    EXPECT_EQ( FindOtsu<std::uint16_t>( { 0, 0, 0, 21845, 43690, 65535, 65535, 65535 } ), 21845 );

    // Symmetric about the middle: whatever level is best, its mirror image is too.
    std::mt19937 random( 5 );
    for ( int i = 0; i < 50; ++i )
    {
        auto samples = MakeNoise<std::uint16_t>( random, 301, 1001 );
        for ( std::size_t k = 0, count = samples.size(); k < count; ++k )
            samples.push_back( static_cast<std::uint16_t>( 1000 - samples[k] ) );
        EXPECT_LE( FindOtsu( samples ), 500 );
        EXPECT_EQ( FindOtsu( samples ), FindPlainly( samples ) );
    }
}

TEST( XOtsuThresholdTest, OfEqualSamplesIsTheirValue )
{
    EXPECT_EQ( FindOtsu<std::uint8_t>( { 7, 7, 7 } ), 7 );
    EXPECT_EQ( FindOtsu<float>( { -0.5f, -0.5f } ), -0.5 );
    EXPECT_EQ( FindOtsu<float>( { std::nanf( "" ) } ), std::numeric_limits<double>::infinity() );
}

TEST( XOtsuThresholdTest, OfFloatsIsTheCentreOfABin )
{
    // 256 bins of width 1 from 0 to 256; the classes are {0, 1} and {255, 256}.
    EXPECT_EQ( FindOtsu<float>( { 0, 1, 1.5f, 255, 256 } ), 1.5 );
    EXPECT_EQ( FindOtsu<float>( { 0, 1, 1.5f, 255, 256, std::numeric_limits<float>::infinity() } ), 1.5 );
    // The last bin takes its upper edge.
    EXPECT_EQ( FindOtsu<float>( { 0, 256 } ), 0.5 );
}
