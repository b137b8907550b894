#include "Files/WReplaceFile.h"
#include "TestFolder.h"
#include "Testing.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

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
    rlimit limit = {}, low = {};
    ASSERT_EQ( getrlimit( RLIMIT_NOFILE, &limit ), 0 );
    low = { 64, limit.rlim_max };
    ASSERT_EQ( setrlimit( RLIMIT_NOFILE, &low ), 0 );
    {
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
    getrlimit( RLIMIT_NOFILE, &low );
    setrlimit( RLIMIT_NOFILE, &limit );
    EXPECT_EQ( low.rlim_cur, 64u ) << "it had to be raised";
    EXPECT_EQ( folder.CountEntries(), 100u );
}

TEST( WReplaceFileLinuxTest, TheLimitOnTheSizeOfFilesIsAnError )
{
    const TestFolder folder;
    const auto child = fork();
    if ( child == 0 )
    {
        signal( SIGXFSZ, SIG_DFL );
        const rlimit limit{ 4096, 4096 };
        setrlimit( RLIMIT_FSIZE, &limit );
        const std::string text( 10000, 'x' );
        const auto error = ErrorOf(
            [&]
            {
                WReplaceFile file( folder / "out" );
                file.GetFile().WriteAt( 0, text.data(), text.size() );
                file.Commit();
            } );
        _exit( error == 223 && folder.CountEntries() == 0 ? 0 : 1 );
    }
    int status = 0;
    waitpid( child, &status, 0 );
    EXPECT_EQ( status, 0 );
}
