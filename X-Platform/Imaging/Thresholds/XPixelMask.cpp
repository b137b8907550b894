#include "Imaging/Thresholds/XPixelMask.h"

#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Imaging/Thresholds/Internal/XThresholdLevel.h"
#include "Jobs/XChunks.h"

#include <bit>
#include <cstring>

namespace
{
constexpr auto kBitsOfWord = XPixelMask::kWordBits;

/// Turns eight bytes of 0 or 1 into eight bits, the first byte lowest.
std::uint64_t PackBytes( const std::uint8_t* inBytes )
{
    std::uint64_t bytes;
    std::memcpy( &bytes, inBytes, sizeof( bytes ) );
    if constexpr ( std::endian::native == std::endian::big )
        bytes = __builtin_bswap64( bytes );
    // The multiplication moves bit 0 of byte i to bit 56 + i; no two terms meet, so there are no carries.
    return ( bytes * 0x0102040810204080u ) >> 56;
}

template<class T, class TStride>
std::uint64_t MarkWord( const T* inSamples, TStride inStride, T inLevel )
{
    std::uint8_t flags[kBitsOfWord];
    for ( std::uint32_t i = 0; i < kBitsOfWord; ++i )
        flags[i] = inSamples[i * inStride] > inLevel;
    std::uint64_t word = 0;
    for ( std::uint32_t i = 0; i < kBitsOfWord; i += 8 )
        word |= PackBytes( flags + i ) << i;
    return word;
}

template<class T>
void MarkRow(
    const T* inSamples, std::uint32_t inStride, std::uint32_t inWidth, XThresholdLevel<T> inLevel,
    std::span<std::uint64_t> outBits )
{
    struct One
    {
        constexpr operator std::uint32_t() const { return 1; }
    };
    std::uint32_t x = 0;
    for ( ; x + kBitsOfWord <= inWidth; x += kBitsOfWord )
    {
        const auto* samples = inSamples + std::size_t{ x } * inStride;
        outBits[x / kBitsOfWord] = inLevel.takesAll ? ~std::uint64_t{ 0 }
            : inStride == 1                         ? MarkWord( samples, One(), inLevel.level )
                                                    : MarkWord( samples, inStride, inLevel.level );
    }
    for ( ; x < inWidth; ++x )
    {
        auto& word = outBits[x / kBitsOfWord];
        const auto isMarked = inLevel.IsAboveThreshold( inSamples[std::size_t{ x } * inStride] );
        word = ( x % kBitsOfWord ? word : 0 ) | std::uint64_t{ isMarked } << x % kBitsOfWord;
    }
}
} // namespace

XPixelMask::XPixelMask( std::uint32_t inWidth, std::uint32_t inHeight )
    : itsWidth( inWidth ), itsHeight( inHeight ),
      itsWordsPerRow( ( std::size_t{ inWidth } + kBitsOfWord - 1 ) / kBitsOfWord ),
      itsWords( itsWordsPerRow * inHeight )
{
}

std::size_t XPixelMask::CountRuns() const
{
    std::size_t runs = 0;
    std::uint64_t before = 0;
    for ( std::size_t i = 0; i < itsWords.size(); ++i )
    {
        before = i % itsWordsPerRow == 0 ? 0 : before;
        // A run begins at each set bit whose left neighbour is not set.
        runs += static_cast<std::size_t>( std::popcount( itsWords[i] & ~( itsWords[i] << 1 | before ) ) );
        before = itsWords[i] >> ( kBitsOfWord - 1 );
    }
    return runs;
}

XPixelMask XMarkPixels( const WImagePage& inPage, std::uint32_t inChannel, double inThreshold )
{
    XPixelMask mask( inPage.width, inPage.height );
    const auto markRows = [&]<class T>( const T* inSamples )
    {
        const XThresholdLevel<T> level( inThreshold );
        const auto rowLength = std::size_t{ inPage.width } * inPage.channels;
        XForEachRow(
            inPage.height, inPage.width,
            [&]( std::uint32_t inRow )
            {
                const auto* samples = inSamples + inRow * rowLength;
                MarkRow( samples, inPage.channels, inPage.width, level, mask.GetRow( inRow ) );
            } );
    };
    XVisitSamples( inPage, inChannel, markRows );
    return mask;
}
