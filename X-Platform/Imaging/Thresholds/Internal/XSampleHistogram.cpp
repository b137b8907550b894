#include "Imaging/Thresholds/Internal/XSampleHistogram.h"

#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
using Levels = std::vector<XSampleHistogram::XLevel>;

/// Levels without samples are left out: they part the same classes as the level before.
Levels ListLevels( const std::vector<std::uint64_t>& inCounts )
{
    Levels levels;
    levels.reserve( inCounts.size() - static_cast<std::size_t>( std::ranges::count( inCounts, 0u ) ) );
    for ( std::size_t level = 0; level < inCounts.size(); ++level )
        if ( inCounts[level] != 0 )
            levels.push_back( { level, inCounts[level] } );
    return levels;
}

template<class T>
Levels CountLevels( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    std::vector<std::uint64_t> counts( std::numeric_limits<T>::max() + 1u );
    XForEachChunk(
        inPixels, kPixelsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                ++counts[inSamples[i * inStride]];
        } );
    return ListLevels( counts );
}

/// The same of samples that are few beside the levels that there may be.
template<class T>
Levels SortLevels( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    std::vector<T> samples( inPixels );
    for ( std::uint64_t i = 0; i < inPixels; ++i )
        samples[i] = inSamples[i * inStride];
    std::ranges::sort( samples );

    Levels levels;
    for ( const auto sample : samples )
    {
        if ( levels.empty() || levels.back().level != sample )
            levels.push_back( { sample, 0 } );
        ++levels.back().count;
    }
    return levels;
}

template<class TWork>
void ForEachFinite( const float* inSamples, std::uint64_t inPixels, std::uint32_t inStride, TWork inWork )
{
    XForEachChunk(
        inPixels, kPixelsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                if ( const auto value = inSamples[i * inStride]; std::isfinite( value ) )
                    inWork( value );
        } );
}

/// 257 edges of equal bins, in the precision of the samples.
std::vector<float> GetEdges( float inLowest, float inHighest )
{
    constexpr int kBins = 256;
    std::vector<float> edges( kBins + 1 );
    const float range = inHighest - inLowest;
    // The range of floats may exceed the largest float.
    const auto step = ( std::isfinite( range ) ? range : double{ inHighest } - inLowest ) / kBins;
    for ( int i = 0; i < kBins; ++i )
        edges[static_cast<std::size_t>( i )] = static_cast<float>( inLowest + i * step );
    edges.back() = inHighest;
    return edges;
}

/// The bin whose edges enclose the value; the last one takes its upper edge too.
std::size_t FindBin( const std::vector<float>& inEdges, double inBinsPerUnit, float inValue )
{
    const auto last = inEdges.size() - 2;
    // Computed and then corrected, as the division may round across an edge.
    auto bin =
        std::min( static_cast<std::size_t>( ( double{ inValue } - inEdges[0] ) * inBinsPerUnit ), last );
    while ( bin > 0 && inValue < inEdges[bin] )
        --bin;
    while ( bin < last && inValue >= inEdges[bin + 1] )
        ++bin;
    return bin;
}
} // namespace

XSampleHistogram::XSampleHistogram( const WImagePage& inPage, std::uint32_t inChannel )
{
    const auto pixels = std::uint64_t{ inPage.width } * inPage.height;
    XVisitSamples(
        inPage, inChannel, [&]( const auto* inSamples ) { Count( inSamples, pixels, inPage.channels ); } );
}

XSampleHistogram::XSampleHistogram( std::span<const std::uint8_t> inSamples )
{
    Count( inSamples.data(), inSamples.size(), 1 );
}

XSampleHistogram::XSampleHistogram( std::span<const std::uint16_t> inSamples )
{
    Count( inSamples.data(), inSamples.size(), 1 );
}

XSampleHistogram::XSampleHistogram( std::span<const float> inSamples )
{
    Count( inSamples.data(), inSamples.size(), 1 );
}

template<class T>
void XSampleHistogram::Count( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    // Small objects: clearing and scanning 65,536 counters would take longer than sorting the samples.
    const auto isFew = inPixels < std::numeric_limits<T>::max() / 16;
    itsLevels =
        isFew ? SortLevels( inSamples, inPixels, inStride ) : CountLevels( inSamples, inPixels, inStride );
}

void XSampleHistogram::Count( const float* inSamples, std::uint64_t inPixels, std::uint32_t inStride )
{
    auto lowest = std::numeric_limits<float>::infinity(), highest = -lowest;
    std::uint64_t finite = 0;
    ForEachFinite(
        inSamples, inPixels, inStride,
        [&]( float inValue )
        {
            lowest = std::min( lowest, inValue );
            highest = std::max( highest, inValue );
            ++finite;
        } );
    if ( !( lowest < highest ) )
    {
        itsEdges = { lowest, lowest };
        if ( finite > 0 )
            itsLevels = { { 0, finite } };
        return;
    }

    itsEdges = GetEdges( lowest, highest );
    const auto bins = itsEdges.size() - 1;
    const auto binsPerUnit = static_cast<double>( bins ) / ( double{ highest } - double{ lowest } );
    std::vector<std::uint64_t> counts( bins );
    ForEachFinite(
        inSamples, inPixels, inStride,
        [&]( float inValue ) { ++counts[FindBin( itsEdges, binsPerUnit, inValue )]; } );
    itsLevels = ListLevels( counts );
}

double XSampleHistogram::GetCentre( std::uint64_t inLevel ) const
{
    return itsEdges.empty() ? static_cast<double>( inLevel )
                            : ( double{ itsEdges[inLevel] } + double{ itsEdges[inLevel + 1] } ) / 2;
}

double XSampleHistogram::GetThreshold( std::uint64_t inLevel ) const
{
    return itsEdges.empty() ? static_cast<double>( inLevel ) : static_cast<float>( GetCentre( inLevel ) );
}

std::vector<std::uint64_t> XSampleHistogram::GetCounts() const
{
    std::vector<std::uint64_t> counts;
    if ( itsLevels.empty() )
        return counts;
    const auto lowest = itsLevels.front().level;
    counts.resize( itsLevels.back().level - lowest + 1 );
    for ( const auto& [level, count] : itsLevels )
        counts[level - lowest] = count;
    return counts;
}
