#include "Options/ImageNames.h"

#include "Imaging/TestImages.h"
#include "Tools/ProgramRun.h"

#include <fstream>
#include <iostream>

namespace
{
struct ImageNamesTest : ProgramRun
{
    void SetUp() override
    {
        for ( const auto* folder : { "data/b", "data/a/deep", "data/.hidden", "empty" } )
            std::filesystem::create_directories( itsFolder / folder );
        for ( const auto* name :
              { "data/t10.png", "data/t2.png", "data/b/x.png", "data/a/x.png", "data/a/deep/x.png",
                "data/\u03A9 \u7D30\u80DE.png", "data/.t1.png", "data/.hidden/x.png", "empty/[1].png" } )
            std::ofstream( PathFromUTF8( Name( "" ) + name ), std::ios::binary ) << FromHex( kGrey8 );
        itsFolder.Write( "data/notes.txt", "no image" );
        itsFolder.Write( "data/a/empty.tif", "" );
    }

    /// The images that info finds, without the test's folder.
    std::string Find( const std::string& inLine )
    {
        if ( RunLine( "info " + inLine ) != 0 )
            return itsError.str();
        std::string names;
        for ( const auto& line : Split( itsOut.str(), '\n' ) )
            if ( const auto end = line.find( ": PNG" ); end != line.npos )
                names += line.substr( 0, end ) + "|";
        for ( const auto folder = Name( "" ); names.find( folder ) != names.npos; )
            names.erase( names.find( folder ), folder.size() );
        std::ranges::replace( names, '\\', '/' );
        return names;
    }
};

/// Standard input with this text.
struct StandardInput
{
    explicit StandardInput( const std::string& inText )
        : itsText( inText ), itsOriginal( std::cin.rdbuf( itsText.rdbuf() ) )
    {
    }
    ~StandardInput() { std::cin.rdbuf( itsOriginal ); }
    std::istringstream itsText;
    std::streambuf* itsOriginal;
};
} // namespace

TEST_F( ImageNamesTest, StandForFoldersPatternsAndLists )
{
    const std::string omega = "data/\u03A9 \u7D30\u80DE.png|";
    EXPECT_EQ( Find( "@data" ), "data/t10.png|data/t2.png|" + omega );
    EXPECT_EQ( itsError.str(), "korvale: skipped 1 file that is not images\n" );
    EXPECT_EQ(
        Find( "@data -r" ), "data/a/deep/x.png|data/a/x.png|data/b/x.png|data/t10.png|data/t2.png|" + omega );
    EXPECT_EQ( itsError.str(), "korvale: skipped 2 files that are not images\n" );
    EXPECT_EQ( Find( "@data/*/x.png" ), "data/a/x.png|data/b/x.png|" );
    EXPECT_EQ( Find( "@data/t?.png" ), "data/t2.png|" );
    EXPECT_EQ( Find( "@da*/*\u7D30?.png" ), omega );
    EXPECT_EQ( Find( "@empty/[1].png" ), "empty/[1].png|" );
    {
        const StandardInput input( "\xEF\xBB\xBF" + Name( "data/b" ) + "\r\n\n" + Name( "data/t2.png" ) );
        EXPECT_EQ( Find( "-" ), "data/b/x.png|data/t2.png|" );
    }
    {
        const StandardInput input( Name( "data/t2.png" ) + '\0' + Name( "data/t10.png" ) + '\0' );
        EXPECT_EQ( Find( "@data/b -" ), "data/b/x.png|data/t2.png|data/t10.png|" );
    }
    std::filesystem::remove( itsFolder / "empty/[1].png" );
    const StandardInput input( "\n" );
    for ( const auto& [line, text] : std::vector<std::pair<std::string, std::string>>{
              { "@empty", "no images in " + Name( "empty" ) + " (-r searches its folders too)" },
              { "@data/*.jpg", "no file matches " + Name( "data/*.jpg" ) },
              { "-", "the list of images is empty" } } )
    {
        EXPECT_EQ( RunLine( "measure " + line ), 2 );
        EXPECT_EQ( itsError.str(), "korvale: measure: " + text + "\n" );
    }
}

TEST_F( ImageNamesTest, TellImagesOfOneNameApartByTheirFolders )
{
    EXPECT_EQ( RunLine( "measure @data -r --threshold 0 --csv @out.csv" ), 0 ) << itsError.str();
    const auto csv = itsFolder.Read( "out.csv" );
    for ( const auto* row :
          { ",x.png,a/deep,", ",x.png,a,", ",x.png,b,", ",t2.png,.,",
            ",\\u{3A9} \\u{7D30}\\u{80DE}.png,.," } )
        EXPECT_CONTAINS( csv, row );
}
