#include "Threads/XThread.h"

#include "TestThread.h"
#include "Threads/Waiting/WSemaphore.h"
#include "Threads/XRWLock.h"

namespace
{

using Wait = std::function<void()>;

/// What threads wait for in the tests below and never get.
struct Blocked
{
    Blocked()
    {
        mutex.Lock();
        rwMutex.Lock( kRWLockForWrite );
    }
    ~Blocked()
    {
        mutex.Unlock();
        rwMutex.Unlock( kRWLockForWrite );
    }

    std::vector<Wait> GetWaits()
    {
        return {
            [] { XThread::SleepCurrentThread( kNoTimeout, true ); },
            [] { XThread::SleepCurrentThreadUnlessInput( kNoTimeout, true ); },
            [this] { mutex.Lock( kNoTimeout, true ); },
            [this] { rwMutex.Lock( kRWLockForRead, kNoTimeout, true ); },
            [this] { rwMutex.Lock( kRWLockForWrite, kNoTimeout, true ); },
            [this]
            {
                while ( semaphore.Wait( kNoTimeout, true ) == kWaitAlerted )
                    XThread::TestCancelCurrentThread();
            },
            [this]
            {
                const XThreadLock lock( freeMutex );
                condition.Wait( freeMutex, kNoTimeout, true );
            },
            [] { XThread::GetMainThread()->WaitForTerminate(); },
        };
    }

    XMutex mutex, freeMutex;
    XRWMutex rwMutex;
    WSemaphore semaphore;
    XConditionVariable condition;
};

/// A thread that only the base's destructor stops.
struct PlainThread : XThread
{
    PlainThread( const Wait& inWait, WEvent& outIsInside )
        : XThread( "plain", kThreadPriorityNormal ), itsWait( inWait ), itsIsInside( outIsInside )
    {
    }

protected:
    std::int32_t RunThreadSelf() override
    {
        const Wait wait = itsWait; // which is gone when the base is destroyed
        itsIsInside.Set();
        wait();
        return 0;
    }

private:
    const Wait itsWait;
    WEvent& itsIsInside;
};

void DestroyOnThreadThatIsToStop( std::unique_ptr<PlainThread>& ioThread )
{
    TestThread destroyer(
        [&]
        {
            {
                const XPreventThreadStop guard;
                XThread::GetCurrentThread()->AsyncStopThread();
            }
            ioThread.reset();
        } );
    destroyer.StartThread();
    destroyer.WaitForTerminate( kPatience );
}

} // namespace

TEST( XThreadStormTest, StopAndSuspendReachEveryWait )
{
    Blocked blocked;
    for ( const Wait& wait : blocked.GetWaits() )
    {
        TestThread thread( [&] { wait(); } );
        for ( std::int32_t turn = 1; turn <= 20; ++turn )
        {
            thread.StartThread();
            if ( turn % 2 == 0 )
            {
                thread.SuspendThread();
                EXPECT_TRUE( thread.IsThreadSuspended() );
            }
            if ( turn % 4 == 0 )
                thread.ResumeThread();
            if ( turn % 5 == 0 )
                std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) ); // likely asleep by now
            thread.StopThread( static_cast<std::uint32_t>( turn ) );
            ASSERT_EQ( turn, thread.GetThreadReturnCode() );
        }
    }
    EXPECT_TRUE( blocked.freeMutex.TryLock() );
    blocked.freeMutex.Unlock();
}

// A stop that comes while it is prevented must not be lost to a wait that begins after the guard has gone.
TEST( XThreadStormTest, PreventedStopReachesTheNextWait )
{
    Blocked blocked;
    for ( const Wait& wait : blocked.GetWaits() )
    {
        WEvent mayEnd;
        TestThread thread(
            [&]
            {
                {
                    const XPreventThreadStop guard;
                    while ( XThread::GetCurrentThread()->GetNextThreadState() == XThread::kThreadRunning )
                        XThread::SleepCurrentThread( 1, true ); // hears the request and goes on
                    XThread::SleepCurrentThread( 1, true );
                }
                XThread::TestCancelCurrentThread();
                wait();
            } );
        thread.StartThread();
        thread.StopThread( 6 );
        EXPECT_EQ( 6, thread.GetThreadReturnCode() );
    }
}

