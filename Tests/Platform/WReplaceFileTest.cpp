#include "WReplaceFile.h"

#include "Core/XFail.h"
#include "TestErrors.h"
#include "TestFolder.h"

namespace fs = std::filesystem;

namespace
{

void Replace( const fs::path& inTarget, const std::string& inContents )
{
    WReplaceFile file( inTarget );
    file.GetFile().WriteAt( 0, inContents.data(), inContents.size() );
    file.Commit();
}

} // namespace

TEST( WReplaceFileTest, TheTargetChangesOnlyOnCommit )
{
    const TestFolder folder;
    const auto target = folder.Write( "out.csv", "old and longer" );
    {
        WReplaceFile file( target );
        file.GetFile().WriteAt( 0, "new", 3 );
        EXPECT_EQ( folder.Read( "out.csv" ), "old and longer" );
        file.Commit();
        EXPECT_EQ( ErrorOf( [&] { file.Commit(); } ), 1006u );
    }
    EXPECT_EQ( folder.Read( "out.csv" ), "new" );
    Replace( folder / "second.csv", "made" );
    EXPECT_EQ( folder.Read( "second.csv" ), "made" );
    EXPECT_EQ( folder.CountEntries(), 2u );
}

TEST( WReplaceFileTest, LeavesNothingBehindOnFailure )
{
    const TestFolder folder;
    folder.Write( "out", "old" );
    EXPECT_EQ(
        ErrorOf(
            [&]
            {
                WReplaceFile file( folder / "out" );
                file.GetFile().WriteAt( 0, "half", 4 );
                XThrow( 1001 );
            } ),
        1001u );
    EXPECT_EQ( folder.Read( "out" ), "old" );
    {
        const WReplaceFile unused( folder / "never" );
    }
    EXPECT_EQ( folder.CountEntries(), 1u );
}

TEST( WReplaceFileTest, RefusesWhatItCannotReplace )
{
    const TestFolder folder;
    EXPECT_EQ( ErrorOf( [&] { WReplaceFile( folder.GetPath() ); } ), 336u );
    EXPECT_NE( ErrorOf( [&] { WReplaceFile( folder / "missing" / "out" ); } ), 0u );
    EXPECT_EQ( folder.CountEntries(), 0u );
}

TEST( WReplaceFileTest, FollowsLinksAndKeepsPermissions )
{
    const TestFolder folder;
    const auto target = folder.Write( "real", "old" );
    std::error_code error;
    fs::create_symlink( "real", folder / "link", error );
    if ( error )
        GTEST_SKIP() << "no symbolic links here";
    fs::permissions( target, fs::perms::owner_read | fs::perms::owner_write );
    Replace( folder / "link", "new" );
    EXPECT_TRUE( fs::is_symlink( folder / "link" ) );
    EXPECT_EQ( folder.Read( "real" ), "new" );
    EXPECT_EQ( fs::status( target ).permissions(), fs::perms::owner_read | fs::perms::owner_write );
}

TEST( WReplaceFileTest, WritesDevicesDirectly )
{
    if ( !HasFullDevice() )
        GTEST_SKIP() << "no device that is always full";
    EXPECT_EQ( ErrorOf( [] { Replace( kFullDevice, "x" ); } ), 1263u );
    EXPECT_TRUE( HasFullDevice() );
    Replace( "/dev/null", "x" );
    EXPECT_TRUE( fs::is_character_file( "/dev/null" ) );
}
