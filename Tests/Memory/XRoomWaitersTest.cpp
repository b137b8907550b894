#include "Memory/XRoomWaiters.h"

#include "Core/XTimer.h"
#include "Memory/TestManager.h"
#include "Memory/XMappedFileMemoryHandle.h"
#include "TestErrors.h"
#include "Threads/TestThread.h"
#include "WThread.h"

#include <gtest/gtest.h>

#include <array>

// What a thread waits for that finds no room in the budget, and when it gives up.

namespace
{

constexpr USize64 kSize = 16 * 1024;

/// The number of the error, 0 for none.
std::uint32_t LockOnce( XMemoryHandle& ioHandle )
{
    try
    {
        const XLock lock( ioHandle, kLockForRead );
        return 0;
    }
    catch ( const XException& exception )
    {
        return exception.GetErrorNumber();
    }
}

/// Says, as a listener, when a thread has looked for room in vain.
class SearchedInVain
{
public:
    void Wait() { itsEvent.Wait(); }

private:
    WEvent itsEvent;
    TestListener itsListener{ [this]( USize64 )
                              {
                                  itsEvent.Set();
                                  return USize64( 0 );
                              } };
};

} // namespace

TEST( XRoomWaiters, WaitForWhoMayUnlock )
{
    TestManager manager( kSize );
    SearchedInVain search;
    XMappedFileMemoryHandle held( kSize );
    XMappedFileMemoryHandle wanted( kSize );
    auto lock = std::make_unique<XLock>( held, kLockForRead );
    RunTogether(
        [&]
        {
            search.Wait();
            WThread::Sleep( 300, false ); // a waiter does not give up because it takes a while
            lock.reset();
        },
        [&] { EXPECT_EQ( 0u, LockOnce( wanted ) ); } );
}

TEST( XRoomWaiters, OneOfTwoThatWaitForEachOtherIsRefused )
{
    TestManager manager( 2 * kSize );
    manager.SetPatience( kPatience );
    std::array<XMappedFileMemoryHandle, 4> handles;
    for ( auto& handle : handles )
        handle.Resize( kSize );
    std::atomic<int> holding = 0;
    std::atomic<int> refused = 0;
    const auto lockTwo = [&]( std::size_t inFirst )
    {
        const XLock lock( handles[inFirst], kLockForRead );
        for ( ++holding; holding < 2; )
            std::this_thread::yield();
        refused += LockOnce( handles[inFirst + 1] ) == 1012;
    };
    const XTimer timer;
    RunTogether( [&] { lockTwo( 0 ); }, [&] { lockTwo( 2 ); } );
    EXPECT_EQ( 1, refused );
    EXPECT_LT( timer.GetElapsedSeconds(), kPatience / 1000 / 2 );
}

TEST( XRoomWaiters, GiveUpOnLocksThatStay )
{
    TestManager manager( kSize );
    manager.SetPatience( 30 );
    XMappedFileMemoryHandle held( kSize );
    XMappedFileMemoryHandle wanted( kSize );
    {
        const XLock lock( held, kLockForRead );
        EXPECT_EQ( 1012u, LockOnce( wanted ) ); // this thread's own
        RunTogether( [&] { EXPECT_EQ( 1012u, LockOnce( wanted ) ); } );
    }
    EXPECT_EQ( 0u, LockOnce( wanted ) );
}

// Others may need the memory mutex to decide whether to wait, or have the listeners' mutex.
TEST( XRoomWaiters, WhoHoldsTheMemoryMutexIsRefusedAtOnce )
{
    TestManager manager( kSize );
    manager.SetPatience( kPatience );
    const std::thread::id tester = std::this_thread::get_id();
    WEvent isAsked;
    WEvent isLocked;
    TestListener listener(
        [&]( USize64 )
        {
            EXPECT_NE( tester, std::this_thread::get_id() );
            isAsked.Set();
            isLocked.Wait();
            return USize64( 0 );
        } );
    XMappedFileMemoryHandle held( kSize );
    XMappedFileMemoryHandle wanted( kSize );
    auto lock = std::make_unique<XLock>( held, kLockForRead );
    std::thread waiter( [&] { EXPECT_EQ( 0u, LockOnce( wanted ) ); } );
    isAsked.Wait();
    {
        const XThreadLock memoryLock( manager.GetMemoryMutex() );
        isLocked.Set();
        WThread::Sleep( 100, false ); // lets the other decide, which is when it needs the mutex
        EXPECT_EQ( 1012u, ErrorOf( [&] { manager.AboutToAllocate( kSize ); } ) );
    }
    lock.reset();
    waiter.join();
}

