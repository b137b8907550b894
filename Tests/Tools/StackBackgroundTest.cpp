#include "Core/Times/XTimer.h"
#include "Imaging/Pages/XBackgroundAccumulator.h"
#include "Imaging/TestPages.h"
#include "Memory/XMemoryManager.h"
#include "Memory/XMemoryManagerListener.h"
#include "Options/MemoryBudget.h"
#include "ProgramRun.h"

namespace
{
constexpr std::uint32_t kWidth = 61, kHeight = 40, kChannels = 2;

/// The samples of the pages at one place.
template<class T>
T GetPlainBackground( const std::vector<T>& inSamples, const std::string& inKind )
{
    std::vector<T> finite;
    std::ranges::copy_if(
        inSamples, std::back_inserter( finite ),
        []( T inSample ) { return std::isfinite( static_cast<double>( inSample ) ); } );
    if ( finite.empty() )
        return 0;
    if ( inKind == "min" )
        return *std::ranges::min_element( finite );
    const auto mean =
        std::accumulate( finite.begin(), finite.end(), 0.0 ) / static_cast<double>( finite.size() );
    return static_cast<T>( std::is_same_v<T, float> ? mean : std::floor( mean + 0.5 ) );
}

struct StackBackgroundTest : ProgramRun
{
    using Pages = std::vector<WImagePage>;

    /// Into out.csv.
    int Measure( std::vector<std::string> inArguments )
    {
        const std::vector<std::string> others{ "--csv", Name( "out.csv" ), "-q" };
        inArguments.insert( inArguments.begin(), "measure" );
        inArguments.insert( inArguments.end(), others.begin(), others.end() );
        return Run( inArguments );
    }

    void ExpectSaved( const std::string& inName, const WImagePage& inBackground )
    {
        const auto saved = WImageFile::Open( itsFolder / inName )->ReadPage( 0 );
        ASSERT_TRUE( saved.HasSameLayout( inBackground ) );
        EXPECT_EQ( std::memcmp( saved.samples.get(), inBackground.samples.get(), saved.GetByteCount() ), 0 );
    }

    template<class T>
    static Pages MakePages( std::uint32_t inCount )
    {
        std::mt19937 random( inCount );
        Pages pages;
        for ( std::uint32_t i = 0; i < inCount; ++i )
            pages.push_back( MakePage( kWidth, MakeSamples<T>( random ), kChannels ) );
        return pages;
    }

    /// Subtracts by the definition; returns the background.
    template<class T>
    static WImagePage Subtract( const std::string& inKind, Pages& ioPages )
    {
        std::vector<T> background;
        for ( std::uint64_t i = 0; i < ioPages[0].GetSampleCount(); ++i )
        {
            std::vector<T> samples;
            for ( const auto& page : ioPages )
                samples.push_back( page.GetSamples<T>()[i] );
            background.push_back( GetPlainBackground( samples, inKind ) );
            for ( auto& page : ioPages )
            {
                auto& sample = page.GetSamples<T>()[i];
                sample = sample < background[i] ? T( 0 ) : static_cast<T>( sample - background[i] );
            }
        }
        return MakePage( kWidth, background, kChannels );
    }

    /// With any memory and any number of workers the program measures what the plain definition leaves.
    template<class T>
    void ExpectPlain( const std::string& inKind, std::uint32_t inPages )
    {
        auto pages = MakePages<T>( inPages );
        const auto stack = WritePages( "in/stack.tif", pages );
        const auto background = Subtract<T>( inKind, pages );
        const auto subtracted = WritePages( "subtracted/stack.tif", pages );
        ASSERT_EQ( RunLine( "measure % --csv @expected.csv -q", subtracted ), 0 );

        // The sums and two pages.
        constexpr auto kPage = ( sizeof( T ) * kWidth * kHeight * kChannels + 4095 ) / 4096 * 4096;
        const auto sum = inKind == "min" ? sizeof( T ) : std::is_same_v<T, float> ? 16 : 4;
        const auto little = std::to_string( sum * background.GetSampleCount() + 2 * kPage );
        for ( const auto& memory : { std::string( "1G" ), little } )
            for ( const auto& workers : { "1", "3" } )
            {
                const auto purges = XMemoryManager::GetManager()->GetFigures().purges;
                ASSERT_EQ(
                    Measure(
                        { stack, "--background", inKind, "--save-background", Name( "b.tif" ), "--memory",
                          memory, "--workers", workers } ),
                    0 )
                    << itsError.str();
                EXPECT_EQ( itsFolder.Read( "out.csv" ), itsFolder.Read( "expected.csv" ) ) << inKind;
                ExpectSaved( "b.tif", background );
                const auto hasPurged = XMemoryManager::GetManager()->GetFigures().purges > purges;
                EXPECT_EQ( hasPurged, memory == little && inPages > 2 );
            }
    }

private:
    template<class T>
    static std::vector<T> MakeSamples( std::mt19937& ioRandom )
    {
        const auto levels = std::is_same_v<T, std::uint8_t> ? 256u : 65536u;
        auto samples = MakeNoise<T>( ioRandom, kWidth * kHeight * kChannels, levels );
        if constexpr ( std::is_same_v<T, float> )
            SetSpecial( ioRandom, samples );
        return samples;
    }

    /// Sums of these depend on the order in which they are added; the first place has nothing finite.
    static void SetSpecial( std::mt19937& ioRandom, std::vector<float>& ioSamples )
    {
        constexpr auto kNaN = std::numeric_limits<float>::quiet_NaN();
        constexpr auto kInfinity = std::numeric_limits<float>::infinity();
        constexpr std::array kSpecial{ 1e30f, -1e30f, 1.0f, kNaN, kInfinity, -kInfinity };
        for ( std::size_t i = 0; i < ioSamples.size(); i += 7 )
            ioSamples[i] = kSpecial[ioRandom() % kSpecial.size()];
        ioSamples[0] = kNaN;
    }
};
} // namespace

