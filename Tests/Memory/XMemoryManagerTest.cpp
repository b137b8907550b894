#include "Memory/TestManager.h"
#include "Memory/XAlignedMemoryHandle.h"
#include "Services/XSessionLogManager.h"
#include "TestFolder.h"
#include "Threads/TestThread.h"

namespace
{

std::vector<XMappedFileMemoryHandle> MakeFilled( unsigned inCount, USize64 inSize = kMiB )
{
    std::vector<XMappedFileMemoryHandle> handles;
    for ( unsigned i = 0; i < inCount; ++i )
    {
        handles.emplace_back( inSize );
        Fill( handles.back(), i );
    }
    return handles;
}

bool IsInMemory( const XMemoryHandle& inHandle )
{
    return inHandle.GetBlock()->GetFlags() & XMemoryBlock::kInMemory;
}
} // namespace

TEST( XMemoryManagerTest, AsksListenersForWhatBlocksDoNotFree )
{
    const TestFolder folder;
    {
        XSessionLogManager::XOptions options;
        options.path = folder / "log";
        const XSessionLogManager log( options );
        TestManager manager;
        TestListener throwing( []( USize64 ) -> USize64 { throw XException( 1005 ); } );
        TestListener half( []( USize64 inBytes ) { return inBytes / 2; } );
        TestListener rest( []( USize64 inBytes ) { return inBytes; } );
        TestListener unneeded( []( USize64 inBytes ) { return inBytes; } );
        EXPECT_EQ( 1000u, manager.FreeMemory( 1000, 0 ) );
        EXPECT_EQ( std::vector<USize64>{ 1000 }, throwing.wanted );
        EXPECT_EQ( std::vector<USize64>{ 1000 }, half.wanted );
        EXPECT_EQ( std::vector<USize64>{ 500 }, rest.wanted );
        EXPECT_TRUE( unneeded.wanted.empty() );
        manager.FreeMemory( 10, XMemoryManager::kFreeWithoutLogEntry );
        EXPECT_EQ( 2u, manager.GetFreeCount() );
    }
    const std::string text = folder.Read( "log" );
    const auto entry = text.find( "Memory low - freeing memory to make space" );
    EXPECT_NE( std::string::npos, entry );
    EXPECT_EQ( std::string::npos, text.find( "Memory low", entry + 1 ) );
}

TEST( XMemoryManagerTest, KeepsBlocksInsideTheBudgetByPurgingTheOldest )
{
    TestManager manager( 4 * kMiB );
    auto handles = MakeFilled( 4 );
    EXPECT_TRUE( Holds( handles[0], 0 ) ); // now the youngest
    handles.emplace_back( kMiB );
    Fill( handles.back(), 4 );
    EXPECT_FALSE( IsInMemory( handles[1] ) );
    EXPECT_TRUE( IsInMemory( handles[0] ) );
    EXPECT_EQ( 4 * kMiB, manager.GetBytesInUse() );
    EXPECT_EQ( 4 * kMiB, manager.GetPeakBytesInUse() );
    for ( unsigned i = 0; i < 5; ++i )
        EXPECT_TRUE( Holds( handles[i], i ) );
    const auto figures = manager.GetFigures();
    EXPECT_EQ( 4u, figures.purgeableBlocks );
    EXPECT_EQ( figures.reloads + 1, figures.purges );
    EXPECT_EQ( figures.purges * kMiB, figures.purgedBytes );
    handles.clear();
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
}

TEST( XMemoryManagerTest, RefusesWhatDoesNotFitAndLosesNothing )
{
    TestManager manager( 4 * kMiB );
    auto handles = MakeFilled( 3 );
    EXPECT_ERROR( 1012, XMemoryHandle handle( 5 * kMiB ) );
    EXPECT_EQ( 0u, manager.GetPurgeCount() ); // in vain
    {
        const XLock first( handles[0], kLockForRead );
        const XLock second( handles[1], kLockForRead );
        EXPECT_EQ( 2 * kMiB, manager.GetMaxBlockSize( 10 * kMiB ) );
        EXPECT_EQ( kMiB, manager.GetMaxBlockSize( kMiB ) );
        EXPECT_ERROR( 1012, XMemoryHandle handle( 3 * kMiB ) );
        XMemoryHandle fits( 2 * kMiB );
        XMappedFileMemoryHandle purged( handles[2] );
        EXPECT_ERROR( 1012, const XLock lock( purged, kLockForRead ) );
        EXPECT_EQ( 0, purged.GetBlock()->GetLockCount() );
    }
    for ( unsigned i = 0; i < 3; ++i )
        EXPECT_TRUE( Holds( handles[i], i ) );
    EXPECT_EQ( 3 * kMiB, manager.GetBytesInUse() );
}

