// Locks beside those of the standard library and of Qt: free, nested, with two threads contending, with two
// readers, and a condition variable's hand-off between two threads. Rows with two threads count both threads'
// turns.

#include "Threads/XConditionVariable.h"
#include "Threads/XMutex.h"
#include "Threads/XRWMutex.h"
#include "Threads/XThreadLock.h"

#include <QReadWriteLock>
#include <QRecursiveMutex>
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace
{

// ---- The locks under the same names

struct OurMutex : XMutex
{
    void lock() { Lock(); }
    void unlock() { Unlock(); }
};

struct OurReadLock : XRWMutex
{
    void lock() { Lock( kRWLockForRead ); }
    void unlock() { Unlock( kRWLockForRead ); }
};

struct QtReadLock : QReadWriteLock
{
    QtReadLock() : QReadWriteLock( QReadWriteLock::Recursive ) {}
    void lock() { lockForRead(); }
};

struct OurCondition
{
    template<class IsTrue>
    void WaitUntil( IsTrue inIsTrue )
    {
        while ( !inIsTrue() )
            condition.Wait( mutex );
    }
    void Signal() { condition.Signal(); }

    OurMutex mutex;
    XConditionVariable condition;
};

struct StandardCondition
{
    template<class IsTrue>
    void WaitUntil( IsTrue inIsTrue )
    {
        std::unique_lock lock( mutex, std::adopt_lock );
        condition.wait( lock, inIsTrue );
        lock.release();
    }
    void Signal() { condition.notify_one(); }

    std::mutex mutex;
    std::condition_variable condition;
};

// ---- What is timed

template<class Lock>
void LockAndUnlock( benchmark::State& ioState, Lock& ioLock )
{
    for ( auto _ : ioState )
    {
        ioLock.lock();
        benchmark::DoNotOptimize( ioLock );
        ioLock.unlock();
    }
    ioState.SetItemsProcessed( ioState.iterations() );
}

template<class Lock>
void Free( benchmark::State& ioState )
{
    Lock lock;
    LockAndUnlock( ioState, lock );
}

template<class Lock>
void Nested( benchmark::State& ioState )
{
    Lock lock;
    lock.lock();
    LockAndUnlock( ioState, lock );
    lock.unlock();
}

template<class Lock>
void Shared( benchmark::State& ioState )
{
    static Lock sLock;
    LockAndUnlock( ioState, sLock );
}

/// Two threads give the turn to each other; one iteration is there and back.
template<class Condition>
void HandOff( benchmark::State& ioState )
{
    Condition condition;
    enum Turn
    {
        kOurs,
        kTheirs,
        kNobodys
    } turn = kOurs;
    std::thread other(
        [&]
        {
            const std::lock_guard lock( condition.mutex );
            for ( ;; )
            {
                condition.WaitUntil( [&] { return turn != kOurs; } );
                if ( turn == kNobodys )
                    return;
                turn = kOurs;
                condition.Signal();
            }
        } );
    {
        const std::lock_guard lock( condition.mutex );
        for ( auto _ : ioState )
        {
            turn = kTheirs;
            condition.Signal();
            condition.WaitUntil( [&] { return turn == kOurs; } );
        }
        turn = kNobodys;
        condition.Signal();
    }
    other.join();
}

} // namespace

BENCHMARK( Free<OurMutex> )->Name( "free/XMutex" );
BENCHMARK( Free<std::recursive_mutex> )->Name( "free/std::recursive_mutex" );
BENCHMARK( Free<QRecursiveMutex> )->Name( "free/QRecursiveMutex" );

BENCHMARK( Nested<OurMutex> )->Name( "nested/XMutex" );
BENCHMARK( Nested<std::recursive_mutex> )->Name( "nested/std::recursive_mutex" );
BENCHMARK( Nested<QRecursiveMutex> )->Name( "nested/QRecursiveMutex" );

BENCHMARK( Shared<OurMutex> )->Name( "two threads/XMutex" )->Threads( 2 )->UseRealTime();
BENCHMARK( Shared<std::recursive_mutex> )
    ->Name( "two threads/std::recursive_mutex" )
    ->Threads( 2 )
    ->UseRealTime();
BENCHMARK( Shared<QRecursiveMutex> )->Name( "two threads/QRecursiveMutex" )->Threads( 2 )->UseRealTime();

BENCHMARK( Free<OurReadLock> )->Name( "read, free/XRWMutex" );
BENCHMARK( Free<QtReadLock> )->Name( "read, free/QReadWriteLock" );

BENCHMARK( Shared<OurReadLock> )->Name( "two readers/XRWMutex" )->Threads( 2 )->UseRealTime();
BENCHMARK( Shared<QtReadLock> )->Name( "two readers/QReadWriteLock" )->Threads( 2 )->UseRealTime();

BENCHMARK( HandOff<OurCondition> )->Name( "hand-off/XConditionVariable" )->UseRealTime();
BENCHMARK( HandOff<StandardCondition> )->Name( "hand-off/std::condition_variable" )->UseRealTime();

BENCHMARK_MAIN();
