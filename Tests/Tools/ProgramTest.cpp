#include "Core/Strings/XUTF8Text.h"
#include "Imaging/HandmadeTIFF.h"
#include "Imaging/TestImages.h"
#include "Imaging/TestPages.h"
#include "Outputs/OutputFiles.h"
#include "Pivot/XPivotText.h"
#include "ProgramRun.h"

namespace
{
struct ProgramTest : ProgramRun
{
    std::string WriteImage( const std::string& inName, std::string_view inDigits = kGrey8 )
    {
        itsFolder.Write( inName, FromHex( inDigits ) );
        return Name( inName );
    }

    /// A file with that description and pages of one pixel.
    std::string WriteDescribed( const std::string& inName, const std::string& inText, int inPages )
    {
        HandmadeTIFF tiff( true );
        const auto description = tiff.Append( 0, 0 );
        for ( const auto character : inText + '\0' )
            tiff.Append( static_cast<unsigned char>( character ), 1 );
        const auto sample = tiff.Append( 9, 1 );
        const auto length = static_cast<std::uint32_t>( inText.size() + 1 );
        std::string bytes;
        for ( int i = 0; i < inPages; ++i )
            bytes = tiff.Finish(
                { { 256, 3, 1, 1 },
                  { 257, 3, 1, 1 },
                  { 258, 3, 1, 8 },
                  { 262, 3, 1, 1 },
                  { 270, 2, length, description },
                  { 273, 4, 1, sample },
                  { 279, 4, 1, 1 } } );
        itsFolder.Write( inName, bytes );
        return Name( inName );
    }

    /// Measuring an image that is no good, beside a good one, fails and says so, but measures the good one.
    void ExpectRefused( const std::string& inImage, const std::string& inReason )
    {
        const auto good = WriteImage( "good.png" );
        EXPECT_EQ( RunLine( "measure % % --csv @out.csv", inImage, good ), 1 ) << inImage;
        EXPECT_EQ( itsError.str(), "korvale: " + inImage + ": " + inReason + "\n" );
        EXPECT_CONTAINS(
            itsFolder.Read( "out.csv" ), "\n1,good.png,0,1,0.125,2,1,2,1,1,1,4,255,255,255,0,255\n" );

        itsFolder.Write( "kept.csv", "older" );
        EXPECT_EQ( RunLine( "measure % --csv @kept.csv", inImage ), 1 );
        EXPECT_EQ( itsFolder.Read( "kept.csv" ), "older" );
        EXPECT_EQ( itsOut.str(), "" );
    }
};
} // namespace

TEST_F( ProgramTest, ShowsWhatItMeasured )
{
    ASSERT_EQ( RunLine( "sample @new/folder --planes 3 --channels 2 --objects 9" ), 0 );
    const auto image = Name( "new/folder/sample.tif" );
    ASSERT_EQ( RunLine( "measure % -o @t --csv @c", image ), 0 ) << itsError.str();
    EXPECT_CONTAINS( itsOut.str(), "sample.tif" );

    const auto csv = itsFolder.Read( "c" );
    EXPECT_EQ( std::ranges::count( csv, '\n' ), 1 + 3 * 9 );
    ASSERT_EQ( RunLine( "show @t --csv" ), 0 );
    EXPECT_EQ( itsOut.str(), csv );
    ASSERT_EQ( RunLine( "show @t" ), 0 );
    EXPECT_EQ( std::ranges::count( itsOut.str(), '\n' ), 1 + 3 * 9 );
}

TEST_F( ProgramTest, SamplesAreTheSameOnEverySystem )
{
    // A sum of the bytes that this program wrote when samples came to be.
    ASSERT_EQ( RunLine( "sample @s --planes 2 --width 64 --height 48 --objects 4 --quiet" ), 0 );
    EXPECT_EQ( itsOut.str(), "" );
    std::uint32_t sum = 0;
    for ( const auto& file : { "s/sample.tif", "s/truth.csv" } )
        for ( const auto byte : itsFolder.Read( file ) )
            sum = sum * 31 + static_cast<unsigned char>( byte );
    EXPECT_EQ( sum, 3433723130u );

    const auto first = itsFolder.Read( "s/sample.tif" );
    RunLine( "sample @s --planes 2 --width 64 --height 48 --objects 4 --seed 2" );
    EXPECT_NE( itsFolder.Read( "s/sample.tif" ), first );
}

TEST_F( ProgramTest, HelpFitsTheTerminal )
{
    constexpr std::size_t kWidth = 80;
    for ( const char* command :
          { "", "sample", "measure", "show", "pivot", "sort", "filter", "export", "plot", "keys", "control",
            "node", "status", "ping" } )
    {
        ASSERT_EQ( *command ? RunLine( "% --help", command ) : RunLine( "--help" ), 0 );
        std::istringstream help( itsOut.str() );
        for ( std::string line; std::getline( help, line ); )
            EXPECT_LE( XCountCharacters( line ), kWidth ) << command << ": " << line;
    }
}

