#include "Files/WWildcards.h"
#include "Imaging/TestImages.h"
#include "Tools/ProgramRun.h"

#include <windows.h>

namespace
{
struct WWildcardsTest : ProgramRun
{
    std::string Expand( const std::string& inPattern ) const
    {
        std::string names;
        for ( const auto& path : WWildcards::Expand( itsFolder / inPattern ) )
            names += path.filename().string() + ' ';
        return names;
    }
};
} // namespace

TEST_F( WWildcardsTest, StandForTheFilesOfTheirFolder )
{
    for ( const auto* name : { "b2.TIF", "a1.tif", "a10.tiff", "hidden.tif", "plain" } )
        itsFolder.Write( name, "" );
    std::filesystem::create_directory( itsFolder / "folder.tif" );
    SetFileAttributesW( ( itsFolder / "hidden.tif" ).c_str(), FILE_ATTRIBUTE_HIDDEN );

    EXPECT_EQ( Expand( "*.tif" ), "a1.tif b2.TIF " );
    EXPECT_EQ( Expand( "*A?.*f" ), "a1.tif " );
    EXPECT_EQ( Expand( "a*1*.t*f" ), "a1.tif a10.tiff " );
    EXPECT_EQ( Expand( "*.*" ), Expand( "*" ) );
    EXPECT_EQ( Expand( "??" ), "" );
    EXPECT_EQ( Expand( "missing" ), "missing " );
}

TEST_F( WWildcardsTest, NameTheImagesToMeasure )
{
    for ( const auto* name : { "one.png", "two.png" } )
        itsFolder.Write( name, FromHex( kGrey8 ) );
    EXPECT_EQ( RunLine( "measure @*.png --csv @out.csv" ), 0 ) << itsError.str();
    const auto csv = itsFolder.Read( "out.csv" );
    EXPECT_LT( csv.find( "\n1,one.png," ), csv.find( "\n2,two.png," ) ) << csv;
    EXPECT_EQ( RunLine( "measure @*.jpg" ), 2 );
    EXPECT_EQ( itsError.str(), "korvale: measure: no file matches " + Name( "*.jpg" ) + "\n" );
}
