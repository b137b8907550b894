#include "Imaging/Filters/XMedianFilter.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Imaging/Filters/Internal/XDiscChords.h"
#include "Imaging/Pages/Internal/XChannelPage.h"
#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Imaging/Pages/Internal/XVectorLoops.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

// Small discs: many pixels at a time in vectors. Of n samples the smallest and the largest of any n / 2 + 2 are
// not the median; they are dropped, the next sample is taken in, and so on until one is left.
//
// Large discs: a histogram slides along each row (T. Huang, 1979). Per step only the ends of the disc's
// chords change, and the median moves a little from where it was. Groups of levels are counted too, to move in
// large steps. Float samples are replaced by their ranks within a band of rows, which are levels like any
// others.

namespace
{
/// The code of a network, and the time to compile it, grow with the fourth power of the radius.
constexpr std::uint32_t kMostVectorRadius = 3;

/// The rows within reach of a disc, each with a margin in which its border is repeated.
template<class T>
class PaddedRows
{
public:
    PaddedRows( std::uint32_t inWidth, std::uint32_t inHeight, std::uint32_t inRadius )
        : itsWidth( inWidth ), itsHeight( inHeight ), itsRadius( inRadius ),
          itsCapacity( std::min( 2 * inRadius + 1, inHeight ) ),
          itsStride( std::size_t{ inWidth } + 2 * std::size_t{ inRadius } + kTail ),
          itsSamples( itsStride * itsCapacity ), itsRows( 2 * std::size_t{ inRadius } + 1 )
    {
    }

    /// The rows around `inRow` from the top, where column 0 is. Rows are requested in ascending order;
    /// `inLoad( row, samples )` loads one.
    template<class TLoad>
    const std::vector<const T*>& Center( std::uint32_t inRow, TLoad inLoad )
    {
        const auto last = std::min( inRow + itsRadius, itsHeight - 1 );
        itsLoaded = std::max( itsLoaded, inRow - std::min( inRow, itsRadius ) );
        for ( ; itsLoaded <= last; ++itsLoaded )
        {
            auto* row = GetRow( itsLoaded );
            inLoad( itsLoaded, row );
            std::fill_n( row - itsRadius, itsRadius, row[0] );
            std::fill_n( row + itsWidth, itsRadius + kTail, row[itsWidth - 1] );
        }
        for ( std::size_t i = 0; i < itsRows.size(); ++i )
        {
            const auto row = std::int64_t{ inRow } + static_cast<std::int64_t>( i ) - itsRadius;
            itsRows[i] =
                GetRow( static_cast<std::uint32_t>( std::clamp<std::int64_t>( row, 0, itsHeight - 1 ) ) );
        }
        return itsRows;
    }

private:
    static constexpr std::size_t kTail = 32; // a vector may begin at the last column

    const std::uint32_t itsWidth;
    const std::uint32_t itsHeight;
    const std::uint32_t itsRadius;
    const std::uint32_t itsCapacity;
    const std::size_t itsStride;
    std::vector<T> itsSamples;
    std::vector<const T*> itsRows;
    std::uint32_t itsLoaded = 0;