// What a listener may do while it is asked.
TEST( XMemoryManagerTest, ListenersMayChangeTheListAndNeedMemory )
{
    TestManager manager( 4 * kMiB );
    std::unique_ptr<TestListener> added;
    std::unique_ptr<TestListener> removed;
    TestListener remover(
        [&]( USize64 )
        {
            removed.reset();
            if ( !added )
                added = std::make_unique<TestListener>( []( USize64 ) { return USize64( 0 ); } );
            EXPECT_ERROR( 1012, XMemoryHandle tooLarge( 4 * kMiB ) ); // asks nobody again
            return USize64( 0 );
        } );
    removed = std::make_unique<TestListener>( []( USize64 inBytes ) { return inBytes; } );
    TestListener last( []( USize64 inBytes ) { return inBytes; } );
    const XMemoryHandle fixed( kMiB );
    EXPECT_EQ( 100u, manager.FreeMemory( 100, XMemoryManager::kFreeWithoutLogEntry ) );
    EXPECT_EQ( 1u, remover.wanted.size() );
    EXPECT_EQ( 1u, last.wanted.size() );
    EXPECT_TRUE( added->wanted.empty() );
    manager.FreeMemory( 100, XMemoryManager::kFreeWithoutLogEntry );
    EXPECT_TRUE( added->wanted.empty() ); // since the one before it was content
    EXPECT_EQ( 2u, last.wanted.size() );
    EXPECT_ERROR( 1012, XMemoryHandle tooLarge( 4 * kMiB ) ); // though one claims to have freed that
}

// A listener is asked in the middle of the lock, the change or the copy that needs room.
TEST( XMemoryManagerTest, AListenerCannotTakeTheBlockThatRoomIsMadeFor )
{
    TestManager manager( 2 * kMiB );
    XMappedFileMemoryHandle wanted( kMiB );
    auto fixed = std::make_unique<XMemoryHandle>( 2 * kMiB );
    TestListener listener(
        [&]( USize64 )
        {
            EXPECT_ERROR( 1006, wanted.Empty() );
            EXPECT_ERROR( 1006, wanted = XMappedFileMemoryHandle( 1 ) );
            fixed.reset();
            return USize64( 0 );
        } );
    const auto occupy = [&] { fixed = std::make_unique<XMemoryHandle>( 2 * kMiB - ( 4 << 10 ) ); };
    Fill( wanted, 1 );
    wanted.Purge();
    occupy();
    EXPECT_TRUE( Holds( wanted, 1 ) );
    wanted.Resize( 10 );
    occupy();
    wanted.Resize( kMiB );
    const XMappedFileMemoryHandle shared( wanted );
    occupy();
    wanted.Clear( 3 );
    EXPECT_EQ( 4u, listener.wanted.size() );
    EXPECT_EQ( kMiB, wanted.GetDataSize() );
}

// Neither by a lock of its own.
TEST( XMemoryManagerTest, AListenerCannotLockWhatIsJustBroughtIntoMemory )
{
    TestManager manager( 2 * kMiB );
    XMappedFileMemoryHandle wanted( kMiB );
    auto other = std::make_unique<XMappedFileMemoryHandle>( wanted ); // shares the block
    std::unique_ptr<XMemoryHandle> fixed;
    std::vector<std::uint32_t> errors;
    TestListener listener(
        [&]( USize64 )
        {
            fixed.reset();
            if ( !IsInMemory( *other ) )
                errors.push_back( ErrorOf( [&] { const XLock lock( *other, kLockForRead ); } ) );
            errors.push_back( ErrorOf( [&] { Fill( wanted, 2 ); } ) );
            other.reset();
            return USize64( 0 );
        } );
    const auto occupy = [&]
    { fixed = std::make_unique<XMemoryHandle>( 2 * kMiB - manager.GetBytesInUse() ); };
    Fill( *other, 1 );
    wanted = *other;
    wanted.Purge();
    occupy();
    EXPECT_TRUE( Holds( wanted, 1 ) );
    EXPECT_EQ( ( std::vector<std::uint32_t>{ 1006, 1006 } ), errors );
    EXPECT_EQ( kMiB, manager.GetBytesInUse() );
    // The block itself is in memory, and is to be copied.
    other = std::make_unique<XMappedFileMemoryHandle>( wanted );
    const XLock lock( wanted, kLockForRead );
    occupy();
    errors.clear();
    Fill( wanted, 3 );
    EXPECT_EQ( std::vector<std::uint32_t>{ 1006 }, errors );
    EXPECT_TRUE( Holds( wanted, 3 ) );
}

