#include "Core/Streams/XMemStream.h"
#include "Imaging/TestPages.h"
#include "Measuring/JournalRecords.h"
#include "Measuring/MeasurePageJob.h"
#include "Tools/ProgramRun.h"

// Runs that are killed are in interrupt_korvale.py. Here a run ends with an output that cannot be written, and all of its
// pages are finished.

namespace
{
const char* const kJournal = "y-.table.journal";

class MeasureJournalTest : public ProgramRun
{
protected:
    void SetUp() override
    {
        if ( !HasFullDevice() )
            GTEST_SKIP();
    }

    /// The status, what is printed, and all files. A `%` in the words is the prefix.
    std::string
    Measure( const std::string& inPrefix, const std::string& inWords, const std::string& inCSV = "@%.csv" )
    {
        std::string line = "measure -o @%.table --csv " + inCSV + " " + inWords;
        for ( auto at = line.find( '%' ); at != std::string::npos; at = line.find( '%' ) )
            line.replace( at, 1, inPrefix );
        const int status = RunLine( line );
        return std::to_string( status ) + itsOut.str() + ReadFiles( inPrefix );
    }

    /// Returns the journal.
    std::string Interrupt( const std::string& inWords )
    {
        Measure( "y-", inWords + " --resume", "/dev/full" );
        EXPECT_CONTAINS( itsError.str(), "the finished pages are kept in " + Name( kJournal ) + ": " );
        RemoveNew();
        return itsFolder.Read( kJournal );
    }

    std::string Resume( const std::string& inWords )
    {
        return Measure( "y-", inWords + " --resume --verbose" );
    }
};

std::string Store( const XMemStream& inStream )
{
    return std::string( inStream.GetData(), inStream.GetData() + inStream.GetLength() );
}
} // namespace

TEST_F( MeasureJournalTest, ContinuesWithTheBytesOfAnUninterruptedRun )
{
    ASSERT_EQ( RunLine( "sample @ --planes 5 --width 150 --height 90 --channels 2 --objects 6" ), 0 );
    for ( const std::string options :
          { "@sample.tif @sample.tif",
            "@sample.tif --overlay @%o.png --labels @%l.tif --inside otsu --channel C2",
            "@sample.tif --background mean --save-background @%b.tif", "@sample.tif --background min" } )
    {
        const std::string expected = Measure( "x-", options );
        const std::string journal = Interrupt( options );
        for ( const std::size_t percent : { 0, 1, 30, 70, 99, 100 } )
        {
            itsFolder.Write( kJournal, journal.substr( 0, journal.size() * percent / 100 ) );
            EXPECT_TRUE( Resume( options ) == expected ) << options << percent << itsError.str();
            EXPECT_FALSE( std::filesystem::exists( itsFolder / kJournal ) );
        }
        EXPECT_CONTAINS( itsError.str(), " 5 of 5 pages, 5 from the journal, " );
        const bool isRead = itsError.str().find( "background of 5 pages" ) != std::string::npos;
        EXPECT_EQ( isRead, options.find( "save" ) != std::string::npos );
        itsFolder.Write( kJournal, journal + std::string( 100, '\0' ) );
        EXPECT_TRUE( Resume( options ) == expected ) << options;
        EXPECT_CONTAINS( itsError.str(), "cut off 100 bytes" );
    }
}

