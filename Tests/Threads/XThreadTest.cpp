#include "Threads/XThread.h"

#include "TestThread.h"
#include "Threads/XMainThread.h"
#include "Threads/XPreventThreadSuspend.h"
#include "Threads/XThreadListener.h"

namespace
{

/// Takes note of the hooks that are called, and lets each throw.
struct HookedThread : TestThread
{
    using TestThread::TestThread;
    ~HookedThread() override
    {
        const XPreventThreadStop preventStop;
        StopThread();
    }

    std::string GetCalls()
    {
        const XThreadLock lock( itsMutex );
        return itsCalls;
    }

    std::uint32_t GetRequestedStopCode() const { return itsStopCode; }

protected:
    void FinishThreadSelf() override { Note( "finish " ); }
    void Suspending() override { NoteAndCheck( "suspending " ); }
    void Resuming() override { NoteAndCheck( "resuming " ); }
    void Stopping() override { NoteAndCheck( "stopping " ); }
    void AsyncStopThreadSelf( std::uint32_t inStopCode ) override { itsStopCode = inStopCode; }

private:
    void Note( const char* inCall )
    {
        const XThreadLock lock( itsMutex );
        itsCalls += inCall;
        throw std::runtime_error( inCall );
    }

    void NoteAndCheck( const char* inCall )
    {
        TestCancelThread(); // must not come back here
        Note( inCall );
    }

    XMutex itsMutex;
    std::string itsCalls;
    std::atomic<std::uint32_t> itsStopCode = 0;
};

struct Listener : XThreadListener
{
    explicit Listener( bool inThrows ) : itsThrows( inThrows ) { StartListening(); }
    ~Listener() override { StopListening(); }

    void ThreadEvent( XThreadEvent inEvent ) override
    {
        events.push_back( inEvent );
        if ( itsThrows )
            throw 1;
    }

    std::vector<XThreadEvent> events;

private:
    const bool itsThrows;
};

/// A body that suspends another thread and returns the state that it leaves that in.
TestThread::Body SuspendsAndReturnsState( XThread& ioThread )
{
    return [&ioThread]
    {
        ioThread.SuspendThread();
        return static_cast<std::int32_t>( ioThread.GetLastThreadState() );
    };
}

/// Starts a thread whose first checkpoint is in a wait, and returns when it is suspended there.
void StartAndSuspendInWait( XThread& ioThread )
{
    ioThread.StartThread();
    ioThread.SuspendThread();
    EXPECT_TRUE( ioThread.IsThreadSuspended() );
}

template<class TBody>
std::int32_t ReturnCodeOf( const TBody& inBody )
{
    TestThread thread( inBody );
    thread.StartThread();
    return thread.Finish();
}

} // namespace

TEST( XThreadTest, KeepsWhateverItsBodyEndsWith )
{
    EXPECT_EQ( 7, ReturnCodeOf( [] { return 7; } ) );
    EXPECT_EQ( 5, ReturnCodeOf( []() -> std::int32_t { throw XStopThreadException( 5 ); } ) );
    EXPECT_EQ( 1005, ReturnCodeOf( []() -> std::int32_t { throw XException( 1005 ); } ) );
    EXPECT_EQ( -4, ReturnCodeOf( []() -> std::int32_t { throw std::runtime_error( "x" ); } ) );
    EXPECT_EQ( -4, ReturnCodeOf( []() -> std::int32_t { throw 1; } ) );
}

TEST( XThreadTest, StartsAfterItsListenersHaveHeard )
{
    const Listener thrower( true );
    const Listener listener( false );
    HookedThread thread( SleepForEver );
    EXPECT_EQ( 0u, thread.GetThreadID() );
    EXPECT_FALSE( thread.IsThreadRunning() );
    for ( std::size_t run = 1; run <= 2; ++run ) // the second time it is running
    {
        thread.StartThread();
        EXPECT_EQ( 2 * run - 1, listener.events.size() );
        EXPECT_TRUE( thread.IsThreadRunning() );
        EXPECT_NE( 0u, thread.GetThreadID() );
        EXPECT_NE( XThread::GetCurrentThreadID(), thread.GetThreadID() );
    }
    thread.StopThread( 9 );
    EXPECT_EQ( "stopping finish stopping finish ", thread.GetCalls() );
    const std::vector<XThreadEvent> expected{
        kThreadStarted, kThreadFinishing, kThreadStarted, kThreadFinishing };
    EXPECT_EQ( expected, listener.events );
    EXPECT_EQ( expected, thrower.events );
    EXPECT_EQ( 9, thread.GetThreadReturnCode() );
    EXPECT_EQ( 1u, XThread::GetRunningThreadCount() ); // the main thread
}