    T* GetRow( std::uint32_t inRow )
    {
        return itsSamples.data() + inRow % itsCapacity * itsStride + itsRadius;
    }
};

// ---- Small discs

constexpr std::size_t kVectorBytes = 32;

template<class T>
struct VectorOf
{
    typedef T Type __attribute__( ( vector_size( kVectorBytes ) ) );
    static constexpr std::uint32_t kLanes = kVectorBytes / sizeof( T );
};

template<class TVector>
[[gnu::always_inline]] inline void Sort( TVector& ioLess, TVector& ioMore )
{
    const TVector less = ioLess < ioMore ? ioLess : ioMore;
    ioMore = ioLess < ioMore ? ioMore : ioLess;
    ioLess = less;
}

/// Moves the least of the first `kCount` to the front and the greatest to their end.
template<std::size_t kCount, class TVector>
[[gnu::always_inline]] inline void MoveExtremes( TVector* ioValues )
{
    // Pairs first: the least is among their lesser ones, the greatest among the others.
#pragma GCC unroll 32
    for ( std::size_t i = 0; i < kCount / 2; ++i )
        Sort( ioValues[i], ioValues[kCount - 1 - i] );
#pragma GCC unroll 32
    for ( std::size_t i = 1; i < ( kCount + 1 ) / 2; ++i )
        Sort( ioValues[0], ioValues[i] );
#pragma GCC unroll 32
    for ( std::size_t i = kCount / 2; i + 1 < kCount; ++i )
        Sort( ioValues[i], ioValues[kCount - 1] );
}

/// Drops the extremes of the first `kCount` values, at least three, and takes in the next one, until one is left.
template<std::size_t kCount, class TVector>
[[gnu::always_inline]] inline void Select( TVector* ioValues, const TVector* inNext, TVector& outMedian )
{
    MoveExtremes<kCount>( ioValues );
    if constexpr ( kCount == 3 )
        outMedian = ioValues[1];
    else
    {
        ioValues[0] = *inNext;
        Select<kCount - 1>( ioValues, inNext + 1, outMedian );
    }
}

template<std::uint32_t kRadius>
constexpr std::size_t CountDisc()
{
    std::size_t count = 0;
    for ( int y = -int{ kRadius }; y <= int{ kRadius }; ++y )
        for ( int x = -int{ kRadius }; x <= int{ kRadius }; ++x )
            count += x * x + y * y <= int{ kRadius } * int{ kRadius };
    return count;
}

template<std::uint32_t kRadius, class T>
void SelectRow( const T* const* inRows, std::uint32_t inWidth, T* outRow )
{
    using Vector = typename VectorOf<T>::Type;
    constexpr auto kLanes = VectorOf<T>::kLanes;
    constexpr auto kSamples = CountDisc<kRadius>();
    const auto run = [=]() KORVALE_VECTOR_LOOP
    {
        for ( std::uint32_t x = 0; x < inWidth; x += kLanes )
        {
            Vector values[kSamples];
            std::size_t count = 0;
            for ( int dy = -int{ kRadius }; dy <= int{ kRadius }; ++dy )
                for ( int dx = -int{ kRadius }; dx <= int{ kRadius }; ++dx )
                    if ( dx * dx + dy * dy <= int{ kRadius } * int{ kRadius } )
                        __builtin_memcpy(
                            &values[count++], inRows[dy + int{ kRadius }] + x + dx, sizeof( Vector ) );
            constexpr auto kFirst = kSamples / 2 + 2;
            Vector median;
            Select<kFirst>( values, values + kFirst, median );
            __builtin_memcpy( outRow + x, &median, std::min( kLanes, inWidth - x ) * sizeof( T ) );
        }
    };
    XRunVectorLoop( run );
}

template<std::uint32_t kRadius, class T>
void SelectMedians( const WImagePage& inPage, const T* inSamples, T* outMedians )
{
    PaddedRows<T> rows( inPage.width, inPage.height, kRadius );
    const std::size_t stride = inPage.channels;
    const auto load = [&]( std::uint32_t inRow, T* outRow )
    {
        for ( std::uint32_t x = 0; x < inPage.width; ++x )
            outRow[x] = inSamples[( std::size_t{ inRow } * inPage.width + x ) * stride];
    };
    XForEachRow(
        inPage.height, inPage.width,
        [&]( std::uint32_t inRow )
        {
            SelectRow<kRadius>(
                rows.Center( inRow, load ).data(), inPage.width,
                outMedians + std::size_t{ inRow } * inPage.width );
        } );
}

// ---- Large discs

/// A histogram that knows its median.
class MedianHistogram
{
public:
    /// Levels are below `inLevels`; at rest it contains `inSamples` samples, which is an odd number.
    MedianHistogram( std::uint32_t inLevels, std::uint32_t inSamples )
        : itsCounts( ( inLevels | kGroupMask ) + 1 ), itsGroups( itsCounts.size() >> kGroupBits ),
          itsBelowMedian( inSamples / 2 )
    {
    }

