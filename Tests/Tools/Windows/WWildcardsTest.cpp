#include "Files/WWildcards.h"
#include "Imaging/TestImages.h"
#include "Tools/ProgramRun.h"

#include <windows.h>

struct WWildcardsTest : ProgramRun
{
};

TEST_F( WWildcardsTest, IgnoreCaseAndHiddenFiles )
{
    for ( const auto* pattern : { "*.tif", "*a?.*F", "a*1*.t*f", "*.*", "A1.TIF" } )
        EXPECT_TRUE( WWildcards::Matches( "A1.tif", pattern ) ) << pattern;
    EXPECT_FALSE( WWildcards::Matches( "A1.tif", "a?" ) );

    for ( const auto* name : { "one.png", "two.png", "hidden.png" } )
        itsFolder.Write( name, FromHex( kGrey8 ) );
    SetFileAttributesW( ( itsFolder / "hidden.png" ).c_str(), FILE_ATTRIBUTE_HIDDEN );
    EXPECT_EQ( RunLine( "measure @*.PNG --csv @out.csv" ), 0 ) << itsError.str();
    const auto csv = itsFolder.Read( "out.csv" );
    EXPECT_LT( csv.find( "\n1,one.png," ), csv.find( "\n2,two.png," ) ) << csv;
    EXPECT_EQ( csv.find( "hidden" ), csv.npos );
    EXPECT_EQ( RunLine( "info @one.png --group (?<n>.)" ), 2 );
    EXPECT_CONTAINS( itsError.str(), "regular expressions are not supported on Windows" );
}
