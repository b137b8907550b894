#include "System/WUUID.h"

#include "Testing.h"

#include <sys/wait.h>
#include <unistd.h>

// Random bytes are drawn many at a time, so a child process begins with a copy of what its parent has left.
TEST( WUUIDForkTest, ParentAndChildDrawDifferentIdentifiers )
{
    WUUID first;
    ASSERT_EQ( WUUID::Create( first ), 0u );

    int ends[2];
    ASSERT_EQ( pipe( ends ), 0 );
    const pid_t child = fork();
    ASSERT_GE( child, 0 );
    if ( child == 0 )
    {
        WUUID uuid;
        const bool isDone =
            WUUID::Create( uuid ) == 0 && write( ends[1], &uuid, sizeof( uuid ) ) == sizeof( uuid );
        _exit( isDone ? 0 : 1 );
    }

    WUUID ours, theirs;
    EXPECT_EQ( WUUID::Create( ours ), 0u );
    EXPECT_EQ( read( ends[0], &theirs, sizeof( theirs ) ), ssize_t( sizeof( theirs ) ) );
    EXPECT_NE( std::memcmp( &ours, &theirs, sizeof( ours ) ), 0 );
    int status = -1;
    EXPECT_EQ( waitpid( child, &status, 0 ), child );
    EXPECT_EQ( status, 0 );
    close( ends[0] );
    close( ends[1] );
}
