#include "ProgramRun.h"

#include "Images/WImageFile.h"
#include "Imaging/TestPages.h"

namespace
{
struct OverlayFilesTest : ProgramRun
{
    WImagePage ReadPicture( const std::string& inName )
    {
        return WImageFile::Open( itsFolder / inName )->ReadPage( 0 );
    }

    /// How many pixels are yellower, or bluer, than they are grey.
    static std::size_t CountColoured( const WImagePage& inPage, bool inIsBlue )
    {
        std::size_t count = 0;
        const auto* pixel = inPage.GetSamples<std::uint8_t>();
        for ( std::size_t i = 0; i < std::size_t{ inPage.width } * inPage.height; ++i, pixel += 3 )
            count += inIsBlue ? pixel[2] > pixel[0] + 60 : pixel[0] > pixel[2] + 60;
        return count;
    }
};

/// A dark square with a bright middle on black.
WImagePage MakeSquare()
{
    std::vector<std::uint8_t> samples( 20 * 20 );
    for ( std::size_t y = 5; y < 15; ++y )
        for ( std::size_t x = 5; x < 15; ++x )
            samples[y * 20 + x] = x > 7 && x < 12 && y > 7 && y < 12 ? 200 : 50;
    return MakePage( 20, samples );
}
} // namespace

TEST_F( OverlayFilesTest, ShowsOutlinesOverTheEnlargedPage )
{
    const auto square = MakeSquare();
    const auto image = WriteStack( "square.tif", { &square } );
    ASSERT_EQ( RunLine( "measure % --overlay @o.png --threshold 10", image ), 0 ) << itsError.str();
    const auto plain = ReadPicture( "o.png" );
    EXPECT_EQ( plain.width, 800u );
    EXPECT_EQ( plain.height, 800u );
    // The middle of the upper edge, and what lies around it.
    const auto get = [&]( std::uint32_t inX, std::uint32_t inY )
    { return plain.GetSamples<std::uint8_t>() + ( std::size_t{ inY } * plain.width + inX ) * 3; };
    EXPECT_GT( get( 300, 200 )[0], get( 300, 200 )[2] + 60 );
    EXPECT_EQ( get( 300, 190 )[0], 0 );
    EXPECT_EQ( get( 300, 210 )[0], 64 );
    EXPECT_EQ( CountColoured( plain, true ), 0u );

    ASSERT_EQ( RunLine( "measure % --overlay @i.png --threshold 10 --inside 100", image ), 0 );
    EXPECT_GT( CountColoured( ReadPicture( "i.png" ), true ), 500u );
    EXPECT_EQ( itsFolder.CountEntries(), 3u );
}

TEST_F( OverlayFilesTest, ShowsTheInsideChannelWithinObjects )
{
    // The object is the whole but for a black column; a quarter of it is bright in the second channel.
    std::vector<std::uint8_t> samples;
    for ( std::uint32_t i = 0; i < 20 * 20; ++i )
    {
        const bool isBlack = i % 20 == 0;
        samples.push_back( isBlack ? 0 : 200 );
        samples.push_back( isBlack || i < 100 ? 90 : 0 );
    }
    const auto page = MakePage( 20, samples, 2 );
    const auto image = WriteStack( "two.tif", { &page } );
    const auto getLevels = [&]( const std::vector<std::string>& inOptions )
    {
        std::vector<std::string> arguments{ "measure", image, "--overlay", Name( "o.png" ), "-q" };
        arguments.insert( arguments.end(), inOptions.begin(), inOptions.end() );
        EXPECT_EQ( Run( arguments ), 0 ) << itsError.str();
        const auto picture = ReadPicture( "o.png" );
        const auto get = [&]( std::uint32_t inX, std::uint32_t inY )
        { return picture.GetSamples<std::uint8_t>()[( std::size_t{ inY } * picture.width + inX ) * 3]; };
        const auto pixel = picture.width / 20;
        return std::vector{
            get( pixel / 2, pixel / 2 ), get( 15 * pixel, 2 * pixel ), get( 15 * pixel, 17 * pixel ) };
    };
    EXPECT_EQ( getLevels( { "--inside", "50" } ), ( std::vector<std::uint8_t>{ 0, 255, 255 } ) );
    EXPECT_EQ(
        getLevels( { "--inside", "50", "--inside-channel", "C2" } ),
        ( std::vector<std::uint8_t>{ 0, 255, 0 } ) );
}