TEST( XThreadStormTest, DestructorsOnForeignThreadsEndEveryWait )
{
    Blocked blocked;
    for ( const Wait& wait : blocked.GetWaits() )
    {
        for ( int turn = 0; turn < 20; ++turn )
        {
            WEvent isInside;
            auto thread = std::make_unique<PlainThread>( wait, isInside );
            thread->StartThread();
            isInside.Wait();
            if ( turn % 2 == 0 )
                thread->SuspendThread();
            if ( turn % 4 < 2 )
                RunTogether( [&] { thread.reset(); } );
            else
                DestroyOnThreadThatIsToStop( thread );
        }
    }
    EXPECT_EQ( 1u, XThread::GetRunningThreadCount() );
}

TEST( XThreadStormTest, ThreadsThatStopEachOtherEnd )
{
    for ( int turn = 0; turn < 50; ++turn )
    {
        std::array<std::unique_ptr<TestThread>, 2> threads;
        WEvent mayBegin;
        for ( std::size_t i = 0; i < 2; ++i )
        {
            threads[i] = std::make_unique<TestThread>(
                [&, i]
                {
                    mayBegin.Wait();
                    threads[1 - i]->StopThread( 3 );
                } );
        }
        threads[0]->StartThread();
        threads[1]->StartThread();
        mayBegin.Set();
        threads[0]->WaitForTerminate( kPatience );
        threads[1]->WaitForTerminate( kPatience );
    }
}

// Every thread stops, suspends, resumes and starts the others at random while all of them wait on one another's locks.
TEST( XThreadStormTest, SurvivesRequestsFromEverywhere )
{
    constexpr std::size_t kThreads = 4;
    XMutex mutex;
    XRWMutex rwMutex;
    XConditionVariable condition;
    std::array<std::unique_ptr<TestThread>, kThreads> threads;
    std::atomic<bool> isOver = false;
    std::atomic<int> inside = 0;

    const auto work = [&]() -> std::int32_t
    {
        for ( ;; )
        {
            {
                const XThreadLock lock( mutex, kNoTimeout, true );
                EXPECT_EQ( 1, ++inside );
                --inside;
                condition.Sleep( mutex, 1, true );
                EXPECT_EQ( 1, ++inside );
                --inside;
            }
            condition.Signal();
            const XRWLock lock( rwMutex, kRWLockForRead, kNoTimeout, true );
            XThread::TestCancelCurrentThread();
        }
    };
    using Request = void ( * )( XThread& );
    static constexpr Request kRequests[] = {
        []( XThread& ioThread ) { ioThread.StartThread(); },
        []( XThread& ioThread ) { ioThread.StopThread(); },
        []( XThread& ioThread ) { ioThread.SuspendThread(); },
        []( XThread& ioThread ) { ioThread.AsyncSuspendThread(); },
        []( XThread& ioThread ) { ioThread.SuspendThreadWithProgress(); },
        []( XThread& ioThread ) { ioThread.StopThreadWithProgress(); },
        []( XThread& ioThread ) { ioThread.ResumeThread(); },
        []( XThread& ioThread ) { ioThread.ResumeThread(); } };
    const auto harass = [&]( unsigned inSeed )
    {
        std::minstd_rand random( inSeed + 16 * static_cast<unsigned>( GTEST_FLAG_GET( random_seed ) ) );
        while ( !isOver )
            kRequests[random() % std::size( kRequests )]( *threads[random() % kThreads] );
    };
    for ( auto& thread : threads )
        thread = std::make_unique<TestThread>( work );
    const auto end = [&]
    {
        std::this_thread::sleep_for( std::chrono::milliseconds( 300 ) );
        isOver = true;
    };
    RunTogether( [&] { harass( 1 ); }, [&] { harass( 2 ); }, [&] { harass( 3 ); }, end );
    for ( auto& thread : threads )
    {
        thread->StopThread();
        EXPECT_EQ( XThread::kThreadNotRunning, thread->GetLastThreadState() );
    }
    mutex.Lock( 0 );
    mutex.Unlock();
    rwMutex.Lock( kRWLockForWrite, 0 );
    rwMutex.Unlock( kRWLockForWrite );
}