TEST( XRoomWaiters, AStopEndsTheWait )
{
    TestManager manager( kSize );
    manager.SetPatience( kPatience );
    SearchedInVain search;
    XMappedFileMemoryHandle held( kSize );
    XMappedFileMemoryHandle wanted( kSize );
    const XLock lock( held, kLockForRead );
    TestThread thread( [&] { return static_cast<std::int32_t>( LockOnce( wanted ) ); } );
    thread.StartThread();
    search.Wait();
    const XTimer timer;
    thread.StopThread();
    EXPECT_LT( timer.GetElapsedSeconds(), kPatience / 1000 / 2 );
    EXPECT_EQ( 0, wanted.GetBlock()->GetLockCount() );
}

// Each thread needs one block at a time and there is room for three: nobody may be refused, however it comes.
TEST( XRoomWaiters, NobodyIsRefusedWhoOnlyHasToWaitForItsTurn )
{
    TestManager manager( 3 * kSize );
    manager.SetPatience( kPatience );
    std::array<XMappedFileMemoryHandle, 12> handles;
    for ( auto& handle : handles )
    {
        handle.Resize( kSize );
        Fill( handle, 5 );
    }
    std::vector<std::thread> threads;
    for ( unsigned thread = 0; thread < 8; ++thread )
        threads.emplace_back(
            [&, thread]
            {
                for ( unsigned turn = 0; turn < 100; ++turn )
                    EXPECT_TRUE( Holds( handles[( thread + turn * 5 ) % handles.size()], 5 ) );
            } );
    for ( auto& thread : threads )
        thread.join();
    EXPECT_LE( manager.GetPeakBytesInUse(), 3 * kSize );
}

// The purge is held up where it makes its file; neither other blocks nor the list may be held up with it.
TEST( XRoomWaiters, NoLockWaitsForThePurgeOfAnotherBlock )
{
    TestManager manager( 3 * kSize );
    WEvent isPurging;
    WEvent mayGoOn;
    manager.makeTemporaryFile = [&]
    {
        isPurging.Set();
        mayGoOn.Wait();
        return manager.WMemoryManager::MakeTemporaryFile();
    };
    XMappedFileMemoryHandle purged( kSize );
    XMappedFileMemoryHandle other( kSize );
    Fill( purged, 1 );
    RunTogether(
        [&] { EXPECT_EQ( kSize, manager.FreeMemory( kSize, XMemoryManager::kFreeWithoutLogEntry ) ); },
        [&]
        {
            isPurging.Wait();
            Fill( other, 2 );
            EXPECT_EQ( 2u, manager.GetPurgeableBlockCount() );
            mayGoOn.Set();
        } );
    EXPECT_TRUE( Holds( purged, 1 ) );
    EXPECT_TRUE( Holds( other, 2 ) );
}

// A block that is given up while the manager purges it waits until that is over.
TEST( XRoomWaiters, ABlockMayGoWhileItIsPurged )
{
    TestManager manager( 3 * kSize );
    WEvent isPurging;
    manager.makeTemporaryFile = [&]
    {
        isPurging.Set();
        return manager.WMemoryManager::MakeTemporaryFile();
    };
    for ( int turn = 0; turn < 20; ++turn )
    {
        isPurging.Clear();
        auto handle = std::make_unique<XMappedFileMemoryHandle>( kSize );
        Fill( *handle, 1 );
        RunTogether(
            [&] { manager.FreeMemory( kSize, XMemoryManager::kFreeWithoutLogEntry ); },
            [&]
            {
                isPurging.Wait();
                handle.reset();
            } );
    }
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
    EXPECT_EQ( 0u, manager.GetPurgeableBlockCount() );
}
