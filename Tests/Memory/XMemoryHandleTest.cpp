#include "Memory/XMemoryHandle.h"

#include "Core/Streams/XMemStream.h"
#include "Memory/TestManager.h"
#include "Memory/XAlignedMemoryHandle.h"
#include "Memory/XMallocMemoryBlock.h"
#include "Threads/TestThread.h"
#include "Threads/XDataFetcher.h"

namespace
{

/// The bytes as text.
std::string TextOf( const XMemoryHandle& inHandle )
{
    std::string text( inHandle.GetDataSize(), '?' );
    inHandle.CopyDataTo( text.data(), text.size() );
    return text;
}

void SetText( XMemoryHandle& ioHandle, const std::string& inText )
{
    ioHandle.Resize( inText.size() );
    ioHandle.CopyDataFrom( inText.data(), inText.size() );
}

/// What every kind of handle does alike.
template<class THandle>
struct XMemoryHandleKindsTest : testing::Test
{
    TestManager manager;
    THandle itsHandle{ USize64( 5 ) };
};

using HandleKinds = testing::Types<XMemoryHandle, XAlignedMemoryHandle, XMappedFileMemoryHandle>;
TYPED_TEST_SUITE( XMemoryHandleKindsTest, HandleKinds );

} // namespace

TYPED_TEST( XMemoryHandleKindsTest, CopiesShareTheBlockUntilOneIsWritten )
{
    auto& handle = this->itsHandle;
    SetText( handle, "hello" );
    TypeParam copy( handle );
    EXPECT_EQ( handle.GetBlock(), copy.GetBlock() );
    EXPECT_EQ( 2u, handle.GetBlock()->GetRefCount() );
    {
        const XLock lock( copy, kLockForRead );
        EXPECT_EQ( handle.GetBlock(), copy.GetBlock() );
    }
    copy.CopyDataFrom( "j", 1 );
    EXPECT_EQ( "jello", TextOf( copy ) );
    EXPECT_EQ( "hello", TextOf( handle ) );
    EXPECT_EQ( 1u, handle.GetBlock()->GetRefCount() );
    EXPECT_EQ( typeid( *handle.GetBlock() ), typeid( *copy.GetBlock() ) );
    TypeParam third;
    third = handle;
    handle = copy;
    EXPECT_EQ( "hello", TextOf( third ) );
    EXPECT_EQ( "jello", TextOf( handle ) );
    third.Resize( 3 );
    EXPECT_EQ( "hel", TextOf( third ) );
    EXPECT_TRUE( third.IsDirty() );
}

TYPED_TEST( XMemoryHandleKindsTest, ACopyOfWhatIsBeingWrittenIsItsOwn )
{
    auto& handle = this->itsHandle;
    SetText( handle, "hello" );
    const XLock lock( handle, kLockForWrite );
    const TypeParam copy( handle );
    std::memcpy( handle.GetData(), "write", 5 );
    EXPECT_EQ( "hello", TextOf( copy ) );
}

// A write lock inside a read lock moves the bytes of a shared block; the outer lock still sees them where they were.
TYPED_TEST( XMemoryHandleKindsTest, OuterLocksKeepTheirBytes )
{
    auto& handle = this->itsHandle;
    SetText( handle, "hello" );
    TypeParam copy( handle );
    {
        const XLock outer( handle, kLockForRead );
        const auto* before = static_cast<const char*>( handle.GetData() );
        {
            const XLock inner( handle, kLockForWrite );
            EXPECT_NE( before, handle.GetData() );
            std::memcpy( handle.GetData(), "inner", 5 );
        }
        copy = TypeParam();
        EXPECT_EQ( 0, std::memcmp( before, "hello", 5 ) );
    }
    EXPECT_EQ( "inner", TextOf( handle ) );
    EXPECT_EQ( 0, handle.GetBlock()->GetLockCount() );
    EXPECT_LE( this->manager.GetBytesInUse(), handle.GetBlock()->GetTrueSize() ); // of one block
}

