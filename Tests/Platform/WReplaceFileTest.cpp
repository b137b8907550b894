#include "Files/WReplaceFile.h"

#include "Ground/XFail.h"
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
        EXPECT_ERROR( 1006, file.Commit() );
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
    {
        WReplaceFile file( folder / "out" );
        file.GetFile().WriteAt( 0, "half", 4 );
    }
    EXPECT_EQ( folder.Read( "out" ), "old" );
    {
        const WReplaceFile unused( folder / "never" );
    }
    EXPECT_EQ( folder.CountEntries(), 1u );
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

TEST( WReplaceFileTest, MakesTheFileThatALinkLeadsTo )
{
    const TestFolder folder;
    std::error_code error;
    fs::create_symlink( "real", folder / "link", error );
    if ( error )
        GTEST_SKIP() << "no symbolic links here";
    Replace( folder / "link", "new" );
    EXPECT_TRUE( fs::is_symlink( folder / "link" ) );
    EXPECT_EQ( folder.Read( "real" ), "new" );
    fs::create_symlink( "circle", folder / "circle" );
    EXPECT_NE( ErrorOf( [&] { Replace( folder / "circle", "new" ); } ), 0u );
}

TEST( WReplaceFileTest, IsUndoneAndKept )
{
    const TestFolder folder;
    const auto target = folder.Write( "old", "old" );
    folder.Write( "old.new", "other" );
    {
        WReplaceFile replaced( target ), made( folder / "made" ), blocked( folder / "blocked" );
        for ( auto* file : { &replaced, &made, &blocked } )
        {
            file->GetFile().WriteAt( 0, "new", 3 );
            file->Complete();
            file->KeepOld();
        }
        replaced.Commit();
        made.Commit();
        EXPECT_EQ( folder.Read( "old" ) + folder.Read( "made" ), "newnew" );
        fs::create_directories( folder / "blocked/below" );
        EXPECT_NE( ErrorOf( [&] { blocked.Commit(); } ), 0u );

        for ( auto* file : { &replaced, &made, &blocked } )
            file->Undo();
        EXPECT_EQ( folder.Read( "old" ), "old" );
        EXPECT_FALSE( fs::exists( folder / "made" ) );
        EXPECT_EQ( replaced.KeepNew().filename(), "old.new-2" );
        EXPECT_EQ( made.KeepNew().filename(), "made.new" );
        EXPECT_EQ( blocked.KeepNew().filename(), "blocked.new" );
    }
    EXPECT_EQ(
        folder.Read( "old.new-2" ) + folder.Read( "made.new" ) + folder.Read( "blocked.new" ), "newnewnew" );
    EXPECT_EQ( folder.Read( "old.new" ), "other" );
    EXPECT_EQ( folder.CountEntries(), 6u ) << "old, old.new, blocked and what was kept";
}

TEST( WReplaceFileTest, SaysBeforehandWhatCannotBeReplaced )
{
    const TestFolder folder;
    const auto file = folder.Write( "file", "old" );
    WReplaceFile::CheckTarget( file );
    WReplaceFile::CheckTarget( folder / "new" );
    EXPECT_ERROR( 336, WReplaceFile::CheckTarget( folder.GetPath() ) );
    EXPECT_ERROR( 336, WReplaceFile( folder.GetPath() ) );
    EXPECT_NE( ErrorOf( [&] { WReplaceFile::CheckTarget( folder / "missing" / "out" ); } ), 0u );
    EXPECT_EQ( folder.CountEntries(), 1u );
    EXPECT_EQ( folder.Read( "file" ), "old" );

    const std::ifstream reader( file ); // On Windows others may write the file now, but not replace it.
    WReplaceFile replacement( folder / "second" );
    const bool isReplaceable = ErrorOrZero( [&] { WReplaceFile::CheckTarget( file ); } ) == 0;
    std::error_code error;
    fs::rename( folder.Write( "third", "new" ), file, error );
    EXPECT_EQ( isReplaceable, !error );
}

TEST( WReplaceFileTest, WritesDevicesDirectly )
{
    if ( !HasFullDevice() )
        GTEST_SKIP() << "no device that is always full";
    EXPECT_ERROR( 1263, Replace( kFullDevice, "x" ) );
    EXPECT_TRUE( HasFullDevice() );
    Replace( "/dev/null", "x" );
    EXPECT_TRUE( fs::is_character_file( "/dev/null" ) );
}
