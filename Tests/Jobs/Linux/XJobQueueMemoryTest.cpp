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
