#include "Memory/XMappedFileMemoryBlock.h"

#include "Memory/TestManager.h"
#include "TestFolder.h"
#include "Threads/TestThread.h"

namespace
{

using Block = XMappedFileMemoryBlock;

constexpr USize64 kSize = 200'000;

Block& BlockOf( const XMemoryHandle& inHandle )
{
    return dynamic_cast<Block&>( *inHandle.GetBlock() );
}

std::string TextOfStart( const XMemoryHandle& inHandle, USize64 inCount = 5 )
{
    std::string text( inCount, '?' );
    inHandle.CopyDataTo( text.data(), text.size() );
    return text;
}

/// A file of 'a's around "hello" at byte 70'000.
std::filesystem::path MakeFile( const TestFolder& inFolder, USize64 inSize = kSize )
{
    std::string contents( inSize, 'a' );
    contents.replace( 70'000, 5, "hello" );
    return inFolder.Write( "data", contents );
}

XMappedFileMemoryHandle
Present( const std::filesystem::path& inPath, Block::XChangeMode inMode, std::uint64_t inOffset = 70'000 )
{
    const auto fileMode = inMode == Block::kPublic ? WFile::kReadWrite : WFile::kRead;
    return XMappedFileMemoryHandle( inPath, inOffset, kSize - inOffset, fileMode, 0, inMode );
}

} // namespace

TEST( XMappedFileMemoryBlockTest, FreshMemoryGoesFromThePageFileToATemporaryFile )
{
    TestManager manager;
    XMappedFileMemoryHandle handle( kSize );
    Block& block = BlockOf( handle );
    EXPECT_EQ( Block::kUnallocated, block.GetStorageState() );
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
    EXPECT_TRUE( block.IsEmpty() );
    EXPECT_EQ( std::string( 5, '\0' ), TextOfStart( handle ) );
    EXPECT_EQ( Block::kPageFile, block.GetStorageState() );
    EXPECT_EQ( Block::kInMemory | Block::kPurgeable, block.GetFlags() );
    EXPECT_FALSE( block.IsEmpty() );
    Fill( handle, 1 );
    for ( unsigned turn = 1; turn < 4; ++turn ) // from the second on there is nothing to copy
    {
        block.Purge();
        EXPECT_EQ( Block::kTemporaryFile, block.GetStorageState() );
        EXPECT_EQ( Block::kOnDisk, block.GetFlags() );
        EXPECT_EQ( 0u, manager.GetBytesInUse() );
        EXPECT_EQ( 0u, manager.GetPurgeableBlockCount() );
        EXPECT_ERROR( 1023, block.Purge() );
        EXPECT_TRUE( Holds( handle, turn ) );
        Fill( handle, turn + 1 );
    }
    handle.Purge();
    handle.Resize( 2 * kSize );
    EXPECT_EQ( Block::kPageFile, block.GetStorageState() );
    handle.Resize( kSize );
    EXPECT_TRUE( Holds( handle, 4 ) );
    EXPECT_ERROR( 1006, Block bad( 1, Block::kPublic ) );
}

TEST( XMappedFileMemoryBlockTest, IsPurgedOnlyWhenNobodyHasItLocked )
{
    TestManager manager;
    XMappedFileMemoryHandle handle( 0 );
    Block& block = BlockOf( handle );
    {
        const XLock first( handle, kLockForRead );
        {
            const XLock second( handle, kLockForRead );
            EXPECT_EQ( XMemoryManager::AlignSizeToPageSize( 1 ), block.GetTrueSize() ); // even of 0 bytes
        }
        EXPECT_ERROR( 1023, block.Purge() );
        handle.Purge();
        EXPECT_EQ( 0u, manager.FreeMemory( 1, XMemoryManager::kFreeWithoutLogEntry ) );
    }
    EXPECT_TRUE( block.CanPurge() );
    Halt halt;
    RunTogether(
        [&]
        {
            const XThreadLock lock( block.GetMutex() );
            halt.Stop();
        },
        [&]
        {
            halt.AwaitStop();
            EXPECT_ERROR( 2701, block.Purge() );
            handle.Purge();
            EXPECT_EQ( 0u, manager.FreeMemory( 1, XMemoryManager::kFreeWithoutLogEntry ) );
            halt.GoOn();
        } );
    handle.Purge();
    EXPECT_FALSE( block.CanPurge() );
}

TEST( XMappedFileMemoryBlockTest, PrivateChangesStayOutOfTheFile )
{
    TestManager manager;
    const TestFolder folder;
    const auto path = MakeFile( folder );
    for ( const auto mode : { Block::kPrivate, Block::kPrivatePages } )
    {
        auto handle = Present( path, mode );
        EXPECT_EQ( "hello", TextOfStart( handle ) );
        EXPECT_EQ( Block::kPermanentFile, BlockOf( handle ).GetStorageState() );
        handle.Purge();
        EXPECT_EQ( 0u, manager.GetBytesInUse() );
        XMappedFileMemoryHandle copy( handle );
        handle.CopyDataFrom( "j", 1 );
        EXPECT_EQ( Block::kPageFile, BlockOf( handle ).GetStorageState() );
        EXPECT_EQ( Block::kPermanentFile, BlockOf( copy ).GetStorageState() );
        handle.Purge();
        EXPECT_EQ( "jello", TextOfStart( handle ) );
        EXPECT_EQ( "hello", TextOfStart( copy ) );
        copy.Resize( 3 );
        EXPECT_EQ( "hel", TextOfStart( copy, 3 ) );
    }
    XMappedFileMemoryHandle small( std::make_shared<WFile>( path, WFile::kRead ), 70'000, 5 );
    small.CopyDataFrom( "s", 1 );
    EXPECT_EQ( Block::kHeap, BlockOf( small ).GetStorageState() );
    EXPECT_EQ( Block::kInMemory, BlockOf( small ).GetFlags() );
    small.Purge();
    EXPECT_EQ( "sello", TextOfStart( small ) );
    EXPECT_EQ( "hello", folder.Read( "data" ).substr( 70'000, 5 ) );
}

TEST( XMappedFileMemoryBlockTest, APrivateCopyLeavesOuterLocksTheirView )
{
    TestManager manager;
    const TestFolder folder;
    auto handle = Present( MakeFile( folder ), Block::kPrivate );
    {
        const XLock outer( handle, kLockForRead );
        const void* view = handle.GetData();
        handle.CopyDataFrom( "inner", 5 );
        EXPECT_EQ( 0, std::memcmp( view, "hello", 5 ) );
        EXPECT_GT( manager.GetBytesInUse(), kSize ); // both
    }
    EXPECT_LT( manager.GetBytesInUse(), kSize );
    EXPECT_EQ( "inner", TextOfStart( handle ) );
}

// What is shared, copied or resized in any state of the locks remains a range of the file.
TEST( XMappedFileMemoryBlockTest, PublicRangesStayInTheirFile )
{
    TestManager manager;
    const TestFolder folder;
    auto handle = Present( MakeFile( folder ), Block::kPublic );
    XMappedFileMemoryHandle copy( handle );
    handle.Resize( kSize );
    EXPECT_EQ( kSize, handle.GetDataSize() );
    EXPECT_EQ( kSize - 70'000, copy.GetDataSize() );
    EXPECT_ERROR( 1013, handle.SetSwapOnLock( kSwap16 ) );
    handle.CloneMemory().CopyDataFrom( "c", 1 );
    handle.CopyDataFrom( "j", 1 );
    handle.CopyDataFrom( "z", 1, kSize - 1 );
    handle.Purge();
    EXPECT_EQ( "jello", TextOfStart( copy ) );
    copy.Resize( 3 );
    copy.CopyDataFrom( "b", 1 );
    EXPECT_EQ( "bello", TextOfStart( handle ) );
    {
        const XLock lock( handle, kLockForWrite );
        copy = handle;
        XMappedFileMemoryHandle late( handle );
        late.CopyDataFrom( "c", 1 );
        std::memcpy( static_cast<char*>( handle.GetData() ) + 1, "u", 1 );
    }
    EXPECT_EQ( "cullo", TextOfStart( copy ) );
    const std::string contents = folder.Read( "data" );
    EXPECT_EQ( "cullo", contents.substr( 70'000, 5 ) );
    EXPECT_EQ( 'z', contents.back() );
    EXPECT_EQ( 70'000 + kSize, contents.size() );
}

// Of memory, of a temporary file in memory and on the disk, and of a file, which has the bytes again when it grows.
TEST( XMappedFileMemoryBlockTest, ShrinksWithoutMemory )
{
    for ( const bool canResizeViews : { true, false } )
    {
        TestManager manager;
        manager.canResizeViews = canResizeViews;
        const TestFolder folder;
        std::vector<XMappedFileMemoryHandle> handles( 3 );
        for ( auto& handle : handles )
        {
            handle.Resize( kSize );
            Fill( handle, 5 );
        }
        handles[1].GetBlock()->Purge();
        handles[2].GetBlock()->Purge();
        EXPECT_TRUE( Holds( handles[1], 5 ) );
        handles.push_back( Present( MakeFile( folder ), Block::kPublic, 0 ) );
        Fill( handles[3], 5 );
        manager.refusedMappings = manager.refusedViews = 100;
        for ( auto& handle : handles )
            for ( const USize64 size : { kSize / 2, kSize / 2 - 1, USize64( 10 ) } )
                handle.Resize( size );
        manager.refusedMappings = manager.refusedViews = 0;
        for ( auto& handle : handles )
        {
            EXPECT_EQ( 10u, handle.GetDataSize() );
            EXPECT_TRUE( Holds( handle, 5 ) );
            handle.Resize( 2 * kSize );
            const bool isFile = &handle == &handles[3];
            const XLock lock( handle, kLockForRead );
            EXPECT_EQ( isFile ? 10 + 5 : 0, handle[10] );
            EXPECT_EQ( 0, handle[kSize] );
        }
    }
}

TEST( XMappedFileMemoryBlockTest, SwapsBytesOfAFileWithoutChangingIt )
{
    TestManager manager;
    const TestFolder folder;
    const auto path = MakeFile( folder );
    auto pages = Present( path, Block::kPrivatePages );
    auto copied = Present( path, Block::kPrivate );
    for ( auto* handle : { &pages, &copied } )
    {
        handle->SetSwapOnLock( kSwap16 );
        EXPECT_EQ( "ehll", TextOfStart( *handle, 4 ) );
        EXPECT_EQ( "ehll", TextOfStart( *handle, 4 ) );
        handle->Purge();
        EXPECT_EQ( "ehll", TextOfStart( *handle, 4 ) );
    }
    EXPECT_EQ( Block::kPermanentFile, BlockOf( pages ).GetStorageState() );
    EXPECT_EQ( Block::kTemporaryFile, BlockOf( copied ).GetStorageState() );
    pages.CopyDataFrom( "E", 1 );
    pages.Purge();
    EXPECT_EQ( "Ehll", TextOfStart( pages, 4 ) );
    EXPECT_EQ( "hello", folder.Read( "data" ).substr( 70'000, 5 ) );
}

TEST( XMappedFileMemoryBlockTest, OpensItsFileWhenItIsAskedTo )
{
    TestManager manager;
    const TestFolder folder;
    const auto path = folder / "data";
    EXPECT_ERROR( 2, XMappedFileMemoryHandle handle( path, 0, 5 ) );
    XMappedFileMemoryHandle late( path, 70'000, 5, WFile::kRead, Block::kOpenWhenLocked );
    XMappedFileMemoryHandle copy( late );
    EXPECT_ERROR( 2, const XLock lock( late, kLockForRead ) );
    MakeFile( folder );
    EXPECT_EQ( "hello", TextOfStart( late ) );
    copy.CopyDataFrom( "j", 1 );
    EXPECT_EQ( "jello", TextOfStart( copy ) );
    late = {};
    copy = {};
    EXPECT_ERROR( 1020, XMappedFileMemoryHandle beyond( path, kSize, 1 ) );
    // A resize opens and lengthens.
    for ( const USize64 size : { USize64( 5 ), kSize, 2 * kSize } )
    {
        XMappedFileMemoryHandle beyond(
            path, kSize, kSize, WFile::kReadWrite, Block::kOpenWhenLocked, Block::kPublic );
        EXPECT_ERROR( 1020, const XLock lock( beyond, kLockForRead ) );
        beyond.Resize( size );
        EXPECT_EQ( std::string( 5, '\0' ), TextOfStart( beyond ) );
        EXPECT_EQ( kSize + size, std::filesystem::file_size( path ) );
        beyond = {};
        std::filesystem::resize_file( path, kSize );
    }
    EXPECT_ERROR( 1006, Block::PermanentFileChangeModeToProtection( Block::XChangeMode( 3 ) ) );
}

TEST( XMappedFileMemoryBlockTest, SharesAMapping )
{
    TestManager manager;
    const TestFolder folder;
    const auto handle = Present( MakeFile( folder ), Block::kPrivate );
    auto block = std::make_unique<Block>( 1, Block::kPrivatePages );
    block->ShareMapping( BlockOf( handle ) );
    EXPECT_ERROR( 1006, block->ShareMapping( BlockOf( handle ) ) );
    XMemoryHandle sharing( std::move( block ) );
    EXPECT_EQ( "hello", TextOfStart( sharing ) );
    EXPECT_EQ( kSize - 70'000, sharing.GetDataSize() );
}

// Each fault is met by a block that has bytes in it, and leaves them as they were.
TEST( XMappedFileMemoryBlockTest, LosesNothingWhenTheSystemRefuses )
{
    TestManager manager;
    XMappedFileMemoryHandle handle( kSize );
    Fill( handle, 3 );
    Block& block = BlockOf( handle );

    manager.SetTemporaryFolder( "/no/such/folder" );
    EXPECT_NE( 0u, ErrorOf( [&] { block.Purge(); } ) );
    manager.SetTemporaryFolder( {} );
    manager.refusedMappings = 1;
    EXPECT_ERROR( 1020, block.Purge() );
    EXPECT_EQ( Block::kPageFile, block.GetStorageState() );
    manager.refusedMappings = 2; // the page file's is asked for twice, as its view is
    manager.canResizeViews = false;
    EXPECT_ERROR( 1020, handle.Resize( 2 * kSize ) );
    EXPECT_TRUE( Holds( handle, 3 ) );

    block.Purge();
    manager.refusedViews = 1; // the second try, after freeing memory, succeeds
    EXPECT_TRUE( Holds( handle, 3 ) );
    EXPECT_EQ( 2u, manager.GetFreeCount() );
    block.Purge();
    manager.refusedViews = 2;
    EXPECT_ERROR( 1020, const XLock lock( handle, kLockForRead ) );
    EXPECT_EQ( 0, block.GetLockCount() );
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
    EXPECT_TRUE( Holds( handle, 3 ) );

    XMappedFileMemoryHandle fresh( kSize );
    manager.refusedMappings = 2;
    EXPECT_ERROR( 1020, const XLock lock( fresh, kLockForRead ) );
    EXPECT_EQ( std::string( 5, '\0' ), TextOfStart( fresh ) );

    manager.refusedViews = 1;
    handle.Resize( kSize + 1 ); // from the temporary file, where the try before has moved it
    handle.Resize( kSize );
    EXPECT_TRUE( Holds( handle, 3 ) );
}

TEST( XMappedFileMemoryBlockTest, MemoryThatIsUsedAgainIsZeroAndStaysInTheBudget )
{
    TestManager manager( 64 << 20 );
    const auto fillAndDrop = []( unsigned inCount )
    {
        std::vector<XMappedFileMemoryHandle> handles;
        for ( unsigned i = 0; i < inCount; ++i )
            Fill( handles.emplace_back( kMiB ), 1 );
    };
    fillAndDrop( 8 ); // a sixteenth of the budget is kept
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
    EXPECT_EQ( 8 * kMiB, manager.GetPeakBytesInUse() );
    manager.refusedMappings = 10;
    {
        XMappedFileMemoryHandle again( kMiB );
        EXPECT_EQ( std::string( kMiB, '\0' ), TextOfStart( again, kMiB ) );
        EXPECT_EQ( kMiB, manager.GetBytesInUse() );
        again.Resize( 10 );
        again.Resize( kMiB );
        EXPECT_EQ( std::string( kMiB, '\0' ), TextOfStart( again, kMiB ) );
        XMappedFileMemoryHandle other( kMiB - 1 );
        EXPECT_ERROR( 1020, TextOfStart( other ) ); // which has given back what was kept
    }
    manager.refusedMappings = 0;
    // It is the first to go where there is no room.
    fillAndDrop( 4 );
    XMemoryHandle most( 61 * kMiB );
    EXPECT_EQ( 61 * kMiB, manager.GetBytesInUse() );
    XMappedFileMemoryHandle rest( 3 * kMiB );
    EXPECT_TRUE( ( Fill( rest, 1 ), Holds( rest, 1 ) ) );
    EXPECT_EQ( 0u, manager.GetPurgeCount() );
}

TEST( XMappedFileMemoryBlockTest, GivesBackWhatIsKeptForASmallerBudgetAndWhenMemoryIsLow )
{
    TestManager manager( 64 << 20 );
    {
        std::vector<XMappedFileMemoryHandle> handles;
        for ( unsigned i = 0; i < 4; ++i )
            Fill( handles.emplace_back( kMiB ), 1 );
    }
    manager.SetBudget( 16 << 20 ); // a sixteenth is one block
    manager.refusedMappings = 10;
    XMappedFileMemoryHandle first( kMiB );
    TextOfStart( first );
    XMappedFileMemoryHandle second( kMiB );
    EXPECT_ERROR( 1020, TextOfStart( second ) );

    manager.refusedMappings = 0;
    std::optional<XMappedFileMemoryHandle> given( kMiB );
    std::optional<XLock> lock( std::in_place, *given, kLockForRead );
    const TestListener listener(
        [&]( USize64 )
        {
            lock.reset();
            given.reset();
            return kMiB;
        } );
    manager.FreeMemory( 2 * kMiB );
    EXPECT_FALSE( given );
    manager.refusedMappings = 10;
    EXPECT_ERROR( 1020, TextOfStart( second ) );
}

TEST( XMappedFileMemoryBlockTest, MemoryThatCannotBeHadIsForgottenByAResize )
{
    TestManager manager;
    XMappedFileMemoryHandle handle( USize64( 1 ) << 60 );
    EXPECT_ERROR( 1012, TextOfStart( handle ) );
    handle.Resize( 10 );
    EXPECT_EQ( std::string( 10, '\0' ), TextOfStart( handle, 10 ) );
}

TEST( XMappedFileMemoryBlockTest, AFileThatIsTooShortIsNotForWantOfMemory )
{
    TestManager manager;
    const TestFolder folder;
    const auto path = MakeFile( folder );
    auto beyond = Present( path, Block::kPrivate );
    std::error_code error;
    std::filesystem::resize_file( path, 70'000, error );
    if ( error )
        GTEST_SKIP() << "files in use cannot be cut off here";
    EXPECT_ERROR( 1020, TextOfStart( beyond ) );
    EXPECT_EQ( 0u, manager.GetFreeCount() );
}

TEST( XMappedFileMemoryBlockTest, APrivateCopyThatFailsLeavesTheBlockAsItWas )
{
    TestManager manager;
    const TestFolder folder;
    const auto path = MakeFile( folder );
    auto large = Present( path, Block::kPrivate );
    manager.refusedMappings = 2;
    EXPECT_ERROR( 1020, large.CopyDataFrom( "x", 1 ) );
    {
        // Outer locks of a handle that was to get a block of its own keep theirs.
        const XMappedFileMemoryHandle copy( large );
        const XLock outer( large, kLockForRead );
        manager.refusedViews = 2;
        EXPECT_ERROR( 1020, const XLock inner( large, kLockForWrite ) );
        EXPECT_EQ( copy.GetBlock(), large.GetBlock() );
        EXPECT_EQ( 0, std::memcmp( large.GetData(), "hello", 5 ) );
    }
    XMappedFileMemoryHandle small( path, 70'000, 5 );
    manager.refusedHeap = 2;
    EXPECT_ERROR( 1012, small.CopyDataFrom( "x", 1 ) );
    for ( auto* handle : { &large, &small } )
    {
        EXPECT_EQ( Block::kPermanentFile, BlockOf( *handle ).GetStorageState() );
        EXPECT_EQ( 0, BlockOf( *handle ).GetLockCount() );
        EXPECT_EQ( "hello", TextOfStart( *handle ) );
        handle->CopyDataFrom( "j", 1 );
        EXPECT_EQ( "jello", TextOfStart( *handle ) );
    }
}
