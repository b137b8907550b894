#include "Jobs/XJobQueue.h"

#include "Jobs/TestJob.h"
#include "RefusedMemory.h"
#include "System/WThreadID.h"

namespace
{

std::atomic<std::uint32_t> sThreadWithoutMemory = 0;

/// Leaves no memory to its worker from its body's end on.
struct StarvingJob : TestJob
{
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

bool IsMemoryRefused()
{
    return sThreadWithoutMemory.load( std::memory_order_relaxed ) == WThreadID::GetCurrent();
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

TEST( XJobQueueMemoryTest, MovesEndsAndDeletesItsJobsWithoutMemory )
{
    constexpr int kJobs = 300;
    int stoppedCount = 0;
    const auto attach = [&]( XJobQueue& ioQueue )
    {
        for ( int i = 0; i < kJobs; ++i )
            ioQueue.AttachJob(
                new TestJob( [] {}, 1 + i % 3, [&]( std::uint32_t ) { ++stoppedCount; } ), i % 2 == 0 );
    };
    const XVector<std::int64_t> tags = { 1, 3, 1 };
    std::optional<XJobQueue> queue( std::in_place );
    attach( *queue );
    EXPECT_FALSE( LacksMemory( [&] { queue->AsyncSuspendTaggedJobs( tags ); } ) );
    EXPECT_EQ( queue->GetQueuedJobCount(), kJobs / 6u );
    EXPECT_FALSE( LacksMemory( [&] { queue->ResumeAllJobs(); } ) );
    EXPECT_EQ( queue->GetQueuedJobCount(), std::size_t( kJobs ) );
    EXPECT_FALSE( LacksMemory( [&] { queue->StopTaggedJobsIfNotRunning( 2 ); } ) );
    EXPECT_EQ( stoppedCount, kJobs / 3 );
    EXPECT_FALSE( LacksMemory( [&] { queue->DeleteTaggedJobsIfNotRunning( tags ); } ) );
    EXPECT_TRUE( queue->IsEmpty() );
    attach( *queue );
    EXPECT_FALSE( LacksMemory( [&] { queue.reset(); } ) );
    EXPECT_EQ( stoppedCount, kJobs + kJobs / 3 );

    XJobQueue other;
    auto job = std::make_unique<TestJob>( [] {}, 7 );
    job->SetGroup( 7 );
    EXPECT_TRUE( LacksMemory( [&] { other.AttachJob( job.get() ); } ) );
    EXPECT_TRUE( other.IsEmpty() );
    EXPECT_TRUE( other.AttachJobIfTagNotPresent( job.release() ) );
}
