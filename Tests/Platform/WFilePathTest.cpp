#include "Files/WFilePath.h"

#include "TestFolder.h"

namespace fs = std::filesystem;

namespace
{

bool AreOne( const fs::path& inOne, const fs::path& inOther )
{
    return WFilePath::GetKey( inOne ) == WFilePath::GetKey( inOther );
}

} // namespace

TEST( WFilePathTest, KnowsAFileByAllItsNames )
{
    const TestFolder folder;
    fs::create_directory( folder / "below" );
    const auto file = folder.Write( "file", "" ), other = folder.Write( "other", "" );
    fs::create_hard_link( file, folder / "hard" );
    EXPECT_TRUE( AreOne( file, folder / "hard" ) );
    EXPECT_TRUE( AreOne( file, folder / "below/../file" ) );
    const auto relative = fs::relative( file );
    EXPECT_TRUE( relative.empty() || AreOne( file, relative ) ); // empty: on another drive
    EXPECT_FALSE( AreOne( file, other ) );
    EXPECT_FALSE( AreOne( file, folder / "missing" ) );

    EXPECT_TRUE( AreOne( folder / "missing", folder / "below/../missing" ) );
    EXPECT_TRUE( AreOne( file, folder / "none/../file" ) );
    EXPECT_TRUE( AreOne( file, folder / "below/none/./deeper/../../../file" ) );
    EXPECT_TRUE( AreOne( folder / "none/N1.csv", folder / "none/n1.CSV" ) );
    EXPECT_FALSE( AreOne( folder / "missing", folder / "below/missing" ) );
    EXPECT_FALSE( AreOne( folder / "missing", folder / "none/missing" ) );
}

TEST( WFilePathTest, FollowsLinksToWhatIsMissing )
{
    const TestFolder folder;
    std::error_code error;
    fs::create_symlink( "missing", folder / "link", error );
    if ( error )
        GTEST_SKIP() << "no symbolic links here";
    fs::create_directory( folder / "below" );
    fs::create_symlink( "../link", folder / "below/second" );
    fs::create_directory_symlink( "below", folder / "folder" );
    for ( const auto& name : { "link", "below/second", "folder/second" } )
        EXPECT_TRUE( AreOne( folder / name, folder / "missing" ) ) << name;
    EXPECT_TRUE( AreOne( folder / "folder/new", folder / "below/new" ) );

    fs::create_symlink( "circle", folder / "circle" );
    WFilePath::ResolveLinks( folder / "circle", error );
    EXPECT_TRUE( error );
    EXPECT_FALSE( AreOne( folder / "circle", folder / "missing" ) );
}
