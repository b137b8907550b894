#include "Jobs/XJobQueue.h"

#include "Jobs/TestJob.h"
#include "WThreadID.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<std::uint32_t> sThreadWithoutMemory = 0;

/// Leaves no memory to its worker from its body's end on.
class StarvingJob : public TestJob
{
public:
    using TestJob::TestJob;
    bool CanCompleteInJobThread() override
    {
        sThreadWithoutMemory = WThreadID::GetCurrent();
        return false;
    }
};

template<class Action>
bool LacksMemory( Action inAction )
{
    bool lacks = false;
    sThreadWithoutMemory = WThreadID::GetCurrent();
    try
    {
        inAction();
    }
    catch ( const std::bad_alloc& )
    {
        lacks = true;
    }
    sThreadWithoutMemory = 0;
    return lacks;
}

} // namespace

// The library's memory comes from here too. Inlined, these would look like mismatched calls to the compiler.

[[gnu::noinline]] void* operator new( std::size_t inSize )
{
    if ( sThreadWithoutMemory.load( std::memory_order_relaxed ) == WThreadID::GetCurrent() )
        throw std::bad_alloc();
    if ( void* const memory = std::malloc( inSize == 0 ? 1 : inSize ) )
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete( void* inMemory ) noexcept
{
    std::free( inMemory );
}

[[gnu::noinline]] void operator delete( void* inMemory, std::size_t ) noexcept
{
    std::free( inMemory );
}

TEST( XJobQueueMemoryTest, CompletesAJobThatEndsWithoutMemory )
{
    std::uint32_t resultCode = 1;
    XJobQueue queue;
    queue.Start();
    queue.AttachJob( new StarvingJob( [] {}, 0, [&]( std::uint32_t inCode ) { resultCode = inCode; } ) );
    queue.WaitForQueueEmpty( 20'000 );
    sThreadWithoutMemory = 0;
    EXPECT_EQ( resultCode, 0u );
    EXPECT_TRUE( queue.IsEmpty() );
}

TEST( XJobQueueMemoryTest, KeepsItsJobsWhereMemoryLacksToMoveThem )
{
    constexpr int kJobs = 300;
    int stoppedCount = 0;
    XJobQueue queue;
    for ( int i = 0; i < kJobs; ++i )
        queue.AttachJob( new TestJob( [] {}, 1, [&]( std::uint32_t ) { ++stoppedCount; } ), i % 2 == 0 );
    EXPECT_TRUE( LacksMemory( [&] { queue.AsyncSuspendAllJobs(); } ) );
    EXPECT_TRUE( LacksMemory( [&] { queue.ResumeAllJobs(); } ) );
    EXPECT_TRUE( LacksMemory( [&] { queue.StopTaggedJobsIfNotRunning( 1 ); } ) );
    EXPECT_TRUE( LacksMemory( [&] { queue.DeleteTaggedJobsIfNotRunning( 1 ); } ) );
    EXPECT_EQ( queue.GetQueuedJobCount(), kJobs / 2u );
    EXPECT_EQ( queue.GetSuspendedJobCount(), kJobs / 2u );
    queue.StopTaggedJobsIfNotRunning( 1 );
    EXPECT_EQ( stoppedCount, kJobs );
}