TEST_F( ProgramTest, RefusesWrongUsage )
{
    const auto image = WriteImage( "image.png" );
    for ( const std::string& line :
          Split( "|nonsense|measure|measure % --channel C0|measure % --series x|"
                 "measure % --times 3-2|measure % --z all|"
                 "measure % --threshold nan|measure % --threshold 12x|measure % --connectivity 6|"
                 "measure % --min-pixels -1|measure % -o ''|measure % --csv ''|measure % --log ''|"
                 "measure % --threshold multiotsu|measure % --threshold multiotsu:11|"
                 "measure % --threshold multiotsu:3:3|measure % --threshold local:8|measure % --threshold Li|"
                 "measure % --threshold sauvola:1001|measure % --threshold-scale 0|measure % --smooth 0|"
                 "measure % --smooth nan|measure % --median 101|measure % --open 0|measure % --max-pixels 0|"
                 "measure % --subtract-background 0|measure % --split x|measure % --split distance:-1|"
                 "measure % --split distance:|measure % --split intensity:0.01|"
                 "measure % --workers 0|measure % --inside x|measure % --pixel-size 0,5|"
                 "measure % --pixel-size 1,2,3|measure % --pixel-size inf|measure % --inside-channel C1|"
                 "measure % -o @same --csv @./same|measure % --csv %|sample @s --planes 0|"
                 "sample @s --bits 12|sample @s --seed -1|sample @s --objects 1000 --width 50|"
                 "sample @s --width 65536 --height 65536|show % --csv --structure" ) )
    {
        EXPECT_EQ( RunLine( line, image ), 2 ) << line;
        EXPECT_NE( itsError.str(), "" );
        EXPECT_EQ( itsOut.str(), "" );
    }
    EXPECT_EQ( itsFolder.CountEntries(), 1u );
    EXPECT_EQ( itsFolder.Read( "image.png" ), FromHex( kGrey8 ) );
    EXPECT_EQ( RunLine( "measure --help" ), 0 );
}

TEST_F( ProgramTest, SuggestsCommandsAndOptions )
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        { { "mesure", "image.tif" }, "unknown command mesure (did you mean measure?); see korvale --help" },
        { { "nonsense" }, "unknown command nonsense; see korvale --help" },
        { { "--lgo", "x", "show", "t" },
          "show: unknown option --lgo (did you mean --log?); see korvale show --help" },
        { { "measure", "a.tif", "--overlya=o.png" },
          "measure: unknown option --overlya (did you mean --overlay?); see korvale measure --help" },
        { { "show", "a", "b" }, "show: unexpected argument b; see korvale show --help" },
    };
    for ( const auto& [arguments, text] : cases )
    {
        EXPECT_EQ( Run( arguments ), 2 );
        EXPECT_EQ( itsError.str(), "korvale: " + text + "\n" );
    }
    EXPECT_EQ( Run( {} ), 2 );
    EXPECT_STARTS( itsError.str(), "korvale: no command given: one of sample, measure, " );
}

TEST_F( ProgramTest, RefusesFilesThatAreOneAnother )
{
    const auto image = WriteImage( "image.png" ), table = Name( "table" );
    ASSERT_EQ( RunLine( "measure % -o % -q", image, table ), 0 );
    const auto before = itsFolder.Read( "table" );
    std::filesystem::create_hard_link( itsFolder / "table", itsFolder / "hard" );
    const auto path = Name( "./no/../table" ), hard = Name( "hard" ), csv = Name( "new.csv" );
    std::filesystem::create_directory( itsFolder / "no" );
    std::vector<std::vector<std::string>> cases{
        { "show", table, "--log", table },
        { "show", hard, "--log", path },
        { "measure", image, "--log", image },
        { "measure", image, "-o", csv, "--log", csv },
        { "measure", image, "--csv", Name( "log.2" ), "--log", Name( "log" ) },
        { "measure", image, "--csv", Name( "N1.csv" ), "-o", Name( "n1.CSV" ) },
        { "measure", image, "--overlay", image },
        { "measure", image, "--overlay", Name( "o.png" ), "--csv", Name( "o.png" ) },
        { "measure", image, "--background", "min", "--save-background", csv, "--csv", csv },
        { "sample", Name( "none" ), "--log", Name( "none/truth.csv" ) },
        { "pivot", table, "--values", "area", "--with", "mean", "-o", table },
        { "pivot", table, "--values", "area", "--with", "mean", "--csv", hard },
        { "sort", table, "--by", "area", "-o", path },
        { "filter", table, "--where", "area > 1", "-o", hard },
        { "export", table, "--npz", table },
        { "export", table, "--npz", csv, "--csv", csv },
        { "plot", table, "--histogram", "area", "-o", Name( "p.svg" ), "--log", Name( "p.svg" ) },
    };
    std::error_code error;
    std::filesystem::create_symlink( "table", itsFolder / "link", error );
    std::filesystem::create_symlink( "new.csv", itsFolder / "dangling", error );
    if ( !error )
    {
        cases.push_back( { "filter", Name( "link" ), "--where", "area > 1", "-o", table } );
        cases.push_back( { "measure", image, "--csv", csv, "--log", Name( "dangling" ) } );
    }
    const auto entries = itsFolder.CountEntries();
    for ( const auto& arguments : cases )
    {
        EXPECT_EQ( Run( arguments ), 2 ) << arguments[0] << arguments.back();
        EXPECT_STARTS( itsError.str(), "korvale: " + arguments[0] + ": " );
    }
    EXPECT_EQ( itsFolder.CountEntries(), entries );
    EXPECT_EQ( itsFolder.Read( "table" ), before );
    EXPECT_EQ( itsFolder.Read( "image.png" ), FromHex( kGrey8 ) );
}

