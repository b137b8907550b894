#include "ObjectFinder.h"

#include "Pieces.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>

// The page becomes a mask of bits, which tells how many runs there are. Then one pass over the rows joins every run to
// those it touches in the row above and adds its shape to a provisional component; at the end the components that
// turned out to be one are added up. Components are numbered as they appear and always joined into the earlier one, so
// the numbers that remain are in raster order.

namespace
{
constexpr std::uint32_t kWordBits = 64;

/// The pixels of a page as bits, the first pixel of a word lowest. Every row begins a new word.
class Mask
{
public:
    Mask( std::uint32_t inWidth, std::uint32_t inHeight )
        : itsWordsPerRow( ( std::size_t{ inWidth } + kWordBits - 1 ) / kWordBits ),
          itsWords( itsWordsPerRow * inHeight )
    {
    }

    std::span<std::uint64_t> GetRow( std::uint32_t inRow )
    {
        return { itsWords.data() + inRow * itsWordsPerRow, itsWordsPerRow };
    }

    std::size_t CountRuns() const
    {
        std::size_t runs = 0;
        std::uint64_t before = 0;
        for ( std::size_t i = 0; i < itsWords.size(); ++i )
        {
            before = i % itsWordsPerRow == 0 ? 0 : before;
            runs += static_cast<std::size_t>( std::popcount( itsWords[i] & ~( itsWords[i] << 1 | before ) ) );
            before = itsWords[i] >> ( kWordBits - 1 );
        }
        return runs;
    }

private:
    std::size_t itsWordsPerRow;
    std::vector<std::uint64_t> itsWords;
};

/// The samples that lie above a threshold, in the samples' own type: all, those above `level`, or none.
template<class T>
struct Level
{
    bool takesAll;
    T level;

    explicit Level( double inThreshold )
    {
        const double highest = std::numeric_limits<T>::max();
        takesAll = std::numeric_limits<T>::is_integer && inThreshold < 0;
        level = static_cast<T>( std::floor( std::clamp( inThreshold, 0.0, highest ) ) );
    }
};

template<>
Level<float>::Level( double inThreshold ) : takesAll( false )
{
    // The largest float that is not above the threshold separates the same samples.
    constexpr double kHighest = std::numeric_limits<float>::max();
    level = std::isinf( inThreshold ) ? static_cast<float>( inThreshold )
                                      : static_cast<float>( std::clamp( inThreshold, -kHighest, kHighest ) );
    if ( double{ level } > inThreshold )
        level = std::nextafter( level, -std::numeric_limits<float>::infinity() );
}

/// Turns eight bytes of 0 or 1 into eight bits, the first byte lowest.
std::uint64_t PackBytes( const std::uint8_t* inBytes )
{
    std::uint64_t bytes;
    std::memcpy( &bytes, inBytes, sizeof( bytes ) );
    if constexpr ( std::endian::native == std::endian::big )
        bytes = __builtin_bswap64( bytes );
    return ( bytes * 0x0102040810204080u ) >> 56;
}

template<class T, class Stride>
std::uint64_t MarkWord( const T* inSamples, Stride inStride, T inLevel )
{
    std::uint8_t flags[kWordBits];
    for ( std::uint32_t i = 0; i < kWordBits; ++i )
        flags[i] = inSamples[i * inStride] > inLevel;
    std::uint64_t word = 0;
    for ( std::uint32_t i = 0; i < kWordBits; i += 8 )
        word |= PackBytes( flags + i ) << i;
    return word;
}

template<class T>
void MarkRow(
    const T* inSamples, std::uint32_t inStride, std::uint32_t inWidth, Level<T> inLevel,
    std::span<std::uint64_t> outBits )
{
    struct One
    {
        constexpr operator std::uint32_t() const { return 1; }
    };
    std::uint32_t x = 0;
    for ( ; x + kWordBits <= inWidth; x += kWordBits )
    {
        const auto* samples = inSamples + std::size_t{ x } * inStride;
        outBits[x / kWordBits] = inLevel.takesAll ? ~std::uint64_t{ 0 }
            : inStride == 1                       ? MarkWord( samples, One(), inLevel.level )
                                                  : MarkWord( samples, inStride, inLevel.level );
    }
    for ( ; x < inWidth; ++x )
    {
        auto& word = outBits[x / kWordBits];
        const auto isMarked = inLevel.takesAll || inSamples[std::size_t{ x } * inStride] > inLevel.level;
        word = ( x % kWordBits ? word : 0 ) | std::uint64_t{ isMarked } << x % kWordBits;
    }
}

class Finder
{
public:
    Finder( std::uint32_t inWidth, std::size_t inRunCount, Connectivity inConnectivity )
        : itsWidth( inWidth ), itsReach( inConnectivity == Connectivity::kEdgesAndCorners ? 1 : 0 )
    {
        // Room that is not used is not touched either.
        itsRuns.reserve( inRunCount );
        itsShapes.reserve( inRunCount );
        itsParents.reserve( inRunCount );
    }

