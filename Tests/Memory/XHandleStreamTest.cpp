#include "Memory/XHandleStream.h"

#include "Core/StreamTools.h"
#include "Core/Strings/XString.h"
#include "Memory/TestManager.h"
#include "Memory/XMallocMemoryBlock.h"

TEST( XHandleStreamTest, WritesReadsAndCutsOff )
{
    TestManager manager;
    XMappedFileMemoryHandle handle( 4 );
    {
        XHandleStream stream( handle );
        EXPECT_EQ( 4, stream.GetExtent() );
        stream.SeekTo( 2 );
        for ( std::uint32_t i = 0; i < 100'000; ++i )
            stream.Write32( i );
        EXPECT_EQ( 400'002, stream.GetExtent() );
        stream.SeekTo( 2 + 4 * 99'999 );
        EXPECT_EQ( 99'999u, stream.Read32() );
        EXPECT_TRUE( stream.IsAtEOF() );
        EXPECT_ERROR( 1260, stream.Read8() );
        EXPECT_ERROR( 1013, stream.SeekTo( -1 ) );
        stream.SetPhysicalSize( 1'000'000 );
        stream.SetExtent( 10 );
        stream.SeekTo( 12 );
        stream.Write8( 7 );
        EXPECT_ERROR( 1006, handle.Resize( 1 ) );
    }
    EXPECT_EQ( 13u, handle.GetDataSize() );
    XHandleStream again( handle, kLockForRead );
    again.SeekTo( 2 );
    EXPECT_EQ( 0u, again.Read32() );
    EXPECT_EQ( 1u, again.Read32() );
    EXPECT_EQ( 0u, again.Read16() );
    EXPECT_EQ( 7u, again.Read8() );
    EXPECT_ERROR( 1006, again.Write8( 1 ) );
    again.Close();
    EXPECT_ERROR( 1260, again.Read8() );
    EXPECT_EQ( 0, handle.GetBlock()->GetLockCount() );
}

TEST( XHandleStreamTest, KeepsItsBytesWhenItCannotGrow )
{
    TestManager manager( 10'000 );
    XMemoryHandle handle;
    XHandleStream stream( handle );
    EXPECT_ERROR( 1012, stream.WriteFiller( 20'000, 'x' ) );
    EXPECT_EQ( stream.GetPosition(), stream.GetExtent() );
    stream.SeekTo( 0 );
    EXPECT_EQ( 'x', stream.Read8() );
}

TEST( XHandleStreamTest, CutsOffItsSpareRoomWhereMemoryIsShort )
{
    TestManager manager;
    XMappedFileMemoryHandle mapped( 1 );
    XMemoryHandle heap( 1 );
    for ( XMemoryHandle* handle : { static_cast<XMemoryHandle*>( &mapped ), &heap } )
    {
        manager.canResizeViews = handle != &mapped;
        {
            XHandleStream stream( *handle );
            stream.WriteFiller( 100'000, 'x' );
            stream.SetPhysicalSize( 1'000'000 );
            manager.refusedMappings = manager.refusedViews = manager.refusedHeap = 100;
        }
        EXPECT_EQ( 100'000u, handle->GetDataSize() );
        manager.refusedMappings = manager.refusedViews = manager.refusedHeap = 0;
        const XLock lock( *handle, kLockForRead );
        EXPECT_EQ( 'x', ( *handle )[99'999] );
    }
}

// As when a handle that grows is purged meanwhile and cannot be brought back.
TEST( XHandleStreamTest, IsClosedWhenItsBytesAreGone )
{
    struct Block : XMallocMemoryBlock
    {
        using XMallocMemoryBlock::XMallocMemoryBlock;
        void Resize( USize64 inSize ) override
        {
            XMallocMemoryBlock::Resize( inSize );
            itsIsGone = true;
        }

    protected:
        void LockSelf( XLockMode inMode ) override
        {
            if ( itsIsGone )
                XThrow( 1012 );
            XMallocMemoryBlock::LockSelf( inMode );
        }

    private:
        bool itsIsGone = false;
    };
    TestManager manager;
    XMemoryHandle handle( std::make_unique<Block>( 1000 ) );
    XHandleStream stream( handle );
    stream.SeekTo( 1000 );
    EXPECT_ERROR( 1012, stream.Write32( 1 ) );
    EXPECT_EQ( 1000u, handle.GetDataSize() );
    EXPECT_EQ( 0, stream.GetExtent() );
    EXPECT_ERROR( 1006, stream.Write8( 1 ) );
}

TEST( XHandleStreamTest, KeepsAnObjectInAHandle )
{
    TestManager manager;
    const XMemoryHandle handle = XHandleStream::ObjectToHandle( XString( "ab" ) );
    const XLock lock( const_cast<XMemoryHandle&>( handle ), kLockForRead );
    XMemStream bytes( handle.GetData(), handle.GetDataSize() );
    EXPECT_EQ(
        "493100020023000000230000000200000"
        "06162",
        Hex( bytes ) );
    const std::unique_ptr<XStorable> object( XHandleStream::HandleToObject( handle ) );
    EXPECT_EQ( XString( "ab" ), dynamic_cast<XString&>( *object ) );

    XMemoryHandle inner( 100'000 );
    inner.Clear( 5 );
    EXPECT_GT( XHandleStream::ObjectToHandle( inner, XStream::kNoCompression ).GetDataSize(), 100'000u );
    const XMemoryHandle outer = XHandleStream::ObjectToHandle( inner, XStream::kBestCompression );
    EXPECT_LT( outer.GetDataSize(), 1'000u );
    const std::unique_ptr<XStorable> read( XHandleStream::HandleToObject( outer ) );
    EXPECT_EQ( 100'000u, dynamic_cast<XMemoryHandle&>( *read ).GetDataSize() );
    EXPECT_ERROR( 1260, XHandleStream::HandleToObject( XMemoryHandle() ) );
}