TEST_F( MeasureJournalTest, MeasuresChangedImagesAndFailedPagesAgain )
{
    for ( const std::string name : { "a", "b" } )
        ASSERT_EQ( RunLine( "sample @" + name + " --planes 3 --width 80 --height 60 --objects 3" ), 0 );
    const auto changed = itsFolder / "a/sample.tif";
    const std::string images = "@a/sample.tif @b/sample.tif";
    Interrupt( images );
    ASSERT_EQ( RunLine( "sample @c --planes 3 --width 80 --height 60 --objects 5" ), 0 );
    std::filesystem::rename( itsFolder / "c/sample.tif", changed );
    const std::string expected = Measure( "x-", images );
    EXPECT_TRUE( Resume( images ) == expected );
    EXPECT_CONTAINS(
        itsError.str(), "sample.tif: has changed since the interrupted run: it is measured again" );
    EXPECT_EQ( itsError.str().find( "a/sample.tif: 3 of 3 pages, 3 from" ), std::string::npos );
    EXPECT_CONTAINS( itsError.str(), "b/sample.tif: 3 of 3 pages, 3 from the journal, " );

    for ( const int label : { 3, 5 } )
    {
        std::vector<WImagePage> labels;
        for ( int page = 0; page < 3; ++page )
            labels.push_back( MakePage( 80, std::vector<std::uint16_t>( 80 * 60, 0 ) ) );
        for ( int i = 0; i < 40 * label; ++i )
            labels[1].GetSamples<std::uint16_t>()[1000 + i] = static_cast<std::uint16_t>( label );
        WritePages( "labels.tif", labels );
        const std::string given = "@b/sample.tif --overlay @%o.png --objects " + Name( "labels.tif" );
        const std::string ofLabels = Measure( "x-", given );
        if ( label == 3 )
            Interrupt( given );
        else
            EXPECT_TRUE( Resume( given ) == ofLabels ) << itsError.str();
    }
    EXPECT_EQ( itsError.str().find( "from the journal" ), std::string::npos );

    std::mt19937 random( 1 );
    std::vector<WImagePage> pages;
    for ( const std::uint32_t width : { 20u, 21u, 20u } )
        pages.push_back( MakePage( width, MakeNoise<std::uint16_t>( random, 10 * width, 99 ) ) );
    WritePages( "odd.tif", pages );
    const std::string options = "@odd.tif --background mean";
    const std::string failed = Measure( "x-", options );
    Interrupt( options );
    EXPECT_TRUE( Resume( options ) == failed );
    EXPECT_CONTAINS( itsError.str(), "page 1: size or type differs" );
    EXPECT_CONTAINS( itsError.str(), " 2 of 3 pages, 2 from the journal, " );
}

TEST_F( MeasureJournalTest, MeasuresPagesAgainFromWhichAnotherBackgroundWasSubtracted )
{
    ASSERT_EQ( RunLine( "sample @ --planes 6 --width 200 --height 200 --objects 6" ), 0 );
    const std::string options = "@sample.tif --background mean";
    const std::string journal = Interrupt( options );
    itsFolder.Write( kJournal, journal.substr( 0, journal.size() / 2 ) );
    // As if the disk had returned other bytes before.
    const auto time = std::filesystem::last_write_time( itsFolder / "sample.tif" );
    std::string bytes = itsFolder.Read( "sample.tif" );
    bytes.replace( bytes.size() / 2, 20'000, 20'000, '\1' );
    itsFolder.Write( "sample.tif", bytes );
    std::filesystem::last_write_time( itsFolder / "sample.tif", time );
    const std::string expected = Measure( "x-", options );
    EXPECT_TRUE( Resume( options ) == expected ) << itsError.str();
    // Two or three, as pages differ in size and are kept in the order in which they are finished.
    EXPECT_CONTAINS( itsError.str(), " finished pages of " );
    EXPECT_EQ( itsError.str().find( "continues with 0 " ), std::string::npos );
    EXPECT_EQ( itsError.str().find( "from the journal" ), std::string::npos );
}