TEST( XMemoryManagerTest, APurgeByAListenerWaitsForNoLock )
{
    TestManager manager( 4 * kMiB );
    XMemoryHandle handle( kMiB );
    Halt halt;
    TestListener listener(
        [&]( USize64 )
        {
            halt.Stop();
            handle.Purge();
            return USize64( 0 );
        } );
    RunTogether(
        [&] { manager.FreeMemory( kMiB, XMemoryManager::kFreeWithoutLogEntry ); },
        [&]
        {
            halt.AwaitStop();
            const XThreadLock lock( handle.GetMutex() );
            halt.GoOn();
            handle.Resize( 2 * kMiB ); // needs the mutex under which listeners are asked
        } );
    EXPECT_EQ( 2 * kMiB, handle.GetDataSize() );
}

// Blocks that are found locked come back into the order of their last lock.
TEST( XMemoryManagerTest, PurgesInTheOrderOfTheLastLockWhateverWasLockedMeanwhile )
{
    TestManager manager( 4 * kMiB );
    auto handles = MakeFilled( 4 );
    handles.reserve( 10 );
    {
        const XLock first( handles[0], kLockForRead );
        const XLock second( handles[2], kLockForRead );
        handles.emplace_back( 2 * kMiB );
        Fill( handles.back(), 4 ); // in the place of 1 and 3
    }
    EXPECT_TRUE( IsInMemory( handles[0] ) && IsInMemory( handles[2] ) && IsInMemory( handles[4] ) );
    EXPECT_TRUE( Holds( handles[0], 0 ) );
    for ( const unsigned purged : { 2u, 4u } )
    {
        EXPECT_TRUE( IsInMemory( handles[purged] ) );
        handles.emplace_back( purged == 2 ? kMiB : 2 * kMiB );
        Fill( handles.back(), 5 );
        EXPECT_FALSE( IsInMemory( handles[purged] ) );
    }
    EXPECT_TRUE( IsInMemory( handles[0] ) );
}

TEST( XMemoryManagerTest, FreesOnceAndTriesAgainWhenTheHeapRefuses )
{
    TestManager manager;
    auto handles = MakeFilled( 1 );
    manager.refusedHeap = 1;
    XMemoryHandle handle( kMiB );
    EXPECT_EQ( 1u, manager.GetFreeCount() );
    EXPECT_FALSE( IsInMemory( handles[0] ) );
    manager.refusedHeap = 2;
    EXPECT_ERROR( 1012, handle.Resize( 2 * kMiB ) );
    EXPECT_EQ( kMiB, handle.GetDataSize() );
    EXPECT_EQ( kMiB, manager.GetBytesInUse() );
    EXPECT_TRUE( Holds( handles[0], 0 ) );
}

TEST( XMemoryManagerTest, GivesWholePages )
{
    TestManager manager( 4 * kMiB );
    const std::uint64_t page = XMemoryManager::AlignSizeToPageSize( 1 );
    auto* memory = static_cast<char*>( manager.PageAlignedAlloc( 0 ) );
    EXPECT_EQ( 0u, reinterpret_cast<std::uint64_t>( memory ) % page );
    EXPECT_EQ( 0u, manager.PageAlignedGetSize( memory ) );
    memory[0] = 'x';
    memory = static_cast<char*>( manager.PageAlignedRealloc( memory, kMiB + 1 ) );
    EXPECT_EQ( 'x', memory[0] );
    EXPECT_EQ( 0, memory[kMiB] );
    EXPECT_EQ( kMiB + 1, manager.PageAlignedGetSize( memory ) );
    EXPECT_EQ( kMiB + page, manager.GetBytesInUse() );
    EXPECT_ERROR( 1012, manager.PageAlignedRealloc( memory, 5 * kMiB ) );
    EXPECT_ERROR( 1012, manager.PageAlignedAlloc( ~USize64( 0 ) ) );
    EXPECT_EQ( 'x', memory[0] );
    memory = static_cast<char*>( manager.PageAlignedRealloc( memory, page ) );
    EXPECT_EQ( page, manager.GetBytesInUse() );
    manager.PageAlignedFree( memory );
    manager.PageAlignedFree( nullptr );
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
    EXPECT_ERROR( 1006, manager.PageAlignedGetSize( memory ) );
}

