#include "TestErrors.h"
#include "TestFolder.h"
#include "WReplaceFile.h"

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
