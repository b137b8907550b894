#include "Measuring/StackBackground.h"

#include "Jobs/XChunks.h"

#include <string>

// Floating-point sums depend on the order of their terms, so the pages are added in page order, sample by
// sample, whichever workers have them: the result is the same for any number of workers. To let several
// workers add at the same time nevertheless, the samples are divided into stages of equal size. Page n may
// add its samples of a stage as soon as page n - 1 has passed that stage (StageOrder), as in the pipeline of
// a processor.
//
// Guards: `itsSums`, `itsFormat`, `itsFirst` and `itsAdded` are changed only between WaitForStage( page, 0 )
// and Pass( page, 0 ), so by one page at a time; the mutex of StageOrder orders these accesses.

namespace
{
/// Stages of an addition: with so many, several pages are added at the same time by as many threads.
constexpr std::uint32_t kStages = 16;

std::string DescribeFormat( const WImageFormat& inFormat )
{
    const auto* const type = inFormat.type == WImageFormat::kUInt8 ? "8-bit"
        : inFormat.type == WImageFormat::kUInt16                   ? "16-bit"
                                                                   : "float";
    return std::to_string( inFormat.width ) + " x " + std::to_string( inFormat.height ) + " pixels of " +
        std::to_string( inFormat.channels ) + " " + type +
        ( inFormat.channels == 1 ? " sample" : " samples" );
}

template<class T>
void Subtract(
    const WImagePage& inBackground, std::uint64_t inFirst, std::uint64_t inEnd, WImagePage& ioPage )
{
    const auto* const background = inBackground.GetSamples<T>();
    auto* const samples = ioPage.GetSamples<T>();
    for ( auto i = inFirst; i < inEnd; ++i )
    {
        // NaN remains NaN.
        const auto difference = samples[i] - background[i];
        samples[i] = static_cast<T>( difference < 0 ? 0 : difference );
    }
}

void Subtract(
    const WImagePage& inBackground, std::uint64_t inFirst, std::uint64_t inEnd, WImagePage& ioPage )
{
    VisitSampleType(
        inBackground.type,
        [&]<class T>( std::type_identity<T> ) { Subtract<T>( inBackground, inFirst, inEnd, ioPage ); } );
}
} // namespace

StackBackground::StackBackground( XBackgroundKind inKind, std::uint32_t inPageCount, XPageMemory& ioMemory )
    : itsKind( inKind ), itsPageCount( inPageCount ), itsMemory( ioMemory ), itsOrder( inPageCount )
{
}

/// The page is not locked while it waits for its turn: others may need the memory to get to the end of theirs.
void StackBackground::Add( std::uint32_t inPage, CachedPage& ioPage )
{
    itsOrder.WaitForStage( inPage, 0 );
    Admit( inPage, ioPage.GetFormat() );
    // From here the page can only wait for pages before it, which have been locked already or have ended.
    const auto page = ioPage.Lock( itsMemory, kLockForRead );
    ++itsAdded;

    const auto count = page.GetSampleCount();
    XProgress progress( kStages );
    for ( std::uint32_t stage = 0; stage < kStages; ++stage )
    {
        // Returns at once for stage 0.
        itsOrder.WaitForStage( inPage, stage );
        itsSums->Add( page, count * stage / kStages, count * ( stage + 1 ) / kStages );
        itsOrder.Pass( inPage, stage );
        progress.Increment();
        progress.YieldAndCheckAbort();
    }
    ioPage.CheckIntact();
}

/// Creates the accumulator with the first page that arrives.
void StackBackground::Admit( std::uint32_t inPage, const WImageFormat& inFormat )
{
    if ( !itsSums )
    {
        itsSums = XBackgroundAccumulator::Make( itsKind, inFormat, itsPageCount, itsMemory );
        itsFormat = inFormat;
        itsFirst = inPage;
    }
    if ( !inFormat.HasSameLayout( itsFormat ) )
        throw WImageError(
            "size or type differs from page " + std::to_string( itsFirst ) +
            ": cannot subtract a common background (" + DescribeFormat( inFormat ) + ", not " +
            DescribeFormat( itsFormat ) + ")" );
}

void StackBackground::Compute()
{
    itsBackground = WImagePage{ itsFormat, itsMemory.AllocateLasting( itsFormat.GetByteCount() ) };
    const auto compute = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    { itsSums->GetBackground( itsAdded, inFirst, inEnd, itsBackground ); };
    XForEachChunk( itsFormat.GetSampleCount(), kPixelsAtOnce, compute );
    itsSums.reset();
}

void StackBackground::SubtractFrom( WImagePage& ioPage ) const
{
    const auto subtract = [&]( std::uint64_t inFirst, std::uint64_t inEnd )
    { Subtract( itsBackground, inFirst, inEnd, ioPage ); };
    XForEachChunk( itsFormat.GetSampleCount(), kPixelsAtOnce, subtract );
}