TEST_F( ProgramTest, TellsImagesApartByNameAndFolder )
{
    for ( const auto* folder : { "1/a/x", "1/b/x", "2/a/x" } )
        std::filesystem::create_directories( itsFolder / folder );
    const auto measure = [&]( const std::vector<std::string>& inNames )
    {
        std::vector<std::string> arguments{ "measure", "-q", "-o", Name( "t" ), "--csv", Name( "c" ) };
        for ( const auto& name : inNames )
            arguments.push_back(
                std::filesystem::exists( itsFolder / name ) ? Name( name ) : WriteImage( name ) );
        ASSERT_EQ( Run( arguments ), 0 ) << itsError.str();
    };
    const auto pivot = [&]( const std::string& inRows )
    {
        EXPECT_EQ( RunLine( "pivot @t --rows % --values id --with count --csv @p", inRows ), 0 )
            << itsError.str();
        return itsFolder.Read( "p" );
    };
    measure( { "1/a/x/i.png", "1/a/x/i.png", "1/b/x/j.png" } );
    EXPECT_STARTS( itsError.str(), "korvale: " + Name( "1/a/x/i.png" ) + " is listed more than once" );
    EXPECT_STARTS( itsFolder.Read( "c" ), "ID,Name,Timepoint," );
    measure( { "1/a/x/i.png", "1/b/x/i.png", "2/a/x/i.png", "1/b/x/j.png" } );
    EXPECT_STARTS( itsFolder.Read( "c" ), "ID,Name,Folder,Timepoint," );
    EXPECT_EQ(
        pivot( "folder,name" ), "Folder,Name,Count\n1/a,i.png,1\n1/b,i.png,1\n1/b,j.png,1\n2/a,i.png,1\n" );
    measure( { "i.png", "1/a/x/i.png" } );
    EXPECT_EQ( pivot( "folder" ), "Folder,Count\n.,1\n1/a/x,1\n" );

    const std::string omega = "\u03A9.png", middle = "\u4E2D.png", accent = "\u00E9.png";
    for ( const auto& name : { omega, middle, accent } )
        std::filesystem::copy( itsFolder / "i.png", PathFromUTF8( Name( name ) ) );
    EXPECT_EQ( RunLine( "measure % % % -q -o @t", Name( omega ), Name( middle ), Name( accent ) ), 0 );
    EXPECT_EQ( pivot( "name" ), "Name,Count\n\\u{3A9}.png,1\n\\u{4E2D}.png,1\n\u00E9.png,1\n" );
    for ( const auto& name : { omega, std::string( "\\u{3A9}.png" ) } )
        EXPECT_EQ( RunLine( "filter @t --where % --csv @f", "name = " + name ), 0 );
    EXPECT_EQ( XPivotText::FromFileName( "\\u{3A9} \\u" ).GetStringView(), "\\u{5C}u{3A9} \\u" );
}

TEST_F( ProgramTest, ChecksItsOutputsBeforeItMeasures )
{
    // The image cannot be read, which would be told first.
    itsFolder.Write( "text.png", "no image\n" );
    for ( const auto* output : { "no/such/folder.png", "text.png/below.png" } )
        for ( const auto* option : { "-o", "--csv", "--overlay" } )
        {
            EXPECT_EQ( RunLine( "measure @text.png % %", option, Name( output ) ), 1 );
            EXPECT_STARTS( itsError.str(), "korvale: measure: cannot write " + Name( output ) + ": " );
        }
}

TEST_F( ProgramTest, PutsFilesInPlaceTogetherOrKeepsThem )
{
    itsFolder.Write( "a", "old" );
    std::vector<CompleteFile> files;
    for ( const auto* name : { "a", "b" } )
        files.push_back(
            WriteCompleteFile( { Name( name ), []( WFile& ioFile ) { ioFile.WriteAt( 0, "new", 3 ); } } ) );
    std::filesystem::create_directories( itsFolder / "b/below" );
    const std::string text = TextOfError( [&] { PutInPlace( std::move( files ) ); } );
    EXPECT_STARTS( text, "cannot write " + Name( "b" ) + ": " );
    EXPECT_CONTAINS( text, "; the result is kept as " );
    EXPECT_CONTAINS( text, "b.new" );
    EXPECT_EQ( itsFolder.Read( "a" ) + itsFolder.Read( "a.new" ) + itsFolder.Read( "b.new" ), "oldnewnew" );
    EXPECT_EQ( itsFolder.CountEntries(), 4u );
}