TEST( XThreadTest, StopsItselfUnlessPrevented )
{
    EXPECT_EQ( 3, ReturnCodeOf( [] { XThread::GetCurrentThread()->AsyncStopThread( 3 ); } ) );
    bool reachedGuardsEnd = false;
    EXPECT_EQ(
        4,
        ReturnCodeOf(
            [&]
            {
                {
                    const XPreventThreadStop outer;
                    const XPreventThreadStop inner;
                    XThread::GetCurrentThread()->StopThread( 4 );
                    XThread::TestCancelCurrentThread();
                    reachedGuardsEnd = true;
                }
                XThread::TestCancelCurrentThread();
            } ) );
    EXPECT_TRUE( reachedGuardsEnd );
    EXPECT_EQ( 2702, ReturnCodeOf( [] { XThread::GetCurrentThread()->StartThread(); } ) );
}

TEST( XThreadTest, WithdrawsAStopButNotARestart )
{
    TestThread* self = nullptr;
    const auto body = [&]( std::uint32_t inStopCode )
    {
        try
        {
            self->AsyncStopThread( inStopCode );
        }
        catch ( const XStopThreadException& )
        {
            self->ResetCancelState();
        }
        XThread::TestCancelCurrentThread();
        return 0;
    };
    const auto run = [&]( std::uint32_t inStopCode )
    {
        TestThread thread( [&] { return body( inStopCode ); } );
        self = &thread;
        thread.StartThread();
        return thread.Finish();
    };
    EXPECT_EQ( 0, run( 2950 ) );
    EXPECT_EQ( 2702, run( XThread::kRestartStopCode ) );
}

TEST( XThreadTest, FirstRestartCodeStays )
{
    WEvent mayCheck;
    TestThread thread(
        [&]
        {
            mayCheck.Wait();
            return SleepForEver();
        } );
    thread.StartThread();
    thread.AsyncStopThread( 5 );
    thread.AsyncStopThread( XThread::kRestartStopCode );
    thread.AsyncStopThread( 6 );
    mayCheck.Set();
    EXPECT_EQ( 2702, thread.Finish() );
}

TEST( XThreadTest, SuspendsResumesAndStopsWhileSuspended )
{
    HookedThread thread( SleepForEver );
    thread.StartThread();
    EXPECT_ERROR( 2701, thread.WaitForSuspend( 0 ) );
    EXPECT_TRUE( thread.SleepUntilSuspended( 5 ) );
    thread.SuspendThread();
    EXPECT_TRUE( thread.IsThreadSuspended() );
    EXPECT_FALSE( thread.SleepUntilSuspended( 0 ) );
    EXPECT_ERROR( 2701, thread.WaitForTerminate( 5 ) );
    thread.ResumeThread();
    EXPECT_TRUE( Await( [&] { return thread.IsThreadRunning(); } ) );
    thread.SuspendThread();
    thread.StopThread( 8 );
    EXPECT_EQ( "suspending resuming suspending resuming stopping finish ", thread.GetCalls() );
    EXPECT_EQ( 8, thread.GetThreadReturnCode() );
    EXPECT_EQ( 8u, thread.GetRequestedStopCode() );
    EXPECT_EQ( kWaitResultEvent, thread.WaitForInputOrTerminate( 0 ) );
}

TEST( XThreadTest, SuspendWaitsForTheGuardOrIsWithdrawn )
{
    WEvent mayEnd;
    TestThread thread(
        [&]
        {
            {
                const XPreventThreadSuspend guard;
                XThread::SleepCurrentThread( 1, true );
                mayEnd.Wait();
                XThread::TestCancelCurrentThread();
            }
            return SleepForEver();
        } );
    thread.StartThread();
    std::thread suspender( [&] { thread.SuspendThread(); } );
    while ( thread.GetNextThreadState() != XThread::kThreadSuspended )
        std::this_thread::yield();
    EXPECT_TRUE( thread.IsThreadRunning() );
    thread.ResumeThread(); // ends the wait of the suspender too
    suspender.join();
    thread.AsyncSuspendThread();
    mayEnd.Set();
    thread.WaitForSuspend( kPatience );
    EXPECT_TRUE( thread.IsThreadSuspended() );
}

