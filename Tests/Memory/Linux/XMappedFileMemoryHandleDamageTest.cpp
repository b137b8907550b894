#include "Core/Streams/XMemStream.h"
#include "Core/Strings/XString.h"
#include "Memory/TestManager.h"
#include "Memory/XHandleStream.h"
#include "TestFolder.h"

#include <unistd.h>

// What becomes of blocks whose files lose bytes while they are mapped: as with a disk that fails, reading there is a
// signal.

namespace
{

constexpr USize64 kDamagedSize = 200'000;

/// Files are cut off as soon as a view of them is there.
struct DamagingManager : TestManager
{
    DamagingManager()
    {
        whenMapped = [this]( const WFile& inFile )
        {
            if ( !itsIsDamaging )
                return;
            EXPECT_EQ( 0, ::ftruncate( static_cast<int>( inFile.GetRawHandle() ), 0 ) );
        };
    }

    void SetDamaging( bool inIsDamaging ) { itsIsDamaging = inIsDamaging; }

private:
    bool itsIsDamaging = true;
};

/// Purged, so that the next lock is of a damaged file.
XMappedFileMemoryHandle MakePurged()
{
    XMappedFileMemoryHandle handle( kDamagedSize );
    Fill( handle, 1 );
    handle.GetBlock()->Purge();
    return handle;
}

/// Reads or writes a byte under a lock, and returns the errors of the check there and after the unlock.
std::pair<std::uint32_t, std::uint32_t> Touch( XMemoryHandle& ioHandle, XLockMode inMode )
{
    std::uint32_t inside = 0;
    {
        const XLock lock( ioHandle, inMode );
        ioHandle.CheckIntact();
        if ( inMode & kLockForWrite )
            ioHandle.SetByte( 100, 7 );
        EXPECT_EQ( inMode & kLockForWrite ? 7 : 0, ioHandle[100] );
        inside = ErrorOf( [&] { ioHandle.CheckIntact(); } );
        EXPECT_ERROR( 1020, const XLock second( ioHandle, kLockForRead ) );
    }
    return { inside, ErrorOf( [&] { ioHandle.CheckIntact(); } ) };
}

} // namespace

TEST( XMappedFileMemoryHandleDamageTest, ATemporaryFilesIsFoundByWhateverComesNext )
{
    for ( const XLockMode mode : { kLockForRead, kLockForReadWrite } )
    {
        DamagingManager manager;
        auto handle = MakePurged();
        EXPECT_EQ( ( std::pair{ 1020u, 1020u } ), Touch( handle, mode ) );
        EXPECT_ERROR( 1020, handle.GetBlock()->Purge() );
        handle.Purge();
        manager.FreeMemory( kDamagedSize, XMemoryManager::kFreeWithoutLogEntry );
        EXPECT_LT( kDamagedSize, manager.GetBytesInUse() ); // what was written is still there
        EXPECT_EQ( 0u, manager.GetPurgeableBlockCount() );
        XMappedFileMemoryHandle copy( handle );
        XMemStream stream;
        char byte = 0;
        const std::function<void()> attempts[] = {
            [&] { const XLock lock( handle, kLockForRead ); },
            [&] { handle.CopyDataTo( &byte, 1 ); },
            [&] { copy.CopyDataFrom( &byte, 1 ); },
            [&] { handle.CloneMemory(); },
            [&] { copy.Resize( kDamagedSize / 2 ); },
            [&] { handle.WriteStream2( stream ); },
            [&] { handle.Clear(); },
        };
        for ( const auto& attempt : attempts )
            EXPECT_EQ( 1020u, ErrorOf( attempt ) );
        copy.Empty();
        for ( const USize64 size : { kDamagedSize / 2, 2 * kDamagedSize } )
            EXPECT_ERROR( 1020, handle.Resize( size ) );
        handle.Empty();
        EXPECT_EQ( 0u, manager.GetBytesInUse() );
    }
}