TEST_F( OverlayFilesTest, HasAFileForEachPageWhateverTheWorkers )
{
    const auto square = MakeSquare();
    const auto empty = MakePage<std::uint8_t>( 2, { 3, 3 } );
    const auto stack = WriteStack( "stack.tif", { &square, &empty, &square } );
    const auto other = WriteStack( "other.tif", { &square } );
    for ( const auto* workers : { "1", "3" } )
        ASSERT_EQ(
            RunLine(
                "measure % % --overlay % --csv @table.csv --threshold 10 --workers %", stack, other,
                Name( std::string( workers ) + ".png" ), workers ),
            0 )
            << itsError.str();
    EXPECT_EQ( itsFolder.CountEntries(), 2u + 1 + 2 * 4 );
    for ( const auto* name : { "-stack-0000.png", "-stack-0001.png", "-stack-0002.png", "-other.png" } )
        EXPECT_EQ( itsFolder.Read( std::string( "1" ) + name ), itsFolder.Read( std::string( "3" ) + name ) );
    // The same but for the number, which is the ID in the table.
    EXPECT_NE( itsFolder.Read( "1-stack-0000.png" ), itsFolder.Read( "1-stack-0002.png" ) );
    EXPECT_NE( itsFolder.Read( "1-stack-0002.png" ), itsFolder.Read( "1-other.png" ) );

    ASSERT_EQ( RunLine( "measure % % --overlay @c.png -q", other, other ), 0 );
    EXPECT_TRUE( std::filesystem::exists( itsFolder / "c-other.png" ) );
    EXPECT_TRUE( std::filesystem::exists( itsFolder / "c-other-2.png" ) );

    ASSERT_EQ( RunLine( "measure % --overlay @b.png --background min -q", stack ), 1 );
    EXPECT_TRUE( std::filesystem::exists( itsFolder / "b-0000.png" ) );
    EXPECT_FALSE( std::filesystem::exists( itsFolder / "b-0001.png" ) ); // It is of another size.
    EXPECT_TRUE( std::filesystem::exists( itsFolder / "b-0002.png" ) );
}

TEST_F( OverlayFilesTest, IsWrittenTogetherWithTheTableOrNotAtAll )
{
    const auto square = MakeSquare();
    const auto image = WriteStack( "a.tif", { &square, &square } );
    itsFolder.Write( "a.png", "older" );
    const std::vector<std::vector<std::string>> wrong{
        { image, "--overlay", Name( "o.tif" ) },
        { image, "--overlay", Name( "A.png" ), "-o", Name( "a-0001.png" ) },
    };
    for ( auto arguments : wrong )
    {
        arguments.insert( arguments.begin(), "measure" );
        EXPECT_EQ( Run( arguments ), 2 ) << itsError.str();
        EXPECT_EQ( itsFolder.CountEntries(), 2u );
    }
    EXPECT_EQ( RunLine( "measure % --overlay @none/o.png -o @table", image ), 1 );
    EXPECT_CONTAINS( itsError.str(), "cannot write " + Name( "none/o-0000.png" ) );
    EXPECT_EQ( RunLine( "measure % --overlay @o.png -o @none/table", image ), 1 );
    EXPECT_EQ( itsFolder.CountEntries(), 2u );
}

TEST_F( OverlayFilesTest, IsCheckedBeforeAnythingIsMeasured )
{
    const auto square = MakeSquare();
    const auto image = WriteStack( "a.tif", { &square, &square } ), text = Name( "text.tif" );
    itsFolder.Write( "text.tif", "no image, which would be told first" );
    std::filesystem::create_directories( itsFolder / "o-a-0001.png/below" );
    const auto measure = [&]( const std::string& inOverlay )
    { return RunLine( "measure % % --overlay % -q", text, image, Name( inOverlay ) ); };
    EXPECT_EQ( measure( "o.png" ), 1 );
    EXPECT_STARTS( itsError.str(), "korvale: measure: cannot write " + Name( "o-a-0001.png" ) );
    const std::string longName( 248, 'n' );
    EXPECT_EQ( measure( longName + ".png" ), 1 );
    EXPECT_STARTS( itsError.str(), "korvale: measure: cannot write " + Name( longName ) );

    std::error_code error;
    std::filesystem::create_symlink( "p-a-0000.png", itsFolder / "p-a-0001.png", error );
    if ( error )
        GTEST_SKIP() << "no symbolic links here";
    EXPECT_EQ( measure( "p.png" ), 2 );
    EXPECT_EQ( itsFolder.CountEntries(), 4u );
}

TEST_F( OverlayFilesTest, ThatFailsKeepsWhatIsComplete )
{
    const auto square = MakeSquare();
    const auto image = WriteStack( "a.tif", { &square, &square, &square } );
    std::error_code error;
    std::filesystem::create_symlink( kFullDevice, itsFolder / "o-0001.png", error );
    if ( error || !HasFullDevice() )
        GTEST_SKIP() << "no link to a device that is always full";
    EXPECT_EQ( RunLine( "measure % --overlay @o.png -o @t --csv @c", image ), 1 );
    EXPECT_STARTS( itsError.str(), "korvale: measure: cannot write " + Name( "o-0001.png" ) );
    for ( const auto* name : { "o-0000.png.new", "o-0002.png.new", "t.new", "c.new" } )
        EXPECT_CONTAINS( itsError.str(), Name( name ) );
    EXPECT_EQ( itsFolder.CountEntries(), 2u + 4 );
}