// What one thread gives back is another's at once.
TEST( XMemoryManagerTest, ResizesWholePagesOnSeveralThreads )
{
    TestManager manager;
    const auto work = [&]
    {
        void* memory = nullptr;
        for ( USize64 turn = 1; turn < 400; ++turn )
        {
            const USize64 size = 1 + turn * 7919 % 50 * 4096;
            memory = manager.PageAlignedRealloc( memory, size );
            static_cast<char*>( memory )[size - 1] = 'x';
            EXPECT_EQ( size, manager.PageAlignedGetSize( memory ) );
            if ( turn % 8 == 0 )
                manager.PageAlignedFree( std::exchange( memory, nullptr ) );
        }
        manager.PageAlignedFree( memory );
    };
    RunTogether( work, work, work, work );
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
}

TEST( XMemoryManagerTest, TestsItselfUntilItPurgesOrRunsOut )
{
    TestManager manager( 4 * kMiB );
    EXPECT_ERROR( 1006, manager.TestOutOfMemory( 0 ) );
    manager.TestOutOfMemory( kMiB );
    EXPECT_EQ( 1u, manager.GetPurgeCount() );
    manager.refusedMappings = 1;
    TestManager second( 4 * kMiB );
    second.refusedMappings = 3;
    second.TestOutOfMemory( kMiB );
    EXPECT_EQ( 0u, second.GetPurgeCount() );
    EXPECT_EQ( 0u, second.GetBytesInUse() );
}

// What lies where is up to the system here, so of what is freed beyond the oldest block only the books are checked.
TEST( XMemoryManagerTest, FreesOnTheRealAddressSpace )
{
    TestManager manager;
    auto handles = MakeFilled( 8 );
    EXPECT_EQ( kMiB, manager.FreeMemory( kMiB, XMemoryManager::kFreeWithoutLogEntry ) );
    EXPECT_FALSE( IsInMemory( handles[0] ) );
    const USize64 freed = manager.FreeMemory( 8 * kMiB, XMemoryManager::kFreeWithoutLogEntry );
    EXPECT_EQ( ( manager.GetPurgeCount() - 1 ) * kMiB, freed );
    for ( unsigned i = 0; i < 8; ++i )
        EXPECT_TRUE( Holds( handles[i], i ) );
    EXPECT_EQ( 8u, manager.GetPurgeableBlockCount() );
    EXPECT_EQ( kMiB, manager.GetLargestPurgeableBlockSize() );
    EXPECT_GT( manager.GetAddressSpaceInUse(), 8 * kMiB );
    EXPECT_LT( manager.GetAddressSpaceInUse(), manager.GetAddressSpaceSize() );
    EXPECT_GE( handles[0].GetBlock()->GetAddressSpaceMetric(), kMiB );
    const std::string status = manager.GetDebugStatus().GetConstCharPtr();
    EXPECT_CONTAINS( status, "purgeable blocks: 8\n" );
    EXPECT_CONTAINS( status, "Mapped Block, bytes: 8388608\n" );
}

TEST( XMemoryManagerTest, DrawsTheAddressSpace )
{
    TestManager manager;
    manager.LayOut( { { 0x100000, 0x100000 }, { 0x380000, 0x80000 }, { 0x400000, 0x100000 } } );
    XMemoryHandle image;
    manager.MakeHeapImage( image, 4 );
    const XLock lock( image, kLockForRead );
    EXPECT_EQ( 255, image[0] );
    EXPECT_EQ( 0, image[1] );
    EXPECT_EQ( 127, image[2] );
    EXPECT_EQ( 255, image[3] );
}
