#include "Memory/TestManager.h"
#include "RefusedMemory.h"
#include "TestFolder.h"

// What is left where the heap has no room for the library's own books.

namespace
{

constexpr int kNone = -1;

thread_local int sAllocations = 0; // of this thread
thread_local int sFailing = kNone; // the number of the one that fails

/// The number of the error of an action during which one allocation fails, 0 if it is none.
template<class Action>
std::uint32_t ErrorWithout( int inAllocation, Action inAction )
{
    sAllocations = 0;
    sFailing = inAllocation;
    const std::uint32_t error = ErrorOrZero( inAction );
    sFailing = kNone;
    return error;
}

/// Runs an action on a state of its own for each of its allocations, which fails, and checks what is left. Returns how
/// often the action failed.
template<class State>
int FailEachAllocation( void ( *inAction )( State& ), void ( *inCheck )( State& ) )
{
    int failures = 0;
    for ( int i = 0; i == 0 || sAllocations >= i; ++i )
    {
        SCOPED_TRACE( i );
        State state;
        const std::uint32_t error = ErrorWithout( i, [&] { inAction( state ); } );
        const int allocations = sAllocations;
        EXPECT_TRUE( error == 0 || error == 1012 ) << error;
        failures += error != 0;
        inCheck( state );
        sAllocations = allocations;
    }
    return failures;
}

} // namespace

bool IsMemoryRefused()
{
    return sAllocations++ == sFailing;
}

namespace
{

constexpr USize64 kBlockSize = 20'000;
constexpr USize64 kFileSize = 200'000; // above the heap threshold

struct Memory
{
    Memory()
    {
        for ( auto* filled : { &purged, &inMemory } )
            Fill( *filled, 1 );
        purged.Purge();
    }

    TestManager manager;
    XMappedFileMemoryHandle fresh{ kBlockSize };
    XMappedFileMemoryHandle purged{ kBlockSize };
    XMappedFileMemoryHandle inMemory{ kBlockSize };
};

/// Whatever has failed: what is in memory is on the list and in the books, and all bytes are there.
void CheckMemory( Memory& ioMemory )
{
    TestManager& manager = ioMemory.manager;
    USize64 bytes = 0;
    std::uint32_t blocks = 0;
    for ( auto* handle : { &ioMemory.fresh, &ioMemory.purged, &ioMemory.inMemory } )
    {
        EXPECT_EQ( 0, handle->GetBlock()->GetLockCount() );
        blocks += handle->GetBlock()->GetFlags() & XMemoryBlock::kInMemory;
        bytes += handle->GetBlock()->GetTrueSize();
    }
    EXPECT_EQ( blocks, manager.GetPurgeableBlockCount() );
    EXPECT_EQ( bytes, manager.GetBytesInUse() );
    EXPECT_TRUE( Holds( ioMemory.purged, 1 ) );
    EXPECT_TRUE( Holds( ioMemory.inMemory, 1 ) );
    Fill( ioMemory.fresh, 2 );
    EXPECT_TRUE( Holds( ioMemory.fresh, 2 ) );
    EXPECT_EQ( 3u, manager.GetPurgeableBlockCount() );
}

struct FileRanges
{
    FileRanges()
    {
        folder.Write( "file", std::string( kFileSize, 'a' ) );
        for ( auto* mapped : { &small, &large } )
            *mapped = XMappedFileMemoryHandle(
                folder / "file", 0, mapped == &small ? 10 : kFileSize, WFile::kRead,
                XMappedFileMemoryBlock::kOpenWhenLocked );
    }

    TestManager manager;
    TestFolder folder;
    XMappedFileMemoryHandle small;
    XMappedFileMemoryHandle large;
};

} // namespace

TEST( XMemoryManagerNoMemoryTest, LeavesBlocksAsTheyWere )
{
    const auto lockFresh = []( Memory& ioMemory ) { const XLock lock( ioMemory.fresh, kLockForWrite ); };
    const auto lockPurged = []( Memory& ioMemory ) { const XLock lock( ioMemory.purged, kLockForRead ); };
    const auto purge = []( Memory& ioMemory ) { ioMemory.inMemory.GetBlock()->Purge(); };
    const auto grow = []( Memory& ioMemory ) { ioMemory.purged.GetBlock()->Resize( 2 * kBlockSize ); };
    const auto checkGrown = []( Memory& ioMemory )
    {
        ioMemory.purged.Resize( kBlockSize );
        CheckMemory( ioMemory );
    };
    EXPECT_GT( FailEachAllocation<Memory>( lockFresh, CheckMemory ), 2 );
    FailEachAllocation<Memory>( lockPurged, CheckMemory );
    EXPECT_GT( FailEachAllocation<Memory>( purge, CheckMemory ), 2 );
    EXPECT_GT( FailEachAllocation<Memory>( grow, checkGrown ), 0 );
}

TEST( XMemoryManagerNoMemoryTest, LeavesRangesOfFilesAsTheyWere )
{
    const auto lock = []( FileRanges& ioRanges )
    {
        const XLock small( ioRanges.small, kLockForWrite );
        const XLock large( ioRanges.large, kLockForWrite );
    };
    const auto check = []( FileRanges& ioRanges )
    {
        for ( auto* handle : { &ioRanges.small, &ioRanges.large } )
        {
            const XLock writing( *handle, kLockForWrite );
            EXPECT_EQ( 'a', ( *handle )[9] );
            handle->SetByte( 0, 'b' );
        }
        EXPECT_EQ( 1u, ioRanges.manager.GetPurgeableBlockCount() );
        EXPECT_EQ( std::string( kFileSize, 'a' ), ioRanges.folder.Read( "file" ) );
    };
    EXPECT_GT( FailEachAllocation<FileRanges>( lock, check ), 2 );
}

TEST( XMemoryManagerNoMemoryTest, IsAnErrorOfWholePagesAndAnEndOfTheSelfTest )
{
    const auto use = []( TestManager& ioManager )
    { ioManager.PageAlignedFree( ioManager.PageAlignedAlloc( kBlockSize ) ); };
    const auto check = []( TestManager& ioManager ) { EXPECT_EQ( 0u, ioManager.GetBytesInUse() ); };
    EXPECT_GT( FailEachAllocation<TestManager>( use, check ), 0 );
    for ( int i = 0; i < 40; ++i )
    {
        TestManager manager( 3 * kBlockSize );
        EXPECT_EQ( 0u, ErrorWithout( i, [&] { manager.TestOutOfMemory( kBlockSize ); } ) );
        EXPECT_EQ( 0u, manager.GetBytesInUse() );
    }
}
