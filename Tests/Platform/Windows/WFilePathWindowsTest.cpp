#include "Files/WFilePath.h"
#include "Files/WReplaceFile.h"
#include "TestFolder.h"

namespace fs = std::filesystem;

TEST( WFilePathWindowsTest, LeavesPathsOnTheNetworkWhereTheyAre )
{
    EXPECT_EQ( WFilePath::Normalise( L"\\\\nas\\data\\.\\x\\..//y" ).native(), L"\\\\nas\\data\\y" );
    EXPECT_TRUE( WFilePath::Normalise( L"x" ).native().ends_with( L"\\x" ) );
    const auto getKey = []( const wchar_t* inName )
    { return WFilePath::GetKey( fs::path( L"\\\\localhost\\" ) / inName ); };
    EXPECT_NE( getKey( L"none\\x" ), getKey( L"other\\x" ) );
    EXPECT_NE( getKey( L"none\\x" ), WFilePath::GetKey( L"C:\\localhost\\none\\x" ) );
    EXPECT_EQ( getKey( L"none\\x" ), getKey( L"NONE\\y\\..\\X" ) );
}

TEST( WFilePathWindowsTest, TakesPathsThatTheSystemDoesNotInterpret )
{
    const TestFolder folder;
    fs::path literal = L"\\\\?\\" + fs::path( folder.GetPath() ).make_preferred().native();
    EXPECT_TRUE( WFilePath::IsFolder( literal ) );
    EXPECT_EQ( WFilePath::Normalise( literal ), literal );
    const auto target = literal / L"out";
    for ( const auto* text : { "one", "two" } )
    {
        WReplaceFile::CheckTarget( target );
        WReplaceFile file( target );
        file.GetFile().WriteAt( 0, text, 3 );
        file.Commit();
        EXPECT_EQ( folder.Read( "out" ), text );
    }
    {
        WReplaceFile file( target );
        file.KeepOld();
        file.Commit();
        file.Undo();
        EXPECT_EQ( folder.Read( "out" ), "two" );
    }
    EXPECT_EQ( folder.CountEntries(), 1u );
    EXPECT_EQ( WFilePath::GetKey( target ), WFilePath::GetKey( folder / "OUT" ) );
    EXPECT_TRUE( WFilePath::Remove( target ) );
    EXPECT_EQ( folder.CountEntries(), 0u );
}
