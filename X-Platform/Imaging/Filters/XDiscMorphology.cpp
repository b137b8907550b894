#include "Imaging/Filters/XDiscMorphology.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Imaging/Filters/Internal/XDiscChords.h"
#include "Imaging/Pages/Internal/XChannelPage.h"
#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Imaging/Pages/Internal/XVectorLoops.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

// A disc is a stack of horizontal chords, one for each row within the radius. For each row of the page, the
// extremes of 2^k adjacent samples are computed once for each required k, by doubling; the extreme of a chord
// is that of two such spans, which overlap. So a pixel costs two comparisons for each row of the disc, all of
// them between whole rows at fixed offsets, which suits vector instructions. Rows outside the page are left
// out, columns outside have the neutral element.

namespace
{
struct Least
{
    template<class T>
    static constexpr T kNeutral = std::numeric_limits<T>::has_infinity ? std::numeric_limits<T>::infinity()
                                                                       : std::numeric_limits<T>::max();

    template<class T>
    [[gnu::always_inline]] static T Choose( T inOne, T inOther )
    {
        return inOther < inOne ? inOther : inOne;
    }
};

struct Greatest
{
    template<class T>
    static constexpr T kNeutral = std::numeric_limits<T>::has_infinity ? -std::numeric_limits<T>::infinity()
                                                                       : std::numeric_limits<T>::lowest();

    template<class T>
    [[gnu::always_inline]] static T Choose( T inOne, T inOther )
    {
        return inOne < inOther ? inOther : inOne;
    }
};

/// The chord of a disc in a row, as two spans of 2^level samples.
struct Chord
{
    std::uint32_t reach; // columns on each side of the centre
    std::uint32_t level;
};

/// The chords at vertical distance 0, 1, ...
std::vector<Chord> MakeChords( std::uint32_t inRadius )
{
    std::vector<Chord> chords;
    for ( const auto reach : XGetDiscReaches( inRadius ) )
        chords.push_back( { reach, static_cast<std::uint32_t>( std::bit_width( 2 * reach + 1 ) ) - 1 } );
    return chords;
}

/// The extremes over discs, row by row in ascending order.
template<class T, class TExtreme>
class DiscRows
{
public:
    DiscRows( const WImageFormat& inFormat, std::uint32_t inRadius )
        : itsWidth( inFormat.width ), itsHeight( inFormat.height ), itsRadius( inRadius ),
          itsChords( MakeChords( inRadius ) ), itsCapacity( std::min( 2 * inRadius + 1, inFormat.height ) ),
          itsPaddedWidth( std::size_t{ inFormat.width } + 2 * std::size_t{ inRadius } ),
          itsLevels( itsChords.front().level + 1 )
    {
        for ( const auto& chord : itsChords )
            itsLevels[chord.level].isNeeded = true;
        for ( auto& level : itsLevels )
            level.spans.resize( level.isNeeded ? itsCapacity * itsPaddedWidth : itsPaddedWidth );
    }

    /// The next row of the page; at most the rows up to the radius below the row that is being computed.
    template<class TSource>
    void Add( const TSource* inSamples, std::size_t inStride )
    {
        auto* row = GetSpans( 0, itsAdded );
        std::fill_n( row, itsRadius, TExtreme::template kNeutral<T> );
        for ( std::uint32_t x = 0; x < itsWidth; ++x )
            row[itsRadius + x] = inSamples[x * inStride];
        std::fill_n( row + itsRadius + itsWidth, itsRadius, TExtreme::template kNeutral<T> );
        for ( std::uint32_t level = 1; level < itsLevels.size(); ++level )
            Double( level );
        ++itsAdded;
    }

    std::uint32_t GetAdded() const { return itsAdded; }

    void Compute( std::uint32_t inRow, T* outRow )
    {
        itsSpans.clear();
        const auto first = inRow - std::min( inRow, itsRadius );
        const auto last = std::min( inRow + itsRadius, itsHeight - 1 );
        for ( auto row = first; row <= last; ++row )
        {
            const auto& chord = itsChords[row > inRow ? row - inRow : inRow - row];
            const auto* spans = GetSpans( chord.level, row ) + itsRadius;
            itsSpans.push_back( spans - chord.reach );
            itsSpans.push_back( spans + chord.reach + 1 - ( std::ptrdiff_t{ 1 } << chord.level ) );
        }
        // Some are taken twice to complete the last group, which changes no extreme.
        while ( itsSpans.size() % kSpans != 0 )
            itsSpans.push_back( itsSpans.back() );
        Reduce( outRow );
    }

private:
    static constexpr std::size_t kSpans = 8; // compared at a time

    struct Level
    {
        bool isNeeded = false; // by a chord; otherwise only for the next level
        std::vector<T> spans;
    };

    const std::uint32_t itsWidth;
    const std::uint32_t itsHeight;
    const std::uint32_t itsRadius;
    const std::vector<Chord> itsChords;
    const std::uint32_t itsCapacity;
    const std::size_t itsPaddedWidth;
    std::vector<Level> itsLevels;
    std::vector<const T*> itsSpans;
    std::uint32_t itsAdded = 0;

