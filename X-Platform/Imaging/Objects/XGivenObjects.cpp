#include "Imaging/Objects/XGivenObjects.h"

#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Jobs/XChunks.h"

#include <string>
#include <type_traits>
#include <vector>

namespace
{
std::string DescribeSize( std::uint32_t inWidth, std::uint32_t inHeight )
{
    return std::to_string( inWidth ) + " x " + std::to_string( inHeight ) + " pixels";
}

template<class T>
std::uint32_t GetLabel( T inSample )
{
    if constexpr ( std::is_integral_v<T> )
        return inSample;
    else
    {
        // From here on, neighbouring labels of the file may have become the same float.
        constexpr T kEnd = 16777216;
        // NaN fails the first comparison.
        if ( !( inSample >= 0 && inSample < kEnd ) ||
             inSample != static_cast<T>( static_cast<std::uint32_t>( inSample ) ) )
            throw WImageError(
                "sample " + std::to_string( inSample ) +
                " is not a label (expected a whole number from 0 to 16777215)" );
        return static_cast<std::uint32_t>( inSample );
    }
}

template<class T>
XLabelledObjects TakeLabels( const WImageFormat& inPage, const T* inSamples )
{
    XLabelCollector collector;
    std::vector<std::uint32_t> labels( inPage.width );
    const auto addRow = [&]( std::uint32_t inRow )
    {
        const auto* const samples = inSamples + std::size_t{ inRow } * inPage.width;
        for ( std::uint32_t x = 0; x < inPage.width; ++x )
            labels[x] = GetLabel( samples[x] );
        collector.AddRow( labels );
    };
    XForEachRow( inPage.height, inPage.width, addRow );
    return collector.TakeObjects();
}
} // namespace

void XGivenObjects::RequireSizeOf( const WImageFormat& inPage ) const
{
    if ( width != inPage.width || height != inPage.height )
        throw WImageError(
            "it has " + DescribeSize( inPage.width, inPage.height ) + ", but the given objects have " +
            DescribeSize( width, height ) );
}

XGivenObjects XTakeGivenObjects( const WImagePage& inPage, XGivenKind inKind )
{
    if ( inPage.channels != 1 )
        throw WImageError( "it has " + std::to_string( inPage.channels ) + " channels (expected 1)" );
    XGivenObjects given{ inPage.width, inPage.height };
    if ( inKind == XGivenKind::kMask )
        given.mask = XMarkPixels( inPage, 0, 0 );
    else
        given.labels = XVisitSamples(
            inPage, 0, [&]( const auto* inSamples ) { return TakeLabels( inPage, inSamples ); } );
    return given;
}