TEST( XThreadTest, SuspendWaitsForAStopThatIsPending )
{
    for ( const bool isWithdrawn : { false, true } )
    {
        WEvent mayGoOn;
        std::unique_ptr<TestThread> thread;
        thread = std::make_unique<TestThread>(
            [&]
            {
                {
                    const XPreventThreadStop guard;
                    mayGoOn.Wait();
                }
                if ( isWithdrawn )
                    thread->ResetCancelState();
                return SleepForEver();
            } );
        thread->StartThread();
        thread->AsyncStopThread( 5 );
        TestThread suspender( SuspendsAndReturnsState( *thread ) );
        StartAndSuspendInWait( suspender );
        mayGoOn.Set();
        suspender.ResumeThread();
        suspender.WaitForTerminate( kPatience );
        EXPECT_EQ(
            isWithdrawn ? XThread::kThreadRunning : XThread::kThreadNotRunning,
            suspender.GetThreadReturnCode() );
    }
}

TEST( XThreadTest, SuspendWithProgressReturnsWhenResumedOrWithdrawn )
{
    EXPECT_EQ(
        4,
        ReturnCodeOf(
            []
            {
                XThread* const self = XThread::GetCurrentThread();
                std::thread resumer(
                    [self]
                    {
                        self->WaitForSuspend( kPatience );
                        self->ResumeThread();
                    } );
                self->SuspendThreadWithProgress();
                resumer.join();
                return 4;
            } ) );

    TestThread thread(
        []
        {
            const XPreventThreadSuspend guard;
            return SleepForEver();
        } );
    thread.StartThread();
    for ( const bool allowsAbort : { false, true } )
    {
        TestThread suspender(
            [&]
            {
                thread.SuspendThreadWithProgress( 100, allowsAbort );
                return 1;
            } );
        StartAndSuspendInWait( suspender );
        thread.ResumeThread();
        suspender.ResumeThread();
        EXPECT_EQ( 1, suspender.Finish() );
    }
}

TEST( XThreadTest, WaitersMissNoSuspensionThatIsOver )
{
    TestThread thread( SleepForEver );
    thread.StartThread();
    TestThread waiter(
        [&]
        {
            thread.WaitForSuspend( kPatience );
            return 1;
        } );
    StartAndSuspendInWait( waiter );
    thread.SuspendThread();
    thread.ResumeThread();
    EXPECT_TRUE( Await( [&] { return thread.IsThreadRunning(); } ) );
    waiter.ResumeThread();
    EXPECT_EQ( 1, waiter.Finish() );
}

TEST( XThreadTest, ReleasesItsWaitersWhenDestroyed )
{
    using Wait = std::function<void( XThread& )>;
    const Wait waits[] = {
        []( XThread& inThread ) { inThread.WaitForTerminate( kPatience ); },
        []( XThread& inThread ) { inThread.WaitForSuspend( kPatience ); },
        []( XThread& inThread ) { inThread.WaitForTerminateWithProgress( kPatience ); },
        []( XThread& inThread ) { inThread.WaitForSuspendWithProgress( kPatience ); },
        []( XThread& inThread ) { inThread.StopThread(); },
        []( XThread& inThread ) { inThread.StopThreadWithProgress(); },
    };
    WEvent mayEnd;
    auto thread = std::make_unique<TestThread>(
        [&]
        {
            const XPreventThreadStop guard;
            mayEnd.Wait();
        } );
    thread->StartThread();
    std::vector<std::unique_ptr<TestThread>> waiters;
    for ( const Wait& wait : waits )
    {
        const auto body = [&wait, waited = thread.get()]
        {
            wait( *waited );
            return 1;
        };
        waiters.push_back( std::make_unique<TestThread>( body ) );
        StartAndSuspendInWait( *waiters.back() );
    }
    mayEnd.Set();
    thread.reset();
    for ( const auto& waiter : waiters )
    {
        waiter->ResumeThread();
        EXPECT_EQ( 1, waiter->Finish() );
    }
}