    void Add( std::uint32_t inLevel )
    {
        ++itsCounts[inLevel];
        ++itsGroups[inLevel >> kGroupBits];
        itsBelow += inLevel < itsMedian;
    }

    void Remove( std::uint32_t inLevel )
    {
        --itsCounts[inLevel];
        --itsGroups[inLevel >> kGroupBits];
        itsBelow -= inLevel < itsMedian;
    }

    std::uint32_t FindMedian()
    {
        while ( itsBelow > itsBelowMedian )
            MoveDown();
        while ( itsBelow + itsCounts[itsMedian] <= itsBelowMedian )
            MoveUp();
        return itsMedian;
    }

private:
    static constexpr std::uint32_t kGroupBits = 6;
    static constexpr std::uint32_t kGroupMask = ( 1u << kGroupBits ) - 1;

    std::vector<std::uint16_t> itsCounts;
    std::vector<std::uint16_t> itsGroups; // the counts of kGroupMask + 1 levels
    const std::uint32_t itsBelowMedian;
    std::uint32_t itsMedian = 0;
    std::uint32_t itsBelow = 0; // samples below itsMedian

    void MoveDown()
    {
        const auto group = itsMedian >> kGroupBits;
        if ( ( itsMedian & kGroupMask ) == 0 && itsBelow - itsGroups[group - 1] > itsBelowMedian )
        {
            itsMedian -= kGroupMask + 1;
            itsBelow -= itsGroups[group - 1];
        }
        else
            itsBelow -= itsCounts[--itsMedian];
    }

