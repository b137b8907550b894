#include "Files/WReplaceFile.h"

#include "Ground/XErrorNumbers.h"
#include "Linux/TestProcess.h"
#include "TestFolder.h"

#include <csignal>
#include <fcntl.h>

TEST( WReplaceFileLinuxTest, HasNoNameUntilItTakesItsPlace )
{
    const TestFolder folder;
    const int unnamed = open( folder.GetPath().c_str(), O_TMPFILE | O_RDWR, 0600 );
    if ( unnamed == -1 )
        GTEST_SKIP() << "this file system knows no files without a name";
    close( unnamed );
    WReplaceFile file( folder / "out" );
    file.GetFile().WriteAt( 0, "new", 3 );
    file.Complete();
    EXPECT_EQ( folder.CountEntries(), 0u );
    file.Commit();
    EXPECT_EQ( folder.CountEntries(), 1u );
    EXPECT_EQ( folder.Read( "out" ), "new" );
}

TEST( WReplaceFileLinuxTest, LeavesDescriptorsToOthers )
{
    const TestFolder folder;
    {
        const ProcessLimit limit( RLIMIT_NOFILE, 64 );
        std::vector<std::unique_ptr<WReplaceFile>> files;
        for ( int i = 0; i < 100; ++i )
        {
            files.push_back( std::make_unique<WReplaceFile>( folder / std::to_string( i ) ) );
            files.back()->Complete();
        }
        EXPECT_GE( folder.CountEntries(), 100u - 64 / 4 );
        for ( const auto& file : files )
            file->Commit();
    }
    EXPECT_EQ( folder.CountEntries(), 100u );
}

TEST( WReplaceFileLinuxTest, TheLimitOnTheSizeOfFilesIsAnError )
{
    const TestFolder folder;
    EXPECT_TRUE( PassesInChild(
        [&]
        {
            signal( SIGXFSZ, SIG_DFL );
            const ProcessLimit limit( RLIMIT_FSIZE, 4096 );
            const std::string text( 10000, 'x' );
            const auto replace = [&]
            {
                WReplaceFile file( folder / "out" );
                file.GetFile().WriteAt( 0, text.data(), text.size() );
                file.Commit();
            };
            EXPECT_EQ( ErrorOf( replace ), 223u );
            EXPECT_EQ( folder.CountEntries(), 0u );
        } ) );
}

TEST( WReplaceFileLinuxTest, InASharedFolderOnlyOwnersReplaceAFile )
{
    if ( ::geteuid() != 0 )
        GTEST_SKIP() << "only root can become another user";
    const TestFolder folder;
    const auto shared = folder / "shared";
    std::filesystem::create_directory( shared );
    const auto target = folder.Write( "shared/out", "old" );
    // The folder is like /tmp. Anybody may write the file there, but not replace it.
    ASSERT_EQ( ::chmod( folder.GetPath().c_str(), 0755 ), 0 );
    ASSERT_EQ( ::chmod( shared.c_str(), 01777 ), 0 );
    ASSERT_EQ( ::chmod( target.c_str(), 0666 ), 0 );
    constexpr uid_t kOther = 65534;
    const auto expectError = [&]( std::uint32_t inError )
    {
        EXPECT_TRUE( PassesInChild(
            [&]
            {
                EXPECT_EQ( ::seteuid( kOther ), 0 );
                EXPECT_EQ( ErrorOrZero( [&] { const WReplaceFile file( target ); } ), inError );
            } ) );
    };
    expectError( kErrorAccessDenied ); // before anything is written
    ASSERT_EQ( ::chown( target.c_str(), kOther, kOther ), 0 );
    expectError( 0 );
}