TEST_F( ProgramTest, KeepsResultsWhoseTargetsChangeMeanwhile )
{
    const auto writeNew = []( WFile& ioFile ) { ioFile.WriteAt( 0, "new", 3 ); };
    const auto blockNext = [&]( WFile& ioFile )
    {
        std::filesystem::create_directories( itsFolder / "b/below" );
        writeNew( ioFile );
    };
    EXPECT_THROW(
        WriteOutputFiles( { { Name( "a" ), blockNext }, { Name( "b" ), writeNew } } ), std::runtime_error );
    EXPECT_EQ( itsFolder.Read( "a.new" ) + itsFolder.Read( "b.new" ), "newnew" );

    const auto fail = []( WFile& ) { throw std::runtime_error( "the disk is full" ); };
    EXPECT_THROW(
        WriteOutputFiles( { { Name( "c" ), writeNew }, { Name( "d" ), fail } } ), std::runtime_error );
    EXPECT_EQ( itsFolder.Read( "c.new" ), "new" );
    EXPECT_EQ( itsFolder.CountEntries(), 4u );
}

TEST_F( ProgramTest, TellsOfImagesItCannotRead )
{
    const auto missing = Name( "missing.png" );
    EXPECT_EQ( RunLine( "measure %", missing ), 1 );
    EXPECT_STARTS( itsError.str(), "korvale: " + missing + ": " );

    itsFolder.Write( "text.png", "no image\n" );
    ExpectRefused( Name( "text.png" ), "it is neither a TIFF nor a PNG file" );
    itsFolder.Write( "empty.tif", std::string( "II*\0\0\0\0\0", 8 ) );
    ExpectRefused( Name( "empty.tif" ), "it has no pages" );
}

TEST_F( ProgramTest, GivesAreasWhereTheSizeOfPixelsIsKnown )
{
    auto fine = MakePage<std::uint8_t>( 3, { 0, 9, 9 } );
    fine.pixelWidth = 20;
    fine.pixelHeight = 10;
    auto coarse = MakePage<std::uint8_t>( 2, { 9, 0 } );
    coarse.pixelWidth = 5;
    coarse.pixelHeight = 25400.0 / 72;
    const auto image = WriteStack( "stack.tif", { &fine, &coarse } ),
               other = WriteStack( "b.tif", { &coarse } );
    const auto measure = [&]( std::vector<std::string> inOptions )
    {
        inOptions.insert( inOptions.begin(), { "measure", image, other, "-q", "--csv", Name( "out.csv" ) } );
        EXPECT_EQ( Run( inOptions ), 0 ) << itsError.str();
        return itsFolder.Read( "out.csv" );
    };
    auto csv = measure( {} );
    EXPECT_CONTAINS( csv, "\n1,stack.tif,0,2,400,1.5," );
    EXPECT_CONTAINS( csv, "\n2,stack.tif,1,1,,0," );
    EXPECT_EQ(
        itsError.str(),
        "korvale: " + image +
            ": areas left out: pixel size 352.78 \u00B5m is a screen or print resolution (set it with "
            "--pixel-size)\n" );
    csv = measure( { "--pixel-size", "0.5,4" } );
    EXPECT_CONTAINS( csv, "\n1,stack.tif,0,2,4,1.5," );
    EXPECT_CONTAINS( csv, "\n3,b.tif,0,1,2,0," );
    EXPECT_EQ( itsError.str(), "" );

    EXPECT_EQ( RunLine( "measure % -q --csv @out.csv", other ), 0 );
    EXPECT_LACKS( itsFolder.Read( "out.csv" ), "Area" );
}

TEST_F( ProgramTest, GoesOnBehindPagesThatFail )
{
    const auto grey = MakePage<std::uint8_t>( 2, { 1, 9 } );
    const auto colours = MakePage<std::uint8_t>( 2, { 0, 1, 0, 9 }, 2 );
    const auto image = WriteStack( "stack.tif", { &colours, &grey, &colours, &grey, &grey } );
    ASSERT_EQ( RunLine( "measure % --channel C2 --csv @out.csv -q", image ), 1 );
    const auto line = []( const std::string& inSubject )
    { return "korvale: " + inSubject + ": it has no channel C2 (expected C1)\n"; };
    EXPECT_EQ( itsError.str(), line( image + ": page 1" ) + line( image + ": pages 3 to 4" ) );
    const auto csv = itsFolder.Read( "out.csv" );
    EXPECT_EQ( std::ranges::count( csv, '\n' ), 3 );
    EXPECT_CONTAINS( csv, "\n1,stack.tif,0," );
    EXPECT_CONTAINS( csv, "\n2,stack.tif,2," );

    EXPECT_EQ( RunLine( "measure % --channel C3 --csv @none.csv", image ), 1 );
    EXPECT_FALSE( std::filesystem::exists( itsFolder / "none.csv" ) );
}

TEST_F( ProgramTest, TellsOfAPageThatIsCutOff )
{
    // The directory of each page lies behind its samples: without its end the file has lost its last page.
    RunLine( "sample @s --planes 2 --objects 1 --width 64 --height 64 -q" );
    auto bytes = itsFolder.Read( "s/sample.tif" );
    bytes.pop_back();
    itsFolder.Write( "cut.tif", bytes );
    EXPECT_EQ( RunLine( "measure @cut.tif --csv @out.csv" ), 1 );
    EXPECT_STARTS( itsError.str(), "korvale: " + Name( "cut.tif" ) + ": page 1: " );
    EXPECT_EQ( std::ranges::count( itsFolder.Read( "out.csv" ), '\n' ), 2 );
}

