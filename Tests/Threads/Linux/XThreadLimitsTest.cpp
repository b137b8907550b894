#include "Linux/TestProcess.h"
#include "RefusedMemory.h"
#include "Threads/TestThread.h"
#include "Threads/XThreadListener.h"

// What threads do that lack what they need to begin.

namespace
{

/// While set, only the main thread gets memory.
std::atomic<bool> sIsShort = false;

} // namespace

bool IsMemoryRefused()
{
    return sIsShort && ::gettid() != ::getpid();
}

TEST( XThreadLimitsTest, AThreadWithoutMemoryToBeginIsAnErrorOfItsStart )
{
    struct Listener : XThreadListener
    {
        Listener() { StartListening(); }
        ~Listener() override { StopListening(); }
        void ThreadEvent( XThreadEvent inEvent ) override { sum += 1 + 10 * inEvent; }
        std::uint32_t sum = 0;
    } listener;
    TestThread thread( [] { return 7; } );
    sIsShort = true;
    EXPECT_ERROR( 1012, thread.StartThread() );
    sIsShort = false;
    EXPECT_EQ( XThread::kThreadNotRunning, thread.GetNextThreadState() );
    EXPECT_EQ( 0u, listener.sum );
    EXPECT_EQ( 7, thread.Run() );
    EXPECT_EQ( 12u, listener.sum ); // has heard both events once
}

TEST( XThreadLimitsTest, AThreadTooManyLacksResources )
{
    if ( kIsSanitized )
        GTEST_SKIP() << "the sanitizer needs more address space than a limit can leave";
    EXPECT_TRUE( PassesInChild(
        []
        {
            std::array<std::unique_ptr<TestThread>, 100> threads;
            for ( auto& thread : threads )
                thread = std::make_unique<TestThread>( SleepForEver );
            const ProcessLimit none( RLIMIT_AS, 1 ); // there is no room for a stack, but for a few used ones
            const auto startAll = [&]
            {
                for ( auto& thread : threads )
                    thread->StartThread();
            };
            ::_exit( ErrorOrZero( startAll ) == 1028 ? 0 : 1 ); // with threads that go on
        } ) );
}