TEST( XThreadTest, KeepsDataPerThreadAndDisposesOfIt )
{
    static std::uint64_t sDisposed = 0;
    sDisposed = 0;
    XTLSRegistry::SetCleanUp(
        XTLSRegistry::kApplicationData1, []( std::uint64_t inValue ) { sDisposed += inValue; } );
    TestThread thread(
        []
        {
            EXPECT_EQ( 5u, XThread::GetCurrentThread()->GetTLS().size() );
            EXPECT_EQ( 0u, XTLSRegistry::GetData( XTLSRegistry::kApplicationData1 ) );
            EXPECT_ERROR(
                1006, XTLSRegistry::AssertNotZeroAndDecrementData( XTLSRegistry::kApplicationData1 ) );
            XTLSRegistry::RegisterData( XTLSRegistry::kApplicationData1, 10 );
            XTLSRegistry::IncrementData( XTLSRegistry::kApplicationData1 );
            EXPECT_EQ( 1006u, XException::GetLastError() );
        } );
    for ( int run = 1; run <= 2; ++run )
    {
        thread.StartThread();
        thread.WaitForTerminate( kPatience );
        EXPECT_EQ( 11u * static_cast<unsigned>( run ), sDisposed );
    }
    XTLSRegistry::SetCleanUp( XTLSRegistry::kApplicationData1, nullptr );
    RunTogether(
        []
        {
            EXPECT_EQ( nullptr, XThread::GetCurrentThread() );
            EXPECT_EQ( 0u, XTLSRegistry::GetData( XTLSRegistry::kCurrentJob ) );
            EXPECT_ERROR( 1006, XTLSRegistry::RegisterData( XTLSRegistry::kCurrentJob, 1 ) );
            XThread::TestCancelCurrentThread();
            XThread::SleepCurrentThread( 1, true );
        } );
}

TEST( XThreadTest, KnowsTheMainThread )
{
    ASSERT_NE( nullptr, XThread::GetMainThread() );
    EXPECT_EQ( XThread::GetMainThread(), XThread::GetCurrentThread() );
    EXPECT_TRUE( XThread::GetMainThread()->IsAcquiredThread() );
    EXPECT_TRUE( XThread::GetMainThread()->IsThreadRunning() );
    EXPECT_TRUE( XThread::IsMainThread() );
    RunTogether( [] { EXPECT_FALSE( XThread::IsMainThread() ); } );
}

TEST( XThreadTest, TakesPriorityAndAffinity )
{
    TestThread thread( SleepForEver );
    thread.SetThreadPriority( kThreadPriorityBelowNormal );
    thread.StartThread();
    thread.SetThreadPriority( kThreadPriorityIdle );
    EXPECT_EQ( kThreadPriorityIdle, thread.GetThreadPriority() );
    EXPECT_ERROR( 1006, thread.SetThreadPriority( static_cast<XThreadPriority>( 7 ) ) );
    const auto hurry = [&] { thread.SetThreadPriority( kThreadPriorityTimeCritical ); };
    if ( const std::uint32_t error = ErrorOrZero( hurry ) ) // not everybody has the right
    {
        EXPECT_EQ( 1021u, error );
        EXPECT_EQ( kThreadPriorityIdle, thread.GetThreadPriority() );
    }
    EXPECT_EQ( XThread::GetAffinityMaskForAllCPUs(), thread.GetThreadAffinityMask() );
    thread.SetThreadAffinityMask( XThread::GetAffinityMaskForCore( 0 ) );
    EXPECT_ERROR( 1006, thread.SetThreadAffinityMask( 0 ) );
    constexpr std::uint32_t kInvalidParameter = 87; // the system's own number
    if ( XThread::GetProcessorCount() < 64 )
    {
        EXPECT_EQ( kInvalidParameter, ErrorOf( [&] { thread.SetThreadAffinityMask( USize( 1 ) << 63 ); } ) );
    }
    EXPECT_EQ( XThread::GetAffinityMaskForCore( 0 ), thread.GetThreadAffinityMask() );
    const std::uint32_t cores = XThread::GetPhysicalProcessorCoreCount();
    EXPECT_ERROR( 1006, XThread::GetAffinityMaskForCore( cores ) );
    EXPECT_EQ( XThread::GetProcessorCount(), XThread::GetPercentCPUUsage().size() );
}
