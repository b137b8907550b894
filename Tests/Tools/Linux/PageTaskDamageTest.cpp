#include "Imaging/TestPages.h"
#include "Measuring/CachedOverlay.h"
#include "Measuring/StackBackground.h"
#include "Memory/TestManager.h"
#include "Tools/ProgramRun.h"

#include <sys/mman.h>
#include <unistd.h>

// Pages that wait on a disk which fails: whatever is made of their samples is no result.

namespace
{
constexpr std::uint32_t kPageWidth = 64, kPageHeight = 64;
constexpr std::uint64_t kPageBytes = 2 * kPageWidth * kPageHeight;

struct PageTaskDamageTest : ProgramRun
{
    TestManager itsManager;
    std::atomic<int> itsViews = 0; ///< Of files, since they are damaged.

    std::string WriteNoise( const std::string& inName, int inPages )
    {
        std::mt19937 random( 1 );
        std::vector<WImagePage> pages;
        for ( int i = 0; i < inPages; ++i )
            pages.push_back( MakePage<std::uint16_t>(
                kPageWidth, MakeNoise<std::uint16_t>( random, kPageWidth * kPageHeight, 9 ) ) );
        return WritePages( inName, pages );
    }

    /// The bytes that are mapped next cannot be read, as if their file were cut off: all others in that file can.
    void DamageNextView()
    {
        itsViews = 0;
        itsManager.whenViewed = [this]( void* inData, std::uint64_t inSize )
        {
            if ( itsViews++ > 0 )
                return;
            const auto inPage =
                reinterpret_cast<std::uintptr_t>( inData ) % static_cast<std::uintptr_t>( ::getpagesize() );
            const int empty = ::memfd_create( "empty", MFD_CLOEXEC );
            void* const start = static_cast<char*>( inData ) - inPage;
            EXPECT_EQ(
                ::mmap( start, inSize + inPage, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, empty, 0 ),
                start );
            ::close( empty );
        };
    }

    void PurgeAll() { itsManager.FreeBlocksInRange( 0, std::numeric_limits<std::uint64_t>::max() ); }
};
} // namespace

TEST_F( PageTaskDamageTest, IsReportedInsteadOfMeasured )
{
    const auto stack = WriteNoise( "stack.tif", 12 );
    for ( const bool drawsOverlays : { false, true } )
    {
        DamageNextView();
        const std::string line = "measure % --background min --workers 1 --csv @out.csv -q --memory ";
        const std::string overlay = drawsOverlays ? " --overlay @page.png" : "";
        EXPECT_EQ( RunLine( line + std::to_string( 8 * kPageBytes ) + overlay, stack ), 1 );
        EXPECT_GT( itsViews, 1 ); // and others were not damaged
        const auto errors = itsError.str();
        EXPECT_CONTAINS( errors, ": page " );
        EXPECT_CONTAINS( errors, "(1020)" );
        EXPECT_EQ( std::ranges::count( errors, '\n' ), 1 ) << errors;
    }
}

TEST_F( PageTaskDamageTest, IsMeasuredAgainWhenTheRunContinues )
{
    const auto stack = WriteNoise( "stack.tif", 12 );
    const std::string line =
        "measure % --background min --workers 1 -q -o @t --memory " + std::to_string( 8 * kPageBytes );
    ASSERT_EQ( RunLine( line, stack ), 0 );
    const std::string expected = itsFolder.Read( "t" );
    DamageNextView();
    ASSERT_EQ( RunLine( line + " --resume --csv /dev/full", stack ), 1 );
    EXPECT_CONTAINS( itsError.str(), "(1020)" );
    EXPECT_EQ( RunLine( line + " --resume --verbose", stack ), 0 );
    EXPECT_CONTAINS( itsError.str(), " 12 of 12 pages, 11 from the journal, " );
    EXPECT_TRUE( itsFolder.Read( "t" ) == expected );
}

TEST_F( PageTaskDamageTest, IsNoPartOfABackground )
{
    XImageReader readers( PathFromUTF8( WriteNoise( "stack.tif", 2 ) ) );
    XPageMemory memory;
    StackBackground background( XBackgroundKind::kMean, 2, memory );
    for ( const std::uint32_t number : { 0u, 1u } )
    {
        CachedPage page;
        page.Read( readers, number, memory );
        PurgeAll();
        if ( number == 1 )
            DamageNextView();
        const auto add = [&] { background.Add( number, page ); };
        if ( number == 0 )
            add();
        else
            EXPECT_EQ( ErrorOf( add ), 1020u );
        background.HasEnded( number );
    }
}

TEST_F( PageTaskDamageTest, AndItsOverlayIsNotDrawn )
{
    XPageMemory memory;
    XOverlaySketch sketch;
    sketch.picture.levels.resize( 100'000 );
    CachedOverlay overlay;
    overlay.Keep( std::move( sketch ), memory );
    PurgeAll();
    DamageNextView();
    EXPECT_ERROR( 1020, overlay.Take( memory ) );
}
