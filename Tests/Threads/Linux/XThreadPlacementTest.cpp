#include "Threads/TestThread.h"

#include <filesystem>
#include <fstream>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

// Where threads run and what the system knows of them.

namespace
{

cpu_set_t GetProcessorsOf( pid_t inThread )
{
    cpu_set_t processors;
    EXPECT_EQ( sched_getaffinity( inThread, sizeof( processors ), &processors ), 0 );
    return processors;
}

int GetNiceValueOf( pid_t inThread )
{
    return getpriority( PRIO_PROCESS, static_cast<id_t>( inThread ) );
}

std::size_t GetVirtualBytes()
{
    std::size_t pages = 0;
    std::ifstream( "/proc/self/statm" ) >> pages;
    return pages * static_cast<std::size_t>( sysconf( _SC_PAGESIZE ) );
}

} // namespace

TEST( XThreadPlacementTest, AThreadRunsWhereItsProcessMayWhereverItWasStarted )
{
    const cpu_set_t all = GetProcessorsOf( getpid() );
    const auto startFromBoundThread = [&]
    {
        const std::uint32_t last = XThread::GetProcessorCount() - 1;
        XThread::GetCurrentThread()->SetThreadAffinityMask( XThread::GetAffinityMaskForCPU( last ) );
        const cpu_set_t bound = GetProcessorsOf( 0 );
        EXPECT_EQ( CPU_COUNT( &bound ), 1 );
        for ( int processor = 0; processor < CPU_SETSIZE; ++processor )
            EXPECT_TRUE( CPU_ISSET( processor, &all ) || !CPU_ISSET( processor, &bound ) );
        TestThread(
            [&]
            {
                const cpu_set_t own = GetProcessorsOf( 0 );
                EXPECT_TRUE( CPU_EQUAL( &own, &all ) );
            } )
            .Run();
    };
    TestThread( startFromBoundThread ).Run();
}

TEST( XThreadPlacementTest, AProcessBoundToItsLastProcessorBindsItsThreadsThere )
{
    const cpu_set_t all = GetProcessorsOf( getpid() );
    int last = CPU_SETSIZE - 1;
    while ( !CPU_ISSET( last, &all ) )
        --last;
    const std::string self = std::filesystem::read_symlink( "/proc/self/exe" ).string();
    const std::string command = "taskset -c " + std::to_string( last ) + " '" + self +
        "' --gtest_filter='XThreadPlacementTest.AThreadRuns*' > /dev/null";
    EXPECT_EQ( std::system( command.c_str() ), 0 );
}

TEST( XThreadPlacementTest, AThreadHasItsPriorityWhicheverItsStarterHas )
{
    const int normal = GetNiceValueOf( getpid() );
    const auto startFromIdleThread = [&]
    {
        XThread::GetCurrentThread()->SetThreadPriority( kThreadPriorityIdle );
        EXPECT_EQ( GetNiceValueOf( gettid() ), 19 );
        const bool mayRise = setpriority( PRIO_PROCESS, static_cast<id_t>( gettid() ), normal ) == 0;
        setpriority( PRIO_PROCESS, static_cast<id_t>( gettid() ), 19 );
        TestThread(
            [&]
            {
                EXPECT_EQ( GetNiceValueOf( gettid() ), mayRise ? normal : 19 );
                EXPECT_EQ( XException::GetLastError(), 0u );
            } )
            .Run();
    };
    TestThread( startFromIdleThread ).Run();
}

TEST( XThreadPlacementTest, TheSystemKnowsThreadsByTheirNames )
{
    const auto readName = []
    {
        std::string name;
        std::getline( std::ifstream( "/proc/self/task/" + std::to_string( gettid() ) + "/comm" ), name );
        return name;
    };
    TestThread(
        [&]
        {
            EXPECT_EQ( readName(), "test" );
            XThread::GetCurrentThread()->SetDebugName( "a name of many characters" );
            EXPECT_EQ( readName(), "a name of many " );
        } )
        .Run();
}

TEST( XThreadPlacementTest, ThreadsThatHaveEndedKeepNoStacks )
{
    constexpr int kThreads = 1000;
    std::array<std::unique_ptr<TestThread>, kThreads> threads;
    const std::size_t before = GetVirtualBytes();
    for ( auto& thread : threads )
    {
        thread = std::make_unique<TestThread>( [] {} );
        thread->Run();
    }
    EXPECT_LT( GetVirtualBytes(), before + ( std::size_t( 2 ) << 30 ) ); // of 8 MiB each, as a rule
    threads[0]->Run();
}