TEST_F( ProgramTest, WritesTheSameWithAnyNumberOfWorkers )
{
    // The first pages take longest, so that with several workers the jobs end in another order.
    std::mt19937 random( 1 );
    std::vector<WImagePage> pages;
    for ( const std::uint32_t side : { 600, 300, 100, 30, 10, 3, 2, 1 } )
        pages.push_back( MakePage( side, MakeNoise<std::uint8_t>( random, side * side, 9 ) ) );
    const auto first = WritePages( "first.tif", pages ), last = WritePages( "last.tif", pages );

    std::vector<std::string> expected;
    for ( const auto workers : { "1", "2", "3", "1000" } )
    {
        const auto table = Name( "t" ), csv = Name( "c" );
        EXPECT_EQ(
            RunLine( "measure % @no.tif % -o % --csv % --workers %", first, last, table, csv, workers ), 1 );
        const std::vector<std::string> written{
            itsFolder.Read( "t" ), itsFolder.Read( "c" ), itsOut.str(), itsError.str() };
        expected = expected.empty() ? written : expected;
        EXPECT_EQ( written, expected ) << workers;
    }
}

TEST_F( ProgramTest, SegmentsAPreprocessedChannel )
{
    // Dark spots of one and of nine pixels on a slope; a NaN and an infinite sample beside them.
    std::vector<float> samples( 40 * 30 );
    for ( std::size_t i = 0; i < samples.size(); ++i )
        samples[i] = static_cast<float>( 100 + i % 40 * 3 );
    for ( const std::size_t i : { 5u, 410u, 411u, 412u, 450u, 451u, 452u, 490u, 491u, 492u } )
        samples[i] -= 60;
    samples[25] = std::nanf( "" );
    samples[1010] = -std::numeric_limits<float>::infinity();
    const auto page = MakePage( 40, samples );
    const auto image = WriteStack( "image.tif", { &page } );
    const auto count = [&]( const std::string& inOptions )
    {
        EXPECT_EQ( RunLine( "measure % --csv @out.csv " + inOptions, image ), 0 ) << itsError.str();
        EXPECT_EQ(
            itsError.str(),
            "korvale: " + image +
                ": page 0: 2 pixels are infinite or not a number and never part of an object\n" );
        return std::ranges::count( itsFolder.Read( "out.csv" ), '\n' ) - 1;
    };
    EXPECT_EQ( count( "--dark --subtract-background 3 --threshold 30" ), 2 );
    EXPECT_EQ( count( "--dark --subtract-background 3 --median 1 --threshold isodata" ), 1 );
    // Statistics are those of the original pixels.
    EXPECT_CONTAINS( itsFolder.Read( "out.csv" ), ",70,76,73," );
}

TEST_F( ProgramTest, SplitsObjectsThatTouch )
{
    // Two bright spots in overlapping discs, and a speck.
    std::vector<std::uint8_t> samples( 60 * 30 );
    for ( int i = 0; i < 60 * 30; ++i )
    {
        const auto x = i % 60, y = i / 60 - 15;
        for ( const auto centre : { 15, 33 } )
            if ( const auto square = ( x - centre ) * ( x - centre ) + y * y; square <= 100 )
                samples[static_cast<std::size_t>( i )] = static_cast<std::uint8_t>( 200 - square );
    }
    samples[58] = 255;
    const auto page = MakePage( 60, samples );
    const auto image = WriteStack( "image.tif", { &page, &page, &page } );
    const auto count = [&]( const std::string& inOptions )
    {
        EXPECT_EQ(
            RunLine( "measure % --threshold 50 --csv @out.csv --overlay @o.png " + inOptions, image ), 0 );
        return std::ranges::count( itsFolder.Read( "out.csv" ), '\n' ) - 1;
    };
    EXPECT_EQ( count( "" ), 3 * 2 );
    EXPECT_EQ( count( "--split distance --workers 1" ), 3 * 3 );
    const auto table = itsFolder.Read( "out.csv" ), overlay = itsFolder.Read( "o-0002.png" );
    EXPECT_EQ( count( "--split distance:0.75 --workers 3" ), 3 * 3 );
    EXPECT_EQ( itsFolder.Read( "out.csv" ), table );
    EXPECT_EQ( itsFolder.Read( "o-0002.png" ), overlay );
    EXPECT_EQ( count( "--split distance:9" ), 3 * 2 );
    EXPECT_EQ( count( "--split intensity" ), 3 * 3 );
    EXPECT_EQ( count( "--split intensity:9" ), 3 * 2 );
    // Parts are measured, removed and searched one by one.
    EXPECT_EQ( count( "--split distance --min-pixels 2 --max-pixels 400 --inside 150" ), 3 * 4 );
}

