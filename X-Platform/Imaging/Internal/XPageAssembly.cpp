#include "Imaging/Internal/XPageAssembly.h"

#include <algorithm>
#include <cstring>

// The memory has two parts: the page, and behind it a stored page. Of the first stored page only the number of its bytes
// is known when memory is needed, which gives the size of a sample. Sums are taken as doubles, in which those of
// integers are exact, and become floats in place when all slices have been added.

namespace
{
/// A sample of the page as it is being put together, and how a stored one is added to it.
template<class TFrom, class TTo, class TCombine>
void CombineSamples(
    const WImagePage& inStored, std::uint32_t inFirstChannel, std::uint32_t inChannels, TTo* ioSamples,
    TCombine inCombine )
{
    const auto pixels = std::uint64_t{ inStored.width } * inStored.height;
    const auto* from = inStored.GetSamples<TFrom>();
    auto* to = ioSamples + inFirstChannel;
    if ( inStored.channels == 1 )
    {
        for ( std::uint64_t i = 0; i < pixels; ++i, to += inChannels )
            inCombine( from[i], *to );
        return;
    }
    for ( std::uint64_t i = 0; i < pixels; ++i, to += inChannels, from += inStored.channels )
        for ( std::uint32_t channel = 0; channel < inStored.channels; ++channel )
            inCombine( from[channel], to[channel] );
}

/// Adds a stored page to the page of `ioBytes`, whose samples are doubles for sums.
void Combine(
    const WImagePage& inStored, std::uint32_t inFirstChannel, std::uint32_t inChannels, bool inIsFirst,
    XSliceMode inMode, std::byte* ioBytes )
{
    const auto combine = [&]<class T>( std::type_identity<T> )
    {
        const auto run = [&]( auto* ioSamples, auto inCombine )
        { CombineSamples<T>( inStored, inFirstChannel, inChannels, ioSamples, inCombine ); };
        auto* const same = reinterpret_cast<T*>( ioBytes );
        auto* const sums = reinterpret_cast<double*>( ioBytes );
        const auto isSum = inMode == XSliceMode::kMean || inMode == XSliceMode::kSum;
        if ( inIsFirst && !isSum )
            run( same, []( T inFrom, T& outTo ) { outTo = inFrom; } );
        else if ( !isSum )
            // A NaN is not equal to itself; nothing is larger than it.
            run( same,
                 []( T inFrom, T& ioTo ) { ioTo = inFrom > ioTo || inFrom != inFrom ? inFrom : ioTo; } );
        else if ( inIsFirst )
            run( sums, []( T inFrom, double& outTo ) { outTo = static_cast<double>( inFrom ); } );
        else
            run( sums, []( T inFrom, double& ioTo ) { ioTo += static_cast<double>( inFrom ); } );
    };
    VisitSampleType( inStored.type, combine );
}

/// Front to back, no sum is overwritten before it is read.
void ConvertSums( std::uint64_t inCount, double inDivisor, std::byte* ioBytes )
{
    for ( std::uint64_t i = 0; i < inCount; ++i )
    {
        double sum;
        std::memcpy( &sum, ioBytes + i * sizeof( sum ), sizeof( sum ) );
        const auto value = static_cast<float>( sum / inDivisor );
        std::memcpy( ioBytes + i * sizeof( value ), &value, sizeof( value ) );
    }
}
} // namespace

WImagePage XPageAssembly::Read( const XReadStored& inRead, const WImagePage::Allocator& inAllocator ) const
{
    const auto isSum = sliceMode == XSliceMode::kMean || sliceMode == XSliceMode::kSum;
    const std::uint64_t pagesPerPlane = series.GetPagesPerPlane();
    WImagePage page;
    std::uint64_t storedSize = 0, pageSize = 0;
    const auto allocate = [&]( std::uint64_t inBytes )
    {
        if ( !page.samples )
        {
            storedSize = inBytes;
            const auto samples = series.width * series.height * series.channelsPerPage;
            const auto sampleSize = isSum ? sizeof( double ) : samples > 0 ? inBytes / samples : 0;
            if ( sampleSize == 0 || samples > UINT64_MAX / 2 / sampleSize / pagesPerPlane )
                throw WImageError( "a page of this size cannot be put together" );
            pageSize = samples * pagesPerPlane * sampleSize;
            page.samples = inAllocator( pageSize + storedSize );
        }
        if ( inBytes != storedSize )
            throw WImageError( "its pages differ in size or type, though they are one image" );
        return WImagePage::Samples( page.samples.get() + pageSize, []( std::byte* ) {} );
    };

    WImageFormat format;
    const auto count = slices * static_cast<std::uint32_t>( pagesPerPlane );
    for ( std::uint32_t i = 0; i < count; ++i )
    {
        const auto stored = inRead( i, allocate );
        if ( i == 0 )
            format = stored;
        const auto isOfSeries = stored.width == series.width && stored.height == series.height &&
            stored.channels == series.channelsPerPage;
        if ( !isOfSeries || !stored.HasSameLayout( format ) )
            throw WImageError( "its pages differ in size or type, though they are one image" );
        const auto firstChannel = i % static_cast<std::uint32_t>( pagesPerPlane ) * series.channelsPerPage;
        Combine( stored, firstChannel, series.channels, i < pagesPerPlane, sliceMode, page.samples.get() );
    }
    static_cast<WImageFormat&>( page ) = format;
    page.channels = series.channels;
    if ( isSum )
    {
        page.type = WImageFormat::kFloat32;
        ConvertSums( page.GetSampleCount(), sliceMode == XSliceMode::kMean ? slices : 1, page.samples.get() );
    }
    return page;
}
