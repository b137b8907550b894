#include "RefusedMemory.h"
#include "Threads/TestThread.h"
#include "Threads/XThreadListener.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// What threads do that lack what they need to begin.

namespace
{

/// While set, only the main thread gets memory.
std::atomic<bool> sIsShort = false;

std::int32_t RunForEver()
{
    for ( ;; )
        XThread::SleepCurrentThread( kNoTimeout );
}

} // namespace

bool IsMemoryRefused()
{
    return sIsShort && ::gettid() != ::getpid();
}

TEST( ThreadLimits, AThreadWithoutMemoryToBeginIsAnErrorOfItsStart )
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
    thread.StartThread();
    thread.WaitForTerminate( kPatience );
    EXPECT_EQ( 7, thread.GetThreadReturnCode() );
    EXPECT_EQ( 12u, listener.sum ); // has heard both events once
}

TEST( ThreadLimits, AThreadTooManyLacksResources )
{
#ifdef KORVALE_SANITIZED
    GTEST_SKIP() << "the sanitizer needs more address space than a limit can leave";
#endif
    const pid_t child = ::fork();
    if ( child == 0 )
    {
        std::array<std::unique_ptr<TestThread>, 100> threads;
        for ( auto& thread : threads )
            thread = std::make_unique<TestThread>( RunForEver );
        const rlimit none = { 1, 1 };
        ::setrlimit( RLIMIT_AS, &none ); // there is no room for a stack, but for a few used ones
        const auto startAll = [&]
        {
            for ( auto& thread : threads )
                thread->StartThread();
        };
        ::_exit( ErrorOf( startAll ) == 1028 ? 0 : 1 );
    }
    int status = 0;
    ::waitpid( child, &status, 0 );
    EXPECT_TRUE( WIFEXITED( status ) && WEXITSTATUS( status ) == 0 );
}