TEST_F( MeasureJournalTest, RefusesOtherSettingsAndFilesThatAreNoJournals )
{
    ASSERT_EQ( RunLine( "sample @ --planes 2 --width 80 --height 60 --objects 3" ), 0 );
    const std::string expected = Measure( "x-", "@sample.tif" );
    const std::string journal = Interrupt( "@sample.tif" );
    const std::vector<std::pair<std::string, std::string>> others{
        { "--threshold li", "objects" },
        { "--pixel-size 2 --overlay @o.png", "reading, overlays" },
        { "--background min", "background" } };
    for ( const auto& [option, difference] : others )
    {
        EXPECT_EQ( Resume( "@sample.tif " + option ).front(), '1' );
        EXPECT_CONTAINS(
            itsError.str(), "journal: it belongs to a run with other settings (" + difference + ")" );
        EXPECT_TRUE( itsFolder.Read( kJournal ) == journal );
    }
    for ( const std::string& other :
          { std::string( "notes" ), journal.substr( 9 ), std::string( 999, '\0' ) } )
    {
        itsFolder.Write( kJournal, other );
        EXPECT_EQ( Resume( "@sample.tif" ).front(), '1' );
        EXPECT_CONTAINS( itsError.str(), "journal: it is not a journal of korvale measure" );
        EXPECT_TRUE( itsFolder.Read( kJournal ) == other );
    }
    for ( const std::string& torn : { std::string( 30, '\0' ), journal.substr( 0, 20 ) + '\0' } )
    {
        itsFolder.Write( kJournal, torn );
        EXPECT_TRUE( Resume( "@sample.tif" ) == expected ) << itsError.str();
    }
    EXPECT_EQ( RunLine( "measure @sample.tif --resume" ), 2 );
    EXPECT_EQ( RunLine( "measure @sample.tif --resume --csv /dev/null" ), 2 );
    EXPECT_EQ( RunLine( "measure @sample.tif --resume -o @t --csv @t.journal" ), 2 );
    EXPECT_EQ( RunLine( "measure @none.tif --resume -o @t" ), 1 );
    EXPECT_FALSE( std::filesystem::exists( itsFolder / "t.journal" ) ); // it has no page
}

TEST( JournalRecordsTest, EndsBeforeTheFirstRecordThatIsTornOrDamaged )
{
    using namespace JournalRecords;
    MeasurePageJob::Register();
    const Conditions conditions{ { "version", "1" } };
    const auto stream = MakeStream();
    std::vector<std::size_t> ends{ 0 };
    const auto addEnd = [&] { ends.push_back( stream->GetLength() ); };
    WriteHeader( *stream, conditions );
    addEnd();
    const std::uint64_t image = WriteImage( *stream, { { "/a", 1, 2, 3 } } );
    addEnd();
    for ( const std::uint32_t page : { 7u, 8u } )
    {
        MeasurePageResult result;
        result.page.measurement.channels = page;
        WritePage( *stream, { image, page, 5 }, result );
        addEnd();
    }
    const std::string bytes = Store( *stream );
    // As docs/formats.md shows it.
    const std::uint8_t expected[] = {
        0x49, 0x31, 0x00, 0x02, 0x00, 0x03, 0x80, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x07, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x76, 0x65, 0x72, 0x73, 0x69, 0x6F, 0x6E,
        0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x31, 0x4A, 0x5E, 0x7A, 0xD3, 0xED, 0x68, 0x68,
        0x3D, 0x2B, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x58, 0x16, 0x92, 0xAD, 0x7C, 0xA8, 0x75,
        0xC3, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x2F, 0x61, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    };
    ASSERT_GE( bytes.size(), sizeof expected );
    EXPECT_EQ( std::memcmp( bytes.data(), expected, sizeof expected ), 0 );
    const auto read = [&]( const std::string& inBytes )
    {
        XMemStream journal( inBytes.data(), inBytes.size() );
        return Read( journal, conditions );
    };
    const Contents contents = read( bytes );
    EXPECT_EQ( contents.end, bytes.size() );
    ASSERT_EQ( contents.images.size(), 1u );
    EXPECT_EQ( contents.images.at( image ).files, ( Files{ { "/a", 1, 2, 3 } } ) );
    EXPECT_EQ( contents.images.at( image ).pages.at( 8 ).background, 5u );
    for ( std::size_t at = 0; at < bytes.size(); ++at )
    {
        const std::size_t end = *( std::ranges::upper_bound( ends, at ) - 1 );
        EXPECT_EQ( read( bytes.substr( 0, at ) ).end, end ) << at;
        std::string damaged = bytes;
        damaged[at] = static_cast<char>( damaged[at] ^ 0x40 );
        if ( end == 0 ) // the header
            EXPECT_THROW( read( damaged ), std::runtime_error ) << at;
        else
            EXPECT_EQ( read( damaged ).end, end ) << at;
    }
}
