#include "Tools/ProgramRun.h"

#include <sys/stat.h>

namespace
{
using ProgramPipesTest = ProgramRun;
} // namespace

TEST_F( ProgramPipesTest, AreNoSessionLogs )
{
    const auto pipe = Name( "pipe" );
    ASSERT_EQ( mkfifo( pipe.c_str(), 0600 ), 0 );
    EXPECT_EQ( RunLine( "sample @s --log %", pipe ), 2 );
    EXPECT_EQ(
        itsError.str(), "korvale: sample: the session log " + pipe + " is a pipe or device, not a file\n" );
    EXPECT_EQ( RunLine( "sample @s --log /dev/null -q --planes 1" ), 0 );
}

TEST_F( ProgramPipesTest, AreRefusedWithWhatIsExpectedAndNotWaitedFor )
{
    const auto pipe = Name( "pipe" );
    ASSERT_EQ( mkfifo( pipe.c_str(), 0600 ), 0 );
    for ( const auto& input : { pipe, std::string( "/dev/null" ) } )
    {
        const std::string start = "korvale: " + input + ": ";
        EXPECT_EQ( RunLine( "show %", input ), 1 );
        EXPECT_STARTS( itsError.str(), start + "a pipe or device, not a file" );
        EXPECT_EQ( RunLine( "measure % -q -o @t", input ), 1 );
        EXPECT_STARTS( itsError.str(), start + "it is a pipe or device, not a file" );
    }
    EXPECT_EQ( itsFolder.CountEntries(), 1u );
}