TEST_F( ProgramTest, MeasuresGivenObjects )
{
    const auto page = MakePage<std::uint8_t>( 4, { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12 } );
    const auto image = WriteStack( "image.tif", { &page, &page } );
    // The first label has two parts that touch another one; only corners join the parts of the mask's first object.
    const auto labels = MakePage<std::uint16_t>( 4, { 65535, 7, 7, 65535, 65535, 7, 0, 0, 0, 0, 0, 1 } );
    const auto mask = MakePage<float>( 4, { 9, 0, 0, 1, 0, 1, 0, 1, 0, 0, 0, std::nanf( "" ) } );
    const auto files =
        std::pair( WriteStack( "l.tif", { &labels, &labels } ), WriteStack( "m.tif", { &mask, &mask } ) );
    const auto measure = [&]( const std::string& inOptions )
    {
        EXPECT_EQ( RunLine( "measure % --csv @out.csv " + inOptions, image ), 0 ) << itsError.str();
        const auto csv = itsFolder.Read( "out.csv" );
        return std::pair( std::ranges::count( csv, '\n' ) - 1, csv );
    };
    const auto found = measure( "--workers 1 --objects " + files.first );
    EXPECT_EQ( found.first, 2 * 3 );
    // ID, name, time, pixels, centroid, location, bounds, perimeter, and the samples 1, 4 and 5 of the first object
    EXPECT_CONTAINS( found.second, "\n1,image.tif,0,3,1,0.3333333333333333,0,0,4,2,10,1,5," );
    EXPECT_EQ( measure( "--workers 3 --objects " + files.first ), found );
    EXPECT_EQ( measure( "--min-pixels 2 --background min --objects " + files.first ).first, 2 * 2 );
    EXPECT_EQ( measure( "--exclude-edges --objects " + files.first ).first, 0 );
    EXPECT_EQ( measure( "--mask " + files.second ).first, 2 * 2 );
    EXPECT_EQ( measure( "--split distance:0 --connectivity 4 --mask " + files.second ).first, 2 * 3 );

    // Written labels are the IDs, of all pages.
    EXPECT_EQ( measure( "--labels @ids.tif --overlay @o.png --objects " + files.first ), found );
    EXPECT_EQ( measure( "--objects " + Name( "ids.tif" ) ), found );
    const auto ids = WImageFile::Open( itsFolder / "ids.tif" )->ReadPage( 1 );
    EXPECT_EQ( ids.GetSamples<std::uint16_t>()[0], 4 );

    const auto fail = [&]( const std::string& inOptions, int inStatus )
    {
        EXPECT_EQ( RunLine( "measure % --csv @none.csv " + inOptions, image ), inStatus ) << inOptions;
        return itsError.str();
    };
    const auto small = MakePage<std::uint8_t>( 1, { 1 } );
    const auto broken = MakePage<float>( 4, { 0, 1.5f, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 } );
    EXPECT_CONTAINS(
        fail( "--objects " + WriteStack( "s.tif", { &small, &small } ), 1 ),
        "it has 4 x 3 pixels, but the given objects have 1 x 1 pixels" );
    EXPECT_CONTAINS( fail( "--mask " + WriteStack( "s.tif", { &small } ), 1 ), "s.tif has 1" );
    EXPECT_CONTAINS(
        fail( "--objects " + WriteStack( "b.tif", { &broken, &labels } ), 1 ), "b.tif: sample 1.5" );
    const auto rounded = MakePage<float>( 4, { 0, 16777215, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16777216 } );
    EXPECT_CONTAINS(
        fail( "--objects " + WriteStack( "b.tif", { &rounded, &labels } ), 1 ), "b.tif: sample 16777216" );
    EXPECT_CONTAINS( fail( "--objects " + Name( "no.tif" ), 1 ), "no.tif: " );
    EXPECT_CONTAINS( fail( image + " --mask " + files.second, 2 ), "only one image" );
    for ( const auto& options : Split(
              "--labels l.png|--labels " + image +
              "|--mask x.tif|--threshold 3|--smooth 2|--split distance|--control a:1|-o " + files.first ) )
        fail( "--objects " + files.first + " " + options, 2 );
}

TEST_F( ProgramTest, CombinesNoLabelsOfSeveralSlices )
{
    const auto stack = WriteDescribed( "stack.tif", "ImageJ=1.53t\nimages=2\nslices=2\n", 2 );
    const auto page = MakePage<std::uint8_t>( 1, { 7 } );
    const auto flat = WriteStack( "flat.tif", { &page } );
    for ( const auto* mode : { "max", "sum", "mean" } )
    {
        const auto line = "measure % --csv @out.csv --z " + std::string( mode );
        EXPECT_EQ( RunLine( line + " --objects " + stack, stack ), 1 );
        EXPECT_CONTAINS( itsError.str(), "labels of several slices cannot be combined" );
        EXPECT_EQ( RunLine( line + " --objects " + flat, stack ), 0 ) << itsError.str();
        EXPECT_EQ( RunLine( line + " --mask " + stack, stack ), 0 ) << itsError.str();
    }
    EXPECT_EQ( RunLine( "measure % --csv @out.csv --objects " + stack, stack ), 0 ) << itsError.str();
}