// The operation itself meets the damage.
TEST( XMappedFileMemoryHandleDamageTest, IsAnErrorOfTheOperationThatMeetsIt )
{
    DamagingManager manager;
    XMemStream stream;
    char bytes[10] = {};
    const std::function<void( XMemoryHandle& )> operations[] = {
        [&]( XMemoryHandle& ioHandle ) { ioHandle.CopyDataTo( bytes, 10 ); },
        [&]( XMemoryHandle& ioHandle ) { ioHandle.CopyDataFrom( bytes, 10 ); },
        [&]( XMemoryHandle& ioHandle ) { ioHandle.Clear( 5 ); },
        [&]( XMemoryHandle& ioHandle ) { ioHandle.CloneMemory(); },
        [&]( XMemoryHandle& ioHandle ) { ioHandle.WriteStream2( stream ); },
        [&]( XMemoryHandle& ioHandle )
        {
            XHandleStream handleStream( ioHandle );
            handleStream.SeekTo( 5 );
            handleStream.Write8( 1 );
            handleStream.Close();
        },
    };
    for ( const auto& operation : operations )
    {
        auto handle = MakePurged();
        EXPECT_ERROR( 1020, operation( handle ) );
        EXPECT_EQ( 0, handle.GetBlock()->GetLockCount() );
    }
    // What grows is read, not mapped.
    {
        int file = -1;
        manager.whenMapped = [&]( const WFile& inFile ) { file = static_cast<int>( inFile.GetRawHandle() ); };
        auto growing = MakePurged();
        growing.CopyDataTo( bytes, 10 );
        EXPECT_EQ( 0, ::ftruncate( file, 4096 ) );
        EXPECT_ERROR( 1020, growing.Resize( 2 * kDamagedSize ) );
        EXPECT_EQ( kDamagedSize, growing.GetDataSize() );
    }
    // An object in front of the damage.
    XMappedFileMemoryHandle handle( 0 );
    {
        XHandleStream object( handle );
        object.WriteStreamInfo();
        object.WriteObject( XString( std::string( 10'000, 'x' ) ) );
    }
    handle.GetBlock()->Purge();
    manager.whenMapped = []( const WFile& inFile )
    { EXPECT_EQ( 0, ::ftruncate( static_cast<int>( inFile.GetRawHandle() ), 4096 ) ); };
    EXPECT_ERROR( 1020, delete XHandleStream::HandleToObject( handle ) );
}

TEST( XMappedFileMemoryHandleDamageTest, APermanentFilesIsTriedAgainUnlessItWasWrittenTo )
{
    using Block = XMappedFileMemoryBlock;
    const TestFolder folder;
    const auto path = folder.Write( "data", std::string( kDamagedSize, 'a' ) );
    for ( const auto mode : { Block::kPrivate, Block::kPrivatePages, Block::kPublic } )
    {
        DamagingManager manager;
        XMappedFileMemoryHandle handle( path, 0, kDamagedSize, WFile::kReadWrite, 0, mode );
        const auto repair = [&]
        {
            std::filesystem::resize_file( path, kDamagedSize );
            manager.SetDamaging( false );
        };
        EXPECT_EQ( ( std::pair{ 1020u, 1020u } ), Touch( handle, kLockForRead ) );
        EXPECT_ERROR( 1020, handle.GetBlock()->Purge() );
        repair();
        char byte = 1;
        handle.CopyDataTo( &byte, 1 );
        EXPECT_EQ( 0, byte );
        handle.CopyDataFrom( "b", 1 ); // before the damage, so it is no part of it
        handle.GetBlock()->Purge();

        manager.SetDamaging( true );
        if ( mode != Block::kPublic )
            continue;
        EXPECT_EQ( ( std::pair{ 1020u, 1020u } ), Touch( handle, kLockForRead ) );
        repair();
        handle.CopyDataTo( &byte, 1 );
        handle.GetBlock()->Purge();
        manager.SetDamaging( true );
        EXPECT_EQ( ( std::pair{ 1020u, 1020u } ), Touch( handle, kLockForReadWrite ) );
        repair();
        EXPECT_ERROR( 1020, handle.CopyDataTo( &byte, 1 ) );
        EXPECT_ERROR( 1020, handle.Resize( 2 * kDamagedSize ) );
        EXPECT_ERROR( 1020, handle.GetBlock()->Purge() );
    }
}