    T* GetSpans( std::uint32_t inLevel, std::uint32_t inRow )
    {
        auto& level = itsLevels[inLevel];
        return level.spans.data() + ( level.isNeeded ? inRow % itsCapacity * itsPaddedWidth : 0 );
    }

    /// Spans of 2^level samples from those of half the length.
    void Double( std::uint32_t inLevel )
    {
        const T* halves = GetSpans( inLevel - 1, itsAdded );
        T* __restrict spans = GetSpans( inLevel, itsAdded );
        const auto half = std::size_t{ 1 } << ( inLevel - 1 );
        // The last ones would reach beyond the margin; no chord uses them.
        const auto count = itsPaddedWidth - std::min( itsPaddedWidth, 2 * half - 1 );
        const auto run = [=]() KORVALE_VECTOR_LOOP
        {
            for ( std::size_t x = 0; x < count; ++x )
                spans[x] = TExtreme::Choose( halves[x], halves[x + half] );
        };
        XRunVectorLoop( run );
    }

    void Reduce( T* __restrict outRow ) const
    {
        const auto width = itsWidth;
        const auto run = [=, this]() KORVALE_VECTOR_LOOP
        {
            for ( std::size_t i = 0; i < itsSpans.size(); i += kSpans )
            {
                const T* spans[kSpans];
                for ( std::size_t k = 0; k < kSpans; ++k )
                    spans[k] = itsSpans[i + k];
                const auto choose = []( T inOne, T inOther ) KORVALE_VECTOR_LOOP
                { return TExtreme::Choose( inOne, inOther ); };
                for ( std::uint32_t x = 0; x < width; ++x )
                {
                    auto extreme = choose(
                        choose( choose( spans[0][x], spans[1][x] ), choose( spans[2][x], spans[3][x] ) ),
                        choose( choose( spans[4][x], spans[5][x] ), choose( spans[6][x], spans[7][x] ) ) );
                    outRow[x] = i == 0 ? extreme : choose( outRow[x], extreme );
                }
            }
        };
        XRunVectorLoop( run );
    }
};

/// Calls `inWork( row, extremes )` for each row. `extremes` may be changed.
template<class T, class TExtreme, class TWork>
void ForEachDiscRow(
    const WImageFormat& inFormat, const T* inSamples, std::size_t inStride, std::uint32_t inRadius,
    TWork inWork )
{
    if ( inRadius < 1 || inRadius > kXMostDiscRadius )
        XThrow( kErrorBadParameters );
    DiscRows<T, TExtreme> rows( inFormat, inRadius );
    std::vector<T> extremes( inFormat.width );
    const auto compute = [&]( std::uint32_t inRow )
    {
        while ( rows.GetAdded() < inFormat.height && rows.GetAdded() <= inRow + inRadius )
            rows.Add( inSamples + std::size_t{ rows.GetAdded() } * inFormat.width * inStride, inStride );
        rows.Compute( inRow, extremes.data() );
        inWork( inRow, extremes.data() );
    };
    XForEachRow( inFormat.height, inFormat.width, compute );
}

template<class TExtreme>
WImagePage FindExtremes( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius )
{
    auto result = XMakeChannelPage( inPage, inPage.type );
    const auto find = [&]<class T>( const T* inSamples )
    {
        auto* const samples = result.GetSamples<T>();
        ForEachDiscRow<T, TExtreme>(
            inPage, inSamples, inPage.channels, inRadius,
            [&]( std::uint32_t inRow, const T* inExtremes )
            { std::copy_n( inExtremes, inPage.width, samples + std::size_t{ inRow } * inPage.width ); } );
    };
    XVisitSamples( inPage, inChannel, find );
    return result;
}
} // namespace

WImagePage XErodeChannel( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius )
{
    return FindExtremes<Least>( inPage, inChannel, inRadius );
}

WImagePage XDilateChannel( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius )
{
    return FindExtremes<Greatest>( inPage, inChannel, inRadius );
}

WImagePage XTopHatChannel( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto eroded = XErodeChannel( inPage, inChannel, inRadius );
    progress.Increment();
    auto result = XMakeChannelPage( inPage, inPage.type );
    const auto subtract = [&]<class T>( const T* inSamples )
    {
        auto* const samples = result.GetSamples<T>();
        ForEachDiscRow<T, Greatest>(
            eroded, eroded.GetSamples<T>(), 1, inRadius,
            [&]( std::uint32_t inRow, const T* inOpened )
            {
                const auto first = std::size_t{ inRow } * inPage.width;
                for ( std::uint32_t x = 0; x < inPage.width; ++x )
                    samples[first + x] =
                        static_cast<T>( inSamples[( first + x ) * inPage.channels] - inOpened[x] );
            } );
    };
    XVisitSamples( inPage, inChannel, subtract );
    return result;
}