TEST_F( StackBackgroundTest, IsWhatThePlainDefinitionSays )
{
    for ( const std::string kind : { "mean", "min" } )
        for ( const auto pages : kIsSanitized ? std::vector{ 1u, 8u } : std::vector{ 1u, 8u, 13u } )
        {
            ExpectPlain<std::uint8_t>( kind, pages );
            ExpectPlain<std::uint16_t>( kind, pages );
            ExpectPlain<float>( kind, pages );
        }
}

TEST_F( StackBackgroundTest, SumsMorePagesThanFitInto32Bits )
{
    const auto page = MakePage<std::uint16_t>( 2, { 65535, 1 } );
    XPageMemory memory;
    for ( const auto pages : { 65537u, 65538u, 200001u } )
    {
        const auto sums = XBackgroundAccumulator::Make( XBackgroundKind::kMean, page, pages, memory );
        for ( std::uint32_t i = 0; i < pages; ++i )
            sums->Add( page, 0, 2 );
        auto background = MakePage<std::uint16_t>( 2, { 0, 0 } );
        sums->GetBackground( pages, 0, 2, background );
        EXPECT_EQ( background.GetSamples<std::uint16_t>()[0], 65535 );
        EXPECT_EQ( background.GetSamples<std::uint16_t>()[1], 1 );
    }
}

TEST_F( StackBackgroundTest, IsOfThePagesThatCanBeRead )
{
    auto pages = MakePages<std::uint8_t>( 2 );
    const auto background = [&]
    {
        auto copies = MakePages<std::uint8_t>( 2 );
        return Subtract<std::uint8_t>( "mean", copies );
    }();
    pages.insert( pages.begin() + 1, MakePage<std::uint8_t>( 3, { 1, 2, 3 } ) );
    pages.push_back( std::move( MakePages<std::uint8_t>( 1 )[0] ) );
    pages.back().pixelWidth = pages.back().pixelHeight = 1;
    const auto stack = WritePages( "stack.tif", pages );
    // The resolution of the last page is at the end.
    std::filesystem::resize_file( stack, std::filesystem::file_size( stack ) - 1 );

    ASSERT_EQ( Measure( { stack, "--background", "mean", "--save-background", Name( "b.tif" ) } ), 1 );
    EXPECT_STARTS(
        itsError.str(),
        "korvale: " + stack +
            ": page 1: size or type differs from page 0: cannot subtract a common background "
            "(3 x 1 pixels of 1 8-bit sample, not 61 x 40 pixels of 2 8-bit samples)\nkorvale: " +
            stack + ": page 3: " );
    ExpectSaved( "b.tif", background );
    EXPECT_CONTAINS( itsFolder.Read( "out.csv" ), ",stack.tif,2," );
}

TEST_F( StackBackgroundTest, NeedsMemory )
{
    const auto large = WritePages( "large.tif", MakePages<std::uint16_t>( 8 ) );
    Pages pages;
    pages.push_back( MakePage<std::uint8_t>( 2, { 1, 2 } ) );
    const auto small = WritePages( "small.tif", pages );
    const auto failure = "korvale: " + large + ": pages 0 to 7: there was not enough memory (1012): ";
    const std::vector<std::vector<std::string>> backgrounds{ {}, { "--background", "min" } };
    for ( const auto& background : backgrounds )
    {
        std::vector<std::string> arguments{ large, small, "--memory", "9K" };
        arguments.insert( arguments.end(), background.begin(), background.end() );
        EXPECT_EQ( Measure( arguments ), 1 );
        EXPECT_EQ( itsError.str(), failure + "9.5 KiB do not fit into the memory budget of 9 KiB\n" );
        EXPECT_LACKS( itsFolder.Read( "out.csv" ), "large.tif" );
    }

    // The first page finds room, and cannot leave for the next ones. A background of it alone is none.
    auto& manager = *XMemoryManager::GetManager();
    const auto folder = manager.GetTemporaryFolder();
    manager.SetTemporaryFolder( itsFolder / "missing" );
    EXPECT_EQ( Measure( { large, "--memory", "26K", "--workers", "1", "--background", "min" } ), 1 );
    manager.SetTemporaryFolder( folder );
    EXPECT_CONTAINS( itsError.str(), "page 0: not measured: the background is incomplete\n" );
    for ( const char* part :
          { ": pages 1 to 7: there was not enough memory (1012); memory cannot be purged to ",
            "missing: ", ": 9.5 KiB do not fit into the memory budget of 26 KiB; the rest is pinned\n" } )
        EXPECT_CONTAINS( itsError.str(), part );
}

TEST_F( StackBackgroundTest, TellsWrongUsage )
{
    const auto image = WritePages( "stack.tif", MakePages<std::uint8_t>( 2 ) );
    for ( const std::string& line :
          Split( "% --background max|% --save-background @b.tif|"
                 "% % --background min --save-background @b.tif|% --background min --save-background %|"
                 "% --background min --save-background @out.csv|% --memory 0|% --memory -1G|"
                 "% --memory 1.5|% --memory 9999999T|% --memory nan|% --memory M|% --memory ''" ) )
    {
        EXPECT_EQ( RunLine( "measure --csv @out.csv -q " + line, image ), 2 ) << line;
        EXPECT_NE( itsError.str(), "" );
    }
    EXPECT_EQ( Measure( { image, "--memory", "12 M" } ), 2 );
    EXPECT_EQ( itsFolder.CountEntries(), 1u );
    EXPECT_EQ( Measure( { image, "--memory", "1.5g" } ), 0 );
}