TYPED_TEST( XMemoryHandleKindsTest, ResizesKeepingBytes )
{
    auto& handle = this->itsHandle;
    Fill( handle, 1 );
    for ( const USize64 size : { 100'000, 3, 0, 70'000 } )
    {
        handle.Resize( size );
        EXPECT_EQ( size, handle.GetDataSize() );
    }
    Fill( handle, 2 );
    handle.Resize( 200'000 );
    handle.Resize( 60'000 );
    EXPECT_TRUE( Holds( handle, 2 ) );
    handle.Empty();
    EXPECT_EQ( 0u, handle.GetDataSize() );
    const XLock lock( handle, kLockForRead );
    EXPECT_ERROR( 1006, handle.Resize( 1 ) );
}

TYPED_TEST( XMemoryHandleKindsTest, SwapsBytesOnceWhenLocked )
{
    auto& handle = this->itsHandle;
    SetText( handle, "abcdefghijk" );
    TypeParam other( handle );
    handle.SetSwapOnLock( kSwap32 );
    EXPECT_EQ( kSwap32, handle.GetSwapOnLock() );
    TypeParam copy( handle );
    EXPECT_EQ( "dcbahgfeijk", TextOf( handle ) );
    EXPECT_EQ( kSwapNone, handle.GetSwapOnLock() );
    EXPECT_EQ( "dcbahgfeijk", TextOf( handle ) );
    EXPECT_EQ( "dcbahgfeijk", TextOf( copy ) );
    EXPECT_EQ( "abcdefghijk", TextOf( other ) );
    // A copy of bytes that are still to be swapped swaps its own.
    other.SetSwapOnLock( kSwap16 );
    XMemoryHandle clone = other.CloneMemory();
    EXPECT_EQ( "badcfehgjik", TextOf( clone ) );
    EXPECT_EQ( "badcfehgjik", TextOf( other ) );
}

TYPED_TEST( XMemoryHandleKindsTest, RefusesBytesOutsideAndDataNotLocked )
{
    auto& handle = this->itsHandle;
    char bytes[10] = {};
    EXPECT_ERROR( 1013, handle.CopyDataTo( bytes, 6 ) );
    EXPECT_ERROR( 1013, handle.CopyDataTo( bytes, 5, 1 ) );
    EXPECT_ERROR( 1013, handle.CopyDataFrom( bytes, 2, ~USize64( 0 ) ) );
    EXPECT_ERROR( 1006, handle.GetData() );
    handle.CopyDataFrom( bytes, 0, 5 );
    const XLock lock( handle, kLockForWrite );
    handle.SetByte( 4, 7 );
    EXPECT_EQ( 7, handle[4] );
    EXPECT_ERROR( 1013, handle.GetByte( 5 ) );
}

// Their data would be gone while somebody looks at it.
TYPED_TEST( XMemoryHandleKindsTest, LockedHandlesKeepTheirBlock )
{
    auto& handle = this->itsHandle;
    SetText( handle, "hello" );
    TypeParam copy( handle );
    XMemStream stream;
    handle.WriteStream2( stream );
    stream.SeekTo( 0 );
    const XLock lock( handle, kLockForRead );
    EXPECT_ERROR( 1006, handle = TypeParam() );
    EXPECT_ERROR( 1006, handle.Empty() );
    EXPECT_ERROR( 1006, handle.SetSwapOnLock( kSwap16 ) );
    EXPECT_ERROR( 1006, handle.SetBlock( nullptr ) );
    EXPECT_ERROR( 1006, handle.ReadStream2( stream ) );
    EXPECT_ERROR( 1006, handle.Resize( 1 ) );
    EXPECT_EQ( 0, std::memcmp( handle.GetData(), "hello", 5 ) );
    EXPECT_EQ( copy.GetBlock(), handle.GetBlock() );
    handle = handle;
    copy.Empty();
    copy = handle;
    EXPECT_EQ( 2u, handle.GetBlock()->GetRefCount() );
}

TYPED_TEST( XMemoryHandleKindsTest, FailsWithoutChangesWhenMemoryIsShort )
{
    auto& handle = this->itsHandle;
    SetText( handle, "hello" );
    TypeParam copy( handle );
    this->manager.SetBudget( this->manager.GetBytesInUse() );
    const XLock lock( handle, kLockForRead );
    EXPECT_ERROR( 1012, copy.CopyDataFrom( "j", 1 ) );
    EXPECT_ERROR( 1012, copy.Resize( 1000 ) );
    EXPECT_EQ( handle.GetBlock(), copy.GetBlock() );
    EXPECT_EQ( 2u, handle.GetBlock()->GetRefCount() );
    EXPECT_EQ( 1, handle.GetBlock()->GetLockCount() );
    EXPECT_EQ( "hello", TextOf( copy ) );
}

TEST( XMemoryHandleTest, WithoutABlock )
{
    XMemoryHandle handle;
    EXPECT_EQ( 0u, handle.GetDataSize() );
    EXPECT_ERROR( 1006, handle.Purge() );
    EXPECT_ERROR( 1006, const XLock lock( handle, kLockForRead ) );
    const XMemoryHandle copy( handle );
    EXPECT_FALSE( copy.HasBlock() );
    handle.Resize( 3 );
    handle.Clear( 'x' );
    EXPECT_EQ( "xxx", TextOf( handle ) );
}

TEST( XMemoryHandleTest, CountsLocksOfABlock )
{
    struct Block : XMallocMemoryBlock
    {
        using XLockable::Unlock;
        using XMallocMemoryBlock::XMallocMemoryBlock;
    } block( 1 );
    {
        const XLock first( block, kLockForRead ), second( block, kLockForRead );
        EXPECT_EQ( 2, block.GetLockCount() );
    }
    EXPECT_ERROR( 1006, block.Unlock( kLockForRead ) );
    EXPECT_EQ( 0, block.GetLockCount() );
    EXPECT_ERROR( 1023, block.Purge() );
}

TEST( XAlignedMemoryHandleTest, KeepsItsAlignment )
{
    XAlignedMemoryHandle handle( 10, 4096 );
    const auto check = [&]( XMemoryHandle& ioHandle )
    {
        const XLock lock( ioHandle, kLockForWrite );
        EXPECT_EQ( 0u, reinterpret_cast<std::uint64_t>( ioHandle.GetData() ) % 4096 );
    };
    check( handle );
    handle.Resize( 100'000 );
    check( handle );
    XMemoryHandle copy( handle );
    check( copy );
    handle.Empty();
    handle.Resize( 10 );
    check( handle );
    EXPECT_ERROR( 1006, XAlignedMemoryHandle bad( 10, 48 ) );
}

TEST( XMemoryHandleTest, HasItsDataFetchedByTheFirstLock )
{
    struct Fetcher : XDataFetcher
    {
        void FetchData( XLockable& ioObject ) override
        {
            SetText( dynamic_cast<XMemoryHandle&>( ioObject ), "fetched" );
        }
    } fetcher;
    XMemoryHandle handle;
    handle.SetDataFetcher( &fetcher );
    {
        const XLock lock( handle, kLockForRead );
        EXPECT_EQ( 0, std::memcmp( handle.GetData(), "fetched", 7 ) );
    }
    // So do operations that lock for themselves, before they look at the size.
    XMemoryHandle copied;
    copied.SetDataFetcher( &fetcher );
    char bytes[7] = {};
    copied.CopyDataTo( bytes, 7 );
    EXPECT_EQ( 0, std::memcmp( bytes, "fetched", 7 ) );
    XMemoryHandle written;
    written.SetDataFetcher( &fetcher );
    written.CopyDataFrom( "p", 1, 6 );
    EXPECT_EQ( "fetchep", TextOf( written ) );
    XMemoryHandle stored;
    stored.SetDataFetcher( &fetcher );
    XMemStream stream;
    stored.WriteStream( stream, XMemoryHandle::kNoCompression );
    EXPECT_EQ( "fetched", TextOf( stored ) );
    EXPECT_EQ( static_cast<SSize64>( stored.GetStreamUsage() ), stream.GetExtent() );
}

TEST( XMemoryHandleTest, HasTheDataOfItsBlockFetchedHoweverOftenItHasBeenLocked )
{
    XMemoryHandle handle( 4 );
    struct Fetcher : XDataFetcher
    {
        explicit Fetcher( const XMemoryHandle& inHandle ) : copy( inHandle ) {}
        void FetchData( XLockable& ) override
        {
            TextOf( copy );
            if ( ++calls == 1 )
                XThrow( 1005 );
        }
        XMemoryHandle copy;
        int calls = 0;
    } fetcher( handle );
    const auto lock = [&] { const XLock done( handle, kLockForRead ); };
    lock();
    handle.GetBlock()->SetDataFetcher( &fetcher );
    EXPECT_EQ( 1005u, ErrorOf( lock ) );
    lock();
    lock();
    EXPECT_EQ( 2, fetcher.calls );
}

// While the threads lock the blocks one after the other, another one tries to purge each.
TEST( XMemoryHandleTest, LocksOfSeveralThreadsKeepABlockInMemory )
{
    TestManager manager;
    std::vector<XMappedFileMemoryHandle> handles;
    for ( unsigned i = 0; i < 100; ++i )
        Fill( handles.emplace_back( 4096u ), i );
    std::atomic<unsigned> locking = 3;
    const auto lock = [&]
    {
        for ( unsigned i = 0; i < handles.size(); ++i )
        {
            XMappedFileMemoryHandle copy( handles[i] );
            for ( unsigned turn = 0; turn < 20; ++turn )
                EXPECT_TRUE( Holds( copy, i ) );
        }
        --locking;
    };
    const auto purge = [&]
    {
        for ( std::size_t i = 0; locking > 0; ++i )
            handles[i % handles.size()].Purge();
    };
    RunTogether( lock, lock, lock, purge );
    for ( XMappedFileMemoryHandle& handle : handles )
    {
        EXPECT_EQ( 0, handle.GetBlock()->GetLockCount() );
        handle.Purge();
    }
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
}