    void MoveUp()
    {
        const auto group = itsMedian >> kGroupBits;
        if ( ( itsMedian & kGroupMask ) == 0 && itsBelow + itsGroups[group] <= itsBelowMedian )
        {
            itsMedian += kGroupMask + 1;
            itsBelow += itsGroups[group];
        }
        else
            itsBelow += itsCounts[itsMedian++];
    }
};

/// Slides the histogram along a row; `inStore( column, median )`.
template<class TLevel, class TStore>
void SlideAlongRow(
    MedianHistogram& ioHistogram, const std::vector<const TLevel*>& inRows,
    const std::vector<std::uint32_t>& inReaches, std::uint32_t inWidth, TStore inStore )
{
    const auto radius = inReaches.size() - 1;
    const auto forEachChord = [&]( auto inWork )
    {
        for ( std::size_t i = 0; i < inRows.size(); ++i )
            inWork( inRows[i], std::ptrdiff_t{ inReaches[i > radius ? i - radius : radius - i] } );
    };
    const auto forEachSample = [&]( std::ptrdiff_t inCentre, auto inWork )
    {
        forEachChord(
            [&]( const TLevel* inRow, std::ptrdiff_t inReach )
            {
                for ( auto x = inCentre - inReach; x <= inCentre + inReach; ++x )
                    inWork( inRow[x] );
            } );
    };
    forEachSample( 0, [&]( std::uint32_t inLevel ) { ioHistogram.Add( inLevel ); } );
    inStore( 0u, ioHistogram.FindMedian() );
    for ( std::uint32_t x = 1; x < inWidth; ++x )
    {
        forEachChord(
            [&]( const TLevel* inRow, std::ptrdiff_t inReach )
            {
                ioHistogram.Remove( inRow[std::ptrdiff_t{ x } - 1 - inReach] );
                ioHistogram.Add( inRow[std::ptrdiff_t{ x } + inReach] );
            } );
        inStore( x, ioHistogram.FindMedian() );
    }
    forEachSample(
        std::ptrdiff_t{ inWidth } - 1, [&]( std::uint32_t inLevel ) { ioHistogram.Remove( inLevel ); } );
}

std::uint32_t CountDisc( const std::vector<std::uint32_t>& inReaches )
{
    std::uint32_t count = 2 * inReaches[0] + 1;
    for ( std::size_t y = 1; y < inReaches.size(); ++y )
        count += 2 * ( 2 * inReaches[y] + 1 );
    return count;
}

/// The medians of integers, whose levels are their values.
template<class T>
void CountMedians( const WImagePage& inPage, const T* inSamples, std::uint32_t inRadius, T* outMedians )
{
    const auto reaches = XGetDiscReaches( inRadius );
    PaddedRows<T> rows( inPage.width, inPage.height, inRadius );
    MedianHistogram histogram( std::uint32_t{ std::numeric_limits<T>::max() } + 1, CountDisc( reaches ) );
    const auto load = [&]( std::uint32_t inRow, T* outRow )
    {
        for ( std::uint32_t x = 0; x < inPage.width; ++x )
            outRow[x] = inSamples[( std::size_t{ inRow } * inPage.width + x ) * inPage.channels];
    };
    const auto count = [&]( std::uint32_t inRow )
    {
        auto* const medians = outMedians + std::size_t{ inRow } * inPage.width;
        SlideAlongRow(
            histogram, rows.Center( inRow, load ), reaches, inPage.width,
            [&]( std::uint32_t inX, std::uint32_t inLevel ) { medians[inX] = static_cast<T>( inLevel ); } );
    };
    XForEachRow( inPage.height, inPage.width, count );
}

/// The medians of floats, band by band.
void CountMedians(
    const WImagePage& inPage, const float* inSamples, std::uint32_t inRadius, float* outMedians )
{
    constexpr std::uint32_t kLeastRows = 64;
    const auto reaches = XGetDiscReaches( inRadius );
    const auto rowsAtOnce = std::max( 2 * inRadius, kLeastRows );
    std::vector<float> values;
    for ( std::uint32_t top = 0; top < inPage.height; top += rowsAtOnce )
    {
        const auto bottom = std::min( top + rowsAtOnce, inPage.height );
        const auto first = std::size_t{ top - std::min( top, inRadius ) } * inPage.width;
        const auto end = std::size_t{ std::min( bottom + inRadius, inPage.height ) } * inPage.width;
        values.clear();
        for ( auto i = first; i < end; ++i )
            values.push_back( inSamples[i * inPage.channels] );
        std::ranges::sort( values );
        values.erase( std::unique( values.begin(), values.end() ), values.end() );

        PaddedRows<std::uint32_t> rows( inPage.width, inPage.height, inRadius );
        MedianHistogram histogram( static_cast<std::uint32_t>( values.size() ), CountDisc( reaches ) );
        const auto load = [&]( std::uint32_t inRow, std::uint32_t* outRow )
        {
            for ( std::uint32_t x = 0; x < inPage.width; ++x )
            {
                const auto sample = inSamples[( std::size_t{ inRow } * inPage.width + x ) * inPage.channels];
                outRow[x] =
                    static_cast<std::uint32_t>( std::ranges::lower_bound( values, sample ) - values.begin() );
            }
        };
        const auto count = [&]( std::uint32_t inRow )
        {
            auto* const medians = outMedians + std::size_t{ top + inRow } * inPage.width;
            SlideAlongRow(
                histogram, rows.Center( top + inRow, load ), reaches, inPage.width,
                [&]( std::uint32_t inX, std::uint32_t inLevel ) { medians[inX] = values[inLevel]; } );
        };
        XForEachRow( bottom - top, inPage.width, count );
    }
}
} // namespace

WImagePage XFilterMedian( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius )
{
    if ( inRadius < 1 || inRadius > kXMostMedianRadius )
        XThrow( kErrorBadParameters );
    auto result = XMakeChannelPage( inPage, inPage.type );
    const auto filter = [&]<class T>( const T* inSamples )
    {
        auto* const medians = result.GetSamples<T>();
        switch ( inRadius )
        {
        case 1:
            return SelectMedians<1>( inPage, inSamples, medians );
        case 2:
            return SelectMedians<2>( inPage, inSamples, medians );
        case kMostVectorRadius:
            return SelectMedians<kMostVectorRadius>( inPage, inSamples, medians );
        default:
            return CountMedians( inPage, inSamples, inRadius, medians );
        }
    };
    XVisitSamples( inPage, inChannel, filter );
    return result;
}
