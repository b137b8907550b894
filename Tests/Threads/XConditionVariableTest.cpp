#include "Threads/XConditionVariable.h"

#include "TestThread.h"

namespace
{

/// Threads that wait for one condition, each told apart by its number.
struct Waiters
{
    ~Waiters()
    {
        condition.Broadcast();
        for ( auto& thread : threads )
            thread.join();
    }

    /// Adds a waiting thread; it waits when this returns.
    void Add()
    {
        const std::size_t number = threads.size();
        threads.emplace_back(
            [this, number]
            {
                const XThreadLock lock( mutex );
                ++begun;
                condition.Wait( mutex, kPatience );
                woken.push_back( number );
                hasWoken.Broadcast();
            } );
        while ( GetBegun() <= number )
            std::this_thread::yield();
    }

    void WaitForWoken( std::size_t inCount )
    {
        const XThreadLock lock( mutex );
        while ( woken.size() < inCount )
            hasWoken.Wait( mutex, kPatience );
    }

    XMutex mutex;
    XConditionVariable condition;
    std::vector<std::size_t> woken;

private:
    std::size_t GetBegun()
    {
        const XThreadLock lock( mutex );
        return begun;
    }

    XConditionVariable hasWoken;
    std::size_t begun = 0;
    std::vector<std::thread> threads;
};

} // namespace

TEST( XConditionVariableTest, TimesOutWithTheMutexHeld )
{
    XMutex mutex;
    XConditionVariable condition;
    const XThreadLock lock( mutex );
    condition.Signal(); // nobody waits: lost
    EXPECT_ERROR( 2701, condition.Wait( mutex, 0 ) );
    EXPECT_ERROR( 2701, condition.WaitForInputOrSignal( mutex, 5 ) );
    EXPECT_EQ( kWaitResultTimeout, condition.SleepForInputOrSignal( mutex, 0 ) );
    EXPECT_TRUE( condition.Sleep( mutex, 20 ) );
    mutex.AssertIsLockedOnce();
}

TEST( XConditionVariableTest, WantsTheMutexHeldOnce )
{
    XMutex mutex;
    XConditionVariable condition;
    EXPECT_ERROR( 1006, condition.Wait( mutex, 0 ) );
    const XThreadLock lock( mutex );
    const XThreadLock again( mutex );
    EXPECT_ERROR( 1006, condition.Wait( mutex, 0 ) );
}

TEST( XConditionVariableTest, SignalWakesThoseThatWaitedThenAndNoOthers )
{
    Waiters waiters;
    waiters.Add();
    waiters.Add();
    {
        const XThreadLock lock( waiters.mutex );
        waiters.condition.Signal( 2 );
        EXPECT_TRUE( waiters.condition.Sleep( waiters.mutex, 20 ) ); // came too late for it
    }
    waiters.WaitForWoken( 2 );
    waiters.Add();
    waiters.Add();
    waiters.condition.Signal();
    waiters.WaitForWoken( 3 );
    const XThreadLock lock( waiters.mutex );
    EXPECT_EQ( 2u, waiters.woken[2] ); // longest first
    EXPECT_EQ( 3u, waiters.woken.size() );
}

TEST( XConditionVariableTest, BroadcastWakesAll )
{
    Waiters waiters;
    for ( int i = 0; i < 5; ++i )
        waiters.Add();
    waiters.condition.Broadcast();
    waiters.WaitForWoken( 5 );
}

// A signal is lost to nobody: what is queued is taken out, although takers come and go by time-out.
TEST( XConditionVariableTest, LosesNoSignalAmongTimeouts )
{
    constexpr int kItems = 4000;
    XMutex mutex;
    XConditionVariable notEmpty;
    std::deque<int> queue;
    int taken = 0;
    const auto take = [&]
    {
        for ( std::uint32_t turn = 0;; ++turn )
        {
            const XThreadLock lock( mutex );
            while ( queue.empty() && taken < kItems )
                notEmpty.Sleep( mutex, turn % 7 == 0 ? 0 : kPatience );
            if ( taken == kItems )
                return;
            queue.pop_front();
            if ( ++taken == kItems )
                notEmpty.Broadcast();
        }
    };
    const auto put = [&]
    {
        for ( int item = 0; item < kItems / 2; ++item )
        {
            {
                const XThreadLock lock( mutex );
                queue.push_back( item );
            }
            notEmpty.Signal();
        }
    };
    RunTogether( take, take, take, put, put );
    EXPECT_EQ( kItems, taken );
}

// A waiter that is signalled while it is being stopped passes the signal on.
TEST( XConditionVariableTest, StoppedWaiterTakesNoSignalAway )
{
    struct Stopped : TestThread
    {
        using TestThread::TestThread;
        XConditionVariable* condition = nullptr;

    protected:
        void Stopping() override { condition->Signal(); } // to itself, which has waited longest
    };
    Waiters waiters;
    WEvent begun;
    Stopped stopped(
        [&]
        {
            const XThreadLock lock( waiters.mutex );
            begun.Set();
            waiters.condition.Wait( waiters.mutex, kNoTimeout, true );
            return 0;
        } );
    stopped.condition = &waiters.condition;
    stopped.StartThread();
    begun.Wait();
    waiters.Add();
    stopped.StopThread( 5 );
    EXPECT_EQ( 5, stopped.GetThreadReturnCode() );
    waiters.WaitForWoken( 1 );
}

// The mutex goes to those who wait for it, not to a signalled waiter that is suspended.
TEST( XConditionVariableTest, SuspendedWaiterHoldsNobodyUpAndMissesNoSignal )
{
    XMutex mutex( 1 );
    XConditionVariable condition;
    WEvent begun;
    TestThread suspended(
        [&]
        {
            const XThreadLock lock( mutex );
            begun.Set();
            condition.Wait( mutex, kNoTimeout, true );
            return 3;
        } );
    suspended.StartThread();
    begun.Wait();
    suspended.SuspendThread();
    mutex.Lock();
    condition.Signal();
    TestThread other(
        [&]
        {
            const XThreadLock lock( mutex );
            return 1;
        } );
    other.StartThread();
    std::this_thread::sleep_for(
        std::chrono::milliseconds( 5 ) ); // for it to sleep, which makes the difference
    mutex.Unlock();
    EXPECT_EQ( 1, other.Finish() );
    suspended.ResumeThread();
    EXPECT_EQ( 3, suspended.Finish() );
}
