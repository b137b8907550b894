#include "Threads/XMutex.h"
#include "Threads/XConditionVariable.h"
#include "Threads/XThreadLock.h"

#include "TestThread.h"

namespace
{

/// Holds a mutex on a thread of its own.
struct Holder
{
    explicit Holder( XMutex& inMutex )
        : itsThread(
              [this, &inMutex]
              {
                  const XThreadLock lock( inMutex );
                  itsHalt.Stop();
              } )
    {
        itsHalt.AwaitStop();
    }
    ~Holder() { End(); }

    void LetGo() { itsHalt.GoOn(); }

    void End()
    {
        LetGo();
        if ( itsThread.joinable() )
            itsThread.join();
    }

private:
    Halt itsHalt;
    std::thread itsThread;
};

} // namespace

TEST( XMutexTest, IsRecursive )
{
    XMutex mutex;
    mutex.Lock();
    mutex.Lock( 0 );
    EXPECT_TRUE( mutex.TryLock() );
    mutex.Unlock();
    mutex.Unlock();
    mutex.AssertIsLockedOnce();
    RunTogether( [&] { EXPECT_FALSE( mutex.TryLock() ); } );
    mutex.Unlock();
    mutex.AssertIsNotLocked();
    RunTogether(
        [&]
        {
            EXPECT_TRUE( mutex.TryLock() );
            mutex.Unlock();
        } );
}

TEST( XMutexTest, TellsMisuse )
{
    XMutex mutex;
    EXPECT_ERROR( 1006, mutex.Unlock() );
    EXPECT_ERROR( 1006, mutex.AssertIsLocked() );
    const XThreadLock lock( mutex );
    const XThreadLock again( mutex );
    EXPECT_ERROR( 1006, mutex.AssertIsLockedOnce() );
    EXPECT_ERROR( 1006, mutex.AssertIsNotLocked() );
    RunTogether( [&] { EXPECT_ERROR( 1006, mutex.Unlock() ); } );
}

TEST( XMutexTest, WaitsAsLongAsItIsToldWhateverTheSpinCount )
{
    for ( const std::uint32_t spinCount : { 0u, 1u, XMutex::kDefaultSpinCount, ~0u } )
    {
        XMutex mutex( spinCount );
        Holder holder( mutex );
        EXPECT_ERROR( 2701, mutex.Lock( 0 ) );
        EXPECT_ERROR( 2701, mutex.WaitForInputOrLock( 0 ) );
        const auto start = std::chrono::steady_clock::now();
        EXPECT_ERROR( 2701, mutex.Lock( 30 ) );
        EXPECT_GE( std::chrono::steady_clock::now() - start, std::chrono::milliseconds( 30 ) );
        holder.LetGo();
        EXPECT_EQ( kWaitResultEvent, mutex.WaitForInputOrLock( kNoTimeout ) );
        mutex.Unlock();
    }
}

// Who times out must leave the mutex such that the others still get it.
TEST( XMutexTest, KeepsOutAllButOneWhileSomeTimeOut )
{
    XMutex mutex( 0 ); // sleeps at once
    int inside = 0;
    int turns = 0;
    const auto work = [&]
    {
        for ( int turn = 0; turn < 300; ++turn )
        {
            const auto use = [&]
            {
                const XThreadLock lock( mutex, turn % 3 == 0 ? 1 : kPatience );
                const XThreadLock nested( mutex );
                EXPECT_EQ( 1, ++inside );
                ++turns;
                if ( turn % 50 == 0 )
                    std::this_thread::sleep_for( std::chrono::milliseconds( 2 ) );
                --inside;
            };
            const std::uint32_t error = ErrorOrZero( use );
            EXPECT_TRUE( error == 0 || error == 2701 ) << error;
        }
    };
    RunTogether( work, work, work, work );
    EXPECT_GE( turns, 800 );
    mutex.Lock( 0 );
    mutex.Unlock();
}

// A thread that takes the mutex again right after letting go must not keep a sleeper out for ever.
TEST( XMutexTest, SleeperGetsItsTurn )
{
    XMutex mutex;
    std::atomic<bool> hasHadTurn = false;
    RunTogether(
        [&]
        {
            const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds( kPatience );
            while ( !hasHadTurn && std::chrono::steady_clock::now() < limit )
            {
                const XThreadLock lock( mutex );
                std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
            }
        },
        [&]
        {
            const XThreadLock lock( mutex );
            hasHadTurn = true;
        } );
    EXPECT_TRUE( hasHadTurn );
}

TEST( XMutexTest, MayBeDestroyedByTheNextOwner )
{
    for ( int turn = 0; turn < 200; ++turn )
    {
        auto mutex = std::make_unique<XMutex>( 1 );
        mutex->Lock();
        std::thread other(
            [&]
            {
                mutex->Lock();
                mutex->Unlock();
                mutex.reset();
            } );
        mutex->Unlock();
        other.join();
    }
}

#if !defined( NDEBUG )
TEST( XMutexTest, TellsABrokenLockOrder )
{
    XMutex first, second, third;
    third.DontLockBefore( second );
    second.DontLockBefore( first );
    {
        const XThreadLock lock( first );
        const XThreadLock lock2( second );
        const XThreadLock lock3( third );
        const XThreadLock again( first ); // held already
    }
    const XThreadLock lock( third );
    EXPECT_ERROR( 1006, second.Lock() );
    EXPECT_ERROR( 1006, first.Lock() );
    first.AssertIsNotLocked();
}
#endif