TEST_F( ProgramTest, TellsOnceThatFilesOfASetAreNotMeasuredAgain )
{
    std::string planes, command = "measure";
    for ( const auto* number : { "0", "1", "2", "3" } )
        planes += "<TiffData FirstT='" + std::string( number ) + "' PlaneCount='1'><UUID FileName='" +
            number + ".tif'>urn:uuid:00000000-0000-0000-0000-00000000000" + number + "</UUID></TiffData>";
    for ( const auto* number : { "0", "1", "2", "3" } )
        command += " " +
            WriteDescribed(
                       number + std::string( ".tif" ),
                       "<?xml version='1.0'?><OME xmlns='http://www.openmicroscopy.org/Schemas/OME/2016-06' "
                       "UUID='urn:uuid:00000000-0000-0000-0000-00000000000" +
                           std::string( number ) +
                           "'><Image ID='Image:0'><Pixels ID='Pixels:0' DimensionOrder='XYZCT' Type='uint8' "
                           "SizeX='1' SizeY='1' SizeZ='1' SizeC='1' SizeT='4'>" +
                           planes + "</Pixels></Image></OME>",
                       1 );
    EXPECT_EQ( RunLine( command + " --threshold 1 --csv @out.csv" ), 0 ) << itsError.str();
    EXPECT_EQ( std::ranges::count( itsFolder.Read( "out.csv" ), '\n' ), 1 + 4 );
    EXPECT_CONTAINS( itsError.str(), "0.tif (and 2 more such images)\n" );
    EXPECT_EQ( std::ranges::count( itsError.str(), '\n' ), 1 );
}

TEST_F( ProgramTest, WritesLabels )
{
    constexpr std::uint32_t kSide = 400;
    std::vector<std::uint8_t> samples;
    for ( std::uint32_t i = 0; i < kSide * kSide; ++i )
        samples.push_back( ( i % kSide + i / kSide ) % 2 == 0 );
    auto page = MakePage( kSide, samples );
    page.pixelWidth = 0.5;
    page.pixelHeight = 0.25;
    const auto small = MakePage<std::uint8_t>( 3, { 0, 0, 0, 0, 1, 1 } );
    const auto image = WriteStack( "image.tif", { &page, &small } );
    const auto measure = [&]( const std::string& inOptions )
    { return RunLine( "measure % --connectivity 4 " + inOptions, image ); };
    EXPECT_EQ( measure( "--threshold 0 --labels @ids.tif --csv @a.csv" ), 0 );
    EXPECT_EQ( measure( "--objects @ids.tif --csv @b.csv" ), 0 ) << itsError.str();
    EXPECT_EQ( itsFolder.Read( "a.csv" ), itsFolder.Read( "b.csv" ) );
    const auto ids = WImageFile::Open( itsFolder / "ids.tif" );
    EXPECT_EQ( ids->ReadPage( 0 ).pixelWidth, 0.5 );
    EXPECT_EQ( ids->ReadPage( 0 ).pixelHeight, 0.25 );
    EXPECT_EQ( ids->ReadPage( 1 ).width, 3u );
    EXPECT_EQ( ids->ReadPage( 1 ).GetSamples<float>()[5], 80001 );

    // Neither pages without objects nor pages that failed have labels. Open files are not replaced on every system.
    const auto two = MakePage<std::uint8_t>( 2, { 0, 9, 0, 9 }, 2 );
    const auto mixed = WriteStack( "mixed.tif", { &small, &two } );
    EXPECT_EQ( RunLine( "measure % --threshold 7 --channel C2 --labels @two.tif", mixed ), 1 );
    const auto pages = WImageFile::Open( itsFolder / "two.tif" );
    EXPECT_EQ( pages->ReadPage( 0 ).GetSamples<std::uint16_t>()[0], 0 );
    EXPECT_EQ( pages->ReadPage( 0 ).width, 2u );
    EXPECT_EQ( pages->ReadPage( 1 ).GetSamples<std::uint16_t>()[0], 1 );
    EXPECT_EQ( RunLine( "measure % --threshold 9 --labels @none.tif", mixed ), 0 );
    EXPECT_EQ( WImageFile::Open( itsFolder / "none.tif" )->ReadPage( 1 ).GetSamples<std::uint16_t>()[0], 0 );

    if ( !HasFullDevice() )
        return;
    std::filesystem::create_symlink( "/dev/full", itsFolder / "full.tif" );
    EXPECT_EQ( measure( "--threshold 0 --labels @full.tif --csv @a.csv --overlay @o.png" ), 1 );
    EXPECT_CONTAINS( itsError.str(), "full.tif: " );
    EXPECT_CONTAINS( itsError.str(), "; the result is kept as " + Name( "a.csv" ) );
}

TEST_F( ProgramTest, KeepsALog )
{
    const auto image = WriteImage( "image.png" ), log = Name( "log" );
    EXPECT_EQ( RunLine( "measure % @no.tif --log % -q", image, log ), 1 );
    EXPECT_EQ( itsOut.str(), "" );
    EXPECT_EQ( RunLine( "--verbose --log % measure % -q", log, image ), 0 );
    EXPECT_CONTAINS( itsError.str(), "image.png: 1 of 1 pages, 1 objects, " );

    const auto entries = itsFolder.Read( "log" );
    const std::vector<std::string> expected{
        "\tinformation\t",
        "\t-\tkorvale 0.",
        ": measure " + image,
        image + ": 1 of 1 pages, 1 objects, ",
        "\terror\t",
        "\t2\t" + Name( "no.tif" ) + ": ",
        "ended with status 1 after ",
        "ended with status 0 after " };
    for ( const auto& text : expected )
        EXPECT_CONTAINS( entries, text ) << text << entries;

    EXPECT_EQ( RunLine( "measure % -q --log %", image, Name( "image.png" ) + "/log" ), 0 );
    EXPECT_CONTAINS( itsError.str(), "warning: cannot write the log " );
}

