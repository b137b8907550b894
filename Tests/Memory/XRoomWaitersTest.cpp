#include "Memory/Internal/XRoomWaiters.h"

#include "Memory/TestManager.h"
#include "Threads/TestThread.h"

// What a thread waits for that finds no room in the budget, and when it gives up.

namespace
{

constexpr USize64 kRequest = 4096;

/// A manager with room for some blocks, and as many blocks as one likes, all written to at some time.
struct Room
{
    Room( unsigned inBlocks, unsigned inHandles, std::uint32_t inPatience = kPatience )
        : manager( inBlocks * kRequest ), handles( inHandles )
    {
        manager.SetPatience( inPatience );
        for ( auto& handle : handles )
        {
            handle.Resize( kRequest );
            Fill( handle, 5 );
        }
    }

    TestManager manager;
    std::vector<XMappedFileMemoryHandle> handles;
    XTimer timer;
};

std::uint32_t LockOnce( XMemoryHandle& ioHandle )
{
    return ErrorOrZero( [&] { const XLock lock( ioHandle, kLockForRead ); } );
}

/// Says, as a listener, when a thread has looked for room in vain.
struct SearchedInVain
{
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

// The last to lock it was the thread that now waits, which has unlocked it: the other will too.
TEST( XRoomWaitersTest, WaitForTheOtherOfTwoThatShareABlock )
{
    constexpr std::uint32_t kTimeToBeRefused = 50;
    Room room( 1, 2 );
    WEvent isLocked, isOver;
    RunTogether(
        [&]
        {
            const XLock lock( room.handles[0], kLockForRead );
            isLocked.Set();
            EXPECT_EQ( kWaitTimedOut, isOver.Wait( kTimeToBeRefused ) );
        },
        [&]
        {
            isLocked.Wait();
            EXPECT_EQ( 0u, LockOnce( room.handles[0] ) );
            EXPECT_EQ( 0u, LockOnce( room.handles[1] ) );
            isOver.Set();
        } );
    EXPECT_LT( room.timer.GetElapsedSeconds(), kPatience / 1000 / 2 );
}

TEST( XRoomWaitersTest, OneOfTwoThatWaitForEachOtherIsRefused )
{
    Room room( 2, 4 );
    std::atomic<int> holding = 0;
    std::atomic<int> refused = 0;
    RunOnThreads(
        2,
        [&]( unsigned inThread )
        {
            const XLock lock( room.handles[2 * inThread], kLockForRead );
            for ( ++holding; holding < 2; )
                std::this_thread::yield();
            refused += LockOnce( room.handles[2 * inThread + 1] ) == 1012;
        } );
    EXPECT_EQ( 1, refused );
    EXPECT_LT( room.timer.GetElapsedSeconds(), kPatience / 1000 / 2 );
}

// Blocks in memory, which need the old and the new size at once where views cannot be resized, and in the temporary file.
TEST( XRoomWaitersTest, ThreadsThatGrowBlocksWithoutRoomAreRefusedAtOnce )
{
    for ( const bool canResizeViews : { true, false } )
        for ( const bool isPurged : { true, false } )
        {
            Room room( 3, 3 );
            room.manager.canResizeViews = canResizeViews;
            for ( auto& handle : room.handles )
                if ( isPurged )
                    handle.Purge();
            RunOnThreads(
                3,
                [&]( unsigned inThread )
                {
                    for ( unsigned turn = 0; turn < 10; ++turn )
                    {
                        XMemoryHandle& handle = room.handles[inThread];
                        const std::uint32_t error = ErrorOrZero( [&] { handle.Resize( 3 * kRequest ); } );
                        EXPECT_TRUE( error == 0 || error == 1012 ) << error;
                        handle.Resize( kRequest );
                    }
                } );
            for ( auto& handle : room.handles )
                EXPECT_TRUE( Holds( handle, 5 ) );
            EXPECT_LT( room.timer.GetElapsedSeconds(), kPatience / 1000 / 2 );
        }
}

TEST( XRoomWaitersTest, GiveUpOnLocksThatStay )
{
    Room room( 1, 2, 30 );
    {
        const XLock lock( room.handles[0], kLockForRead );
        EXPECT_EQ( 1012u, LockOnce( room.handles[1] ) ); // this thread's own
        RunTogether( [&] { EXPECT_EQ( 1012u, LockOnce( room.handles[1] ) ); } );
    }
    EXPECT_EQ( 0u, LockOnce( room.handles[1] ) );
}

// Others may need the memory mutex to decide whether to wait, or have the listeners' mutex.
TEST( XRoomWaitersTest, WhoHoldsTheMemoryMutexIsRefusedAtOnce )
{
    Room room( 1, 2 );
    const std::thread::id tester = std::this_thread::get_id();
    Halt halt;
    TestListener listener(
        [&]( USize64 )
        {
            EXPECT_NE( tester, std::this_thread::get_id() );
            halt.Stop();
            return USize64( 0 );
        } );
    auto lock = std::make_unique<XLock>( room.handles[0], kLockForRead );
    std::thread waiter( [&] { EXPECT_EQ( 0u, LockOnce( room.handles[1] ) ); } );
    halt.AwaitStop();
    {
        const XThreadLock memoryLock( room.manager.GetMemoryMutex() );
        halt.GoOn();
        for ( int turn = 0; turn < 1000; ++turn ) // the other gets to its decision meanwhile
            EXPECT_ERROR( 1012, room.manager.AboutToAllocate( kRequest ) );
    }
    lock.reset();
    waiter.join();
}

TEST( XRoomWaitersTest, AStopEndsTheWait )
{
    Room room( 1, 2 );
    SearchedInVain search;
    const XLock lock( room.handles[0], kLockForRead );
    TestThread thread( [&] { return static_cast<std::int32_t>( LockOnce( room.handles[1] ) ); } );
    thread.StartThread();
    search.Wait();
    thread.StopThread();
    EXPECT_LT( room.timer.GetElapsedSeconds(), kPatience / 1000 / 2 );
    EXPECT_EQ( 0, room.handles[1].GetBlock()->GetLockCount() );
}

// Each thread needs one block at a time and there is room for three, which several of them share: nobody may be refused,
// however it comes.
TEST( XRoomWaitersTest, NobodyIsRefusedWhoOnlyHasToWaitForItsTurn )
{
    for ( int storm = 0; storm < 10; ++storm )
    {
        Room room( 3, 5 );
        RunOnThreads(
            8,
            [&]( unsigned inThread )
            {
                for ( unsigned turn = 0; turn < 60; ++turn )
                {
                    if ( turn % 8 == inThread ) // what goes makes room too
                        Fill( *std::make_unique<XMappedFileMemoryHandle>( kRequest ), 1 );
                    auto& handle = room.handles[( inThread + turn * 3 ) % room.handles.size()];
                    const XLock lock( handle, kLockForRead );
                    EXPECT_TRUE( turn % 4 > 0 || Holds( handle, 5 ) );
                    for ( unsigned i = 0; i < ( inThread + turn ) % 7; ++i )
                        std::this_thread::yield();
                }
            } );
        EXPECT_LE( room.manager.GetPeakBytesInUse(), 3 * kRequest );
    }
}

// The purge is held up where it makes its file; neither other blocks nor the list may be held up with it.
TEST( XRoomWaitersTest, NoLockWaitsForThePurgeOfAnotherBlock )
{
    TestManager manager( 3 * kRequest );
    Halt halt;
    manager.makeTemporaryFile = [&]
    {
        halt.Stop();
        return manager.WMemoryManager::MakeTemporaryFile();
    };
    XMappedFileMemoryHandle purged( kRequest );
    XMappedFileMemoryHandle other( kRequest );
    Fill( purged, 1 );
    RunTogether(
        [&] { EXPECT_EQ( kRequest, manager.FreeMemory( kRequest, XMemoryManager::kFreeWithoutLogEntry ) ); },
        [&]
        {
            halt.AwaitStop();
            Fill( other, 2 );
            EXPECT_EQ( 2u, manager.GetPurgeableBlockCount() );
            halt.GoOn();
        } );
    EXPECT_TRUE( Holds( purged, 1 ) );
    EXPECT_TRUE( Holds( other, 2 ) );
}

// A block that is given up while the manager purges it waits until that is over.
TEST( XRoomWaitersTest, ABlockMayGoWhileItIsPurged )
{
    TestManager manager( 3 * kRequest );
    WEvent isPurging;
    manager.makeTemporaryFile = [&]
    {
        isPurging.Set();
        return manager.WMemoryManager::MakeTemporaryFile();
    };
    for ( int turn = 0; turn < 20; ++turn )
    {
        isPurging.Clear();
        auto handle = std::make_unique<XMappedFileMemoryHandle>( kRequest );
        Fill( *handle, 1 );
        RunTogether(
            [&] { manager.FreeMemory( kRequest, XMemoryManager::kFreeWithoutLogEntry ); },
            [&]
            {
                isPurging.Wait();
                handle.reset();
            } );
    }
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
    EXPECT_EQ( 0u, manager.GetPurgeableBlockCount() );
}