    void AddRow( std::uint32_t inRow, std::span<const std::uint64_t> inBits );
    FoundObjects TakeObjects( std::uint64_t inLeastPixels );

private:
    std::uint32_t itsWidth;
    std::uint32_t itsReach; ///< How far beside each other runs of two rows may lie and still touch.
    std::vector<PixelRun> itsRuns;
    std::vector<ObjectShape> itsShapes;    ///< Of the provisional components.
    std::vector<std::uint32_t> itsParents; ///< An earlier component that is the same one, or itself.
    std::size_t itsAbove = 0;              ///< The first run of the row above that may touch the next run.
    std::size_t itsRowStart = 0;           ///< The first run of the row that is being added.

    void AddRun( std::uint32_t inRow, std::uint32_t inFirst, std::uint32_t inEnd );
    void NumberComponent( std::size_t inComponent, std::uint64_t inLeastPixels, std::uint32_t& ioObjects );
    std::uint32_t FindRoot( std::uint32_t inComponent );
    std::uint32_t Join( std::uint32_t inOne, std::uint32_t inOther );
};

void Finder::AddRow( std::uint32_t inRow, std::span<const std::uint64_t> inBits )
{
    // Runs of a row that is not the one above touch nothing.
    const auto previousStart = itsRowStart;
    itsRowStart = itsRuns.size();
    const auto isNext = itsRowStart > 0 && itsRuns.back().row + 1 == inRow;
    itsAbove = isNext ? previousStart : itsRowStart;

    std::uint64_t before = 0;
    std::uint32_t first = 0;
    bool isInside = false;
    for ( std::uint32_t word = 0; word < inBits.size(); ++word )
    {
        auto changes = inBits[word] ^ ( inBits[word] << 1 | before );
        before = inBits[word] >> ( kWordBits - 1 );
        for ( ; changes != 0; changes &= changes - 1 )
        {
            const auto x = word * kWordBits + static_cast<std::uint32_t>( std::countr_zero( changes ) );
            if ( isInside )
                AddRun( inRow, first, x );
            first = x;
            isInside = !isInside;
        }
    }
    if ( isInside )
        AddRun( inRow, first, itsWidth );
}

void Finder::AddRun( std::uint32_t inRow, std::uint32_t inFirst, std::uint32_t inEnd )
{
    while ( itsAbove < itsRowStart && itsRuns[itsAbove].end + itsReach <= inFirst )
        ++itsAbove;

    auto component = PixelRun::kNoObject;
    std::uint32_t contacts = 0;
    for ( auto above = itsAbove; above < itsRowStart && itsRuns[above].first < inEnd + itsReach; ++above )
    {
        const auto& run = itsRuns[above];
        const auto from = std::max( run.first, inFirst ), to = std::min( run.end, inEnd );
        contacts += to > from ? to - from : 0;
        component = component == PixelRun::kNoObject ? FindRoot( run.object ) : Join( component, run.object );
    }
    if ( component == PixelRun::kNoObject )
    {
        component = static_cast<std::uint32_t>( itsParents.size() );
        itsParents.push_back( component );
        itsShapes.emplace_back();
    }
    itsRuns.push_back( { inRow, inFirst, inEnd, component } );

    const auto count = inEnd - inFirst;
    auto& shape = itsShapes[component];
    shape.pixelCount += count;
    shape.sumX += ( std::uint64_t{ inFirst } + inEnd - 1 ) * count / 2;
    shape.sumY += std::uint64_t{ inRow } * count;
    shape.contacts += contacts;
    ++shape.runCount;
    shape.left = std::min( shape.left, inFirst );
    shape.right = std::max( shape.right, inEnd - 1 );
    shape.top = std::min( shape.top, inRow );
    shape.bottom = inRow;
}

std::uint32_t Finder::FindRoot( std::uint32_t inComponent )
{
    while ( itsParents[inComponent] != inComponent )
        inComponent = itsParents[inComponent] = itsParents[itsParents[inComponent]];
    return inComponent;
}

std::uint32_t Finder::Join( std::uint32_t inOne, std::uint32_t inOther )
{
    const auto [earlier, later] = std::minmax( { FindRoot( inOne ), FindRoot( inOther ) } );
    itsParents[later] = earlier;
    return earlier;
}

/// Turns the parent of a component into the number of its object. Parents come before their children.
void Finder::NumberComponent( std::size_t inComponent, std::uint64_t inLeastPixels, std::uint32_t& ioObjects )
{
    auto& parent = itsParents[inComponent];
    if ( parent != inComponent )
        parent = itsParents[parent];
    else if ( itsShapes[inComponent].pixelCount < inLeastPixels )
        parent = PixelRun::kNoObject;
    else
    {
        itsShapes[ioObjects] = itsShapes[inComponent];
        parent = ioObjects++;
    }
}

FoundObjects Finder::TakeObjects( std::uint64_t inLeastPixels )
{
    // A parent comes before its children, so one pass from the end adds everything up to the roots ...
    for ( auto component = itsParents.size(); component-- > 0; )
        if ( const auto parent = itsParents[component]; parent != component )
            itsShapes[parent].Add( itsShapes[component] );

    // ... and one from the start turns parents into numbers of objects, whose shapes move up.
    std::uint32_t objects = 0;
    const auto number = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    {
        for ( auto component = inFirst; component < inEnd; ++component )
            NumberComponent( component, inLeastPixels, objects );
    };
    ForEachPiece( itsParents.size(), kPixelsAtOnce, number );
    itsShapes.resize( objects );
    for ( auto& run : itsRuns )
        run.object = itsParents[run.object];
    return { std::move( itsShapes ), std::move( itsRuns ) };
}

template<class T>
void MarkPage( const WImagePage& inPage, std::uint32_t inChannel, double inThreshold, Mask& outMask )
{
    const Level<T> level( inThreshold );
    const auto* samples = inPage.GetSamples<T>() + inChannel;
    ForEachRow(
        inPage.height, inPage.width,
        [&]( std::uint32_t inRow )
        {
            MarkRow( samples, inPage.channels, inPage.width, level, outMask.GetRow( inRow ) );
            samples += std::size_t{ inPage.width } * inPage.channels;
        } );
}

Mask MarkPage( const WImagePage& inPage, std::uint32_t inChannel, double inThreshold )
{
    Mask mask( inPage.width, inPage.height );
    switch ( inPage.type )
    {
    case WImagePage::kUInt8:
        MarkPage<std::uint8_t>( inPage, inChannel, inThreshold, mask );
        break;
    case WImagePage::kUInt16:
        MarkPage<std::uint16_t>( inPage, inChannel, inThreshold, mask );
        break;
    case WImagePage::kFloat32:
        MarkPage<float>( inPage, inChannel, inThreshold, mask );
        break;
    }
    return mask;
}
} // namespace

void ObjectShape::Add( const ObjectShape& inOther )
{
    pixelCount += inOther.pixelCount;
    sumX += inOther.sumX;
    sumY += inOther.sumY;
    contacts += inOther.contacts;
    runCount += inOther.runCount;
    left = std::min( left, inOther.left );
    top = std::min( top, inOther.top );
    right = std::max( right, inOther.right );
    bottom = std::max( bottom, inOther.bottom );
}

FoundObjects FindObjects(
    const WImagePage& inPage, std::uint32_t inChannel, double inThreshold, Connectivity inConnectivity,
    std::uint64_t inLeastPixels )
{
    XProgress progress( 3, XProgress::kProgressSteps );
    auto mask = MarkPage( inPage, inChannel, inThreshold );
    progress.Increment();
    Finder finder( inPage.width, mask.CountRuns(), inConnectivity );
    ForEachRow(
        inPage.height, inPage.width,
        [&]( std::uint32_t inRow ) { finder.AddRow( inRow, mask.GetRow( inRow ) ); } );
    progress.Increment();
    return finder.TakeObjects( inLeastPixels );
}