TEST_F( ProgramTest, MeasuresAPageOfOneValue )
{
    RunLine( "sample @s --planes 1 --objects 0 --width 8 --height 8 -q" );
    EXPECT_EQ( RunLine( "measure @s/sample.tif --threshold 65535 --csv @out.csv" ), 0 );
    EXPECT_EQ( std::ranges::count( itsFolder.Read( "out.csv" ), '\n' ), 1 );
    EXPECT_STARTS( itsFolder.Read( "out.csv" ), "ID,Name,Timepoint,Pixel Count," );
}

TEST_F( ProgramTest, LeavesNothingHalfWritten )
{
    const auto image = WriteImage( "image.png" );
    itsFolder.Write( "file", "" );
    const auto expectUnwritable =
        [&]( const std::vector<std::string>& inArguments, const std::string& inOutput )
    {
        EXPECT_EQ( Run( inArguments ), 1 ) << inOutput;
        EXPECT_STARTS( itsError.str(), "korvale: " + inArguments[0] + ": cannot write " + inOutput + ": " );
        EXPECT_EQ( itsOut.str(), "" );
        EXPECT_EQ( itsFolder.CountEntries(), 2u );
    };
    for ( const auto& output : { Name( "no/such/folder" ), Name( "file/below" ), Name( "." ) } )
    {
        expectUnwritable( { "measure", image, "-o", Name( "t" ), "--csv", output }, output );
        expectUnwritable( { "measure", image, "-o", output, "--csv", Name( "c" ) }, output );
    }
    for ( const auto& output : { Name( "file" ), Name( "file/below" ) } )
        expectUnwritable( { "sample", output }, output );

    itsFolder.Write( "old.csv", std::string( 100000, 'x' ) );
    EXPECT_EQ( RunLine( "measure % --csv @old.csv", image ), 0 );
    EXPECT_EQ( itsFolder.Read( "old.csv" ).size(), 230u );
    EXPECT_EQ( itsFolder.CountEntries(), 3u );
}

TEST_F( ProgramTest, NoticesWhatItCannotPrint )
{
    std::ostream broken( nullptr );
    Terminal terminal{ broken, itsError };
    for ( const auto& argument : { "--help", "--version" } )
        EXPECT_EQ( RunProgram( { argument }, terminal ), 1 );
    EXPECT_EQ( RunProgram( { "measure", WriteImage( "image.png" ) }, terminal ), 1 );
    EXPECT_CONTAINS( itsError.str(), "korvale: standard output: not everything could be written\n" );
}

TEST_F( ProgramTest, EndsWhereItCannotReport )
{
    struct Full : std::streambuf
    {
    } full;
    std::ostream broken( &full );
    broken.exceptions( std::ios::badbit );
    Terminal terminal{ itsOut, broken };
    EXPECT_ANY_THROW( RunProgram( { "measure", Name( "missing.png" ) }, terminal ) );
}

TEST_F( ProgramTest, QuotesNamesInCSV )
{
    const auto image = WriteImage( "a, b.png" );
    ASSERT_EQ( RunLine( "measure % --csv @out.csv -q", image ), 0 );
    EXPECT_CONTAINS( itsFolder.Read( "out.csv" ), "\n1,\"a, b.png\",0," );
    EXPECT_CONTAINS( itsFolder.Read( "out.csv" ), "Area (\u00B5m\u00B2)" );
}

TEST_F( ProgramTest, LeavesCellsBlankThatAnImageLacks )
{
    const auto grey = WriteImage( "grey.png", kGrey16 );
    const auto colour = WriteImage( "colour.png", kRGBA8 );
    ASSERT_EQ( RunLine( "measure % % --csv @out.csv -q", grey, colour ), 0 );
    EXPECT_CONTAINS( itsFolder.Read( "out.csv" ), ",65534,65534,65534,0,65534,,,,,,,,,,\n" );
}

TEST_F( ProgramTest, MakesTheFolderOfADeploymentOnce )
{
    const auto folder = Name( "new/keys/" );
    EXPECT_EQ( RunLine( "keys %", folder ), 0 ) << itsError.str();
    EXPECT_STARTS( itsOut.str(), folder + ": a key" );
    EXPECT_EQ( itsFolder.Read( "new/keys/key" ).size(), 33u );
    EXPECT_EQ( RunLine( "keys %", folder ), 1 );
    EXPECT_CONTAINS( itsError.str(), "the folder is not empty (1013)" );
    EXPECT_EQ( RunLine( "keys @new/keys/key/below" ), 1 );
    EXPECT_EQ( RunLine( "keys %", "" ), 2 );
}
