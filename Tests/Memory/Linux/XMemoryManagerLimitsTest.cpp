#include "Linux/TestProcess.h"
#include "Memory/TestManager.h"
#include "Memory/WMemoryLimits.h"
#include "Startup/WInitCore.h"
#include "TestFolder.h"

#include <sys/mount.h>
#include <sys/stat.h>

// What real limits of the system do to blocks. Each of them holds for a process of its own.

namespace
{

} // namespace

TEST( XMemoryManagerLimitsTest, AShortDiskCostsNothingThatIsInMemory )
{
    EXPECT_TRUE( PassesInChild(
        []
        {
            TestManager manager( 2 * kMiB );
            XMappedFileMemoryHandle first( kMiB );
            XMappedFileMemoryHandle second( kMiB );
            Fill( first, 1 );
            Fill( second, 2 );
            const ProcessLimit limit( RLIMIT_FSIZE, kMiB / 2 );
            const std::ptrdiff_t descriptors = CountDescriptors();
            EXPECT_ERROR( 223, first.GetBlock()->Purge() );
            EXPECT_ERROR( 1012, XMemoryHandle third( kMiB ) );
            EXPECT_EQ( descriptors, CountDescriptors() );
            EXPECT_TRUE( Holds( first, 1 ) );
            EXPECT_TRUE( Holds( second, 2 ) );
        } ) );
}

TEST( XMemoryManagerLimitsTest, AFileThatCannotBeLengthenedKeepsItsLength )
{
    const TestFolder folder;
    folder.Write( "file", "bytes" );
    EXPECT_TRUE( PassesInChild(
        [&]
        {
            const ProcessLimit limit( RLIMIT_FSIZE, 3 * kMiB );
            XMappedFileMemoryHandle handle(
                folder / "file", 0, 5, WFile::kReadWrite, XMappedFileMemoryBlock::kOpenAtOnce,
                XMappedFileMemoryBlock::kPublic );
            EXPECT_NE( 0u, ErrorOf( [&] { handle.Resize( 4 * kMiB ); } ) );
            EXPECT_EQ( 5u, handle.GetDataSize() );
            EXPECT_EQ( 5u, std::filesystem::file_size( folder / "file" ) );
        } ) );
}

TEST( XMemoryManagerLimitsTest, AFullFileSystemIsAnErrorOfThePurge )
{
    const TestFolder folder;
    if ( ::mount( "tmpfs", folder.GetPath().c_str(), "tmpfs", 0, "size=1m" ) != 0 )
        GTEST_SKIP() << "this user cannot mount";
    {
        TestManager manager( 4 * kMiB );
        manager.SetTemporaryFolder( folder.GetPath() );
        XMappedFileMemoryHandle small( kMiB / 2 );
        XMappedFileMemoryHandle large( 2 * kMiB );
        Fill( small, 1 );
        Fill( large, 2 );
        small.GetBlock()->Purge();
        EXPECT_ERROR( 1263, large.GetBlock()->Purge() );
        EXPECT_EQ( 0u, folder.CountEntries() );
        EXPECT_ERROR( 1012, XMemoryHandle handle( 3 * kMiB ) );
        EXPECT_TRUE( Holds( large, 2 ) );
        EXPECT_TRUE( Holds( small, 1 ) );
    }
    ::umount( folder.GetPath().c_str() );
}

TEST( XMemoryManagerLimitsTest, ARefusedMappingIsAnError )
{
    if ( kIsSanitized )
        GTEST_SKIP() << "the sanitizer needs terabytes of address space";
    EXPECT_TRUE( PassesInChild(
        []
        {
            TestManager manager( 1'000 * kMiB );
            XMappedFileMemoryHandle first( kMiB );
            Fill( first, 1 );
            const ProcessLimit limit(
                RLIMIT_AS,
                XMemoryManager::AlignSizeToPageSize( manager.GetAddressSpaceInUse() ) + 64 * kMiB );
            XMappedFileMemoryHandle large( 500 * kMiB );
            const std::ptrdiff_t descriptors = CountDescriptors();
            EXPECT_ERROR( 1020, const XLock lock( large, kLockForRead ) );
            EXPECT_ERROR( 1012, XMemoryHandle heap( 500 * kMiB ) );
            EXPECT_GE( descriptors + 2, CountDescriptors() );
            EXPECT_TRUE( Holds( first, 1 ) );
            EXPECT_EQ( kMiB, manager.GetBytesInUse() );
        } ) );
}

TEST( XMemoryManagerLimitsTest, ABlockThatGrowsTakesTheDifference )
{
    TestManager manager( 5 * kMiB );
    XMappedFileMemoryHandle handle( 3 * kMiB );
    Fill( handle, 1 );
    handle.Resize( 5 * kMiB );
    EXPECT_EQ( 5 * kMiB, manager.GetPeakBytesInUse() );
    EXPECT_ERROR( 1012, handle.Resize( 5 * kMiB + 1 ) );
    {
        const XLock lock( handle, kLockForWrite );
        EXPECT_EQ( 0, handle[3 * kMiB] );
        EXPECT_EQ( 0, handle[5 * kMiB - 1] );
        handle.SetByte( 3 * kMiB + 1, 7 );
    }
    handle.Resize( 3 * kMiB );
    EXPECT_EQ( 3 * kMiB, manager.GetBytesInUse() );
    handle.GetBlock()->Purge();
    EXPECT_TRUE( Holds( handle, 1 ) );
}

// Ranges of one file, whose space goes back to the disk with them, also from between others.
TEST( XMemoryManagerLimitsTest, PurgedBlocksShareAFile )
{
    constexpr USize64 kPiece = 128 * 1024;
    TestManager manager( 100 * kMiB );
    int file = -1;
    manager.whenMapped = [&]( const WFile& inFile ) { file = static_cast<int>( inFile.GetRawHandle() ); };
    const auto getDiskBytes = [&]
    {
        struct stat status = {};
        ::fstat( file, &status );
        return static_cast<USize64>( status.st_blocks ) * 512;
    };
    std::vector<std::unique_ptr<XMappedFileMemoryHandle>> handles;
    const auto add = [&]( USize64 inSize, unsigned inSeed )
    {
        handles.push_back( std::make_unique<XMappedFileMemoryHandle>( inSize ) );
        Fill( *handles.back(), inSeed );
        handles.back()->Purge();
    };
    const std::ptrdiff_t descriptors = CountDescriptors();
    for ( unsigned i = 0; i < 16; ++i )
        add( kPiece + i, i );
    EXPECT_EQ( descriptors + 1, CountDescriptors() );
    EXPECT_TRUE( Holds( *handles[0], 0 ) );
    EXPECT_LE( 16 * kPiece, getDiskBytes() );
    for ( unsigned i = 1; i < 15; i += i % 4 == 1 ? 1 : 3 ) // ranges beside each other and alone
        handles[i].reset();
    EXPECT_GT( 10 * kPiece, getDiskBytes() );
    add( 2 * kPiece, 20 ); // into the space of two
    add( kPiece / 2, 21 );
    struct stat status = {};
    ::fstat( file, &status );
    EXPECT_GE( 17 * kPiece, static_cast<USize64>( status.st_size ) );
    for ( unsigned i = 0; i < 18; ++i )
        EXPECT_TRUE( !handles[i] || Holds( *handles[i], i < 16 ? i : i + 4 ) );
    handles.resize( 1 );
    EXPECT_GE( 3 * kPiece, getDiskBytes() );
    handles.clear();
    EXPECT_EQ( descriptors, CountDescriptors() );
}

// One after the other, where files may not become as large as all together.
TEST( XMemoryManagerLimitsTest, SmallFilesTakeManyBlocks )
{
    EXPECT_TRUE( PassesInChild(
        []
        {
            constexpr USize64 kSize = kIsSanitized ? kMiB / 4 : kMiB;
            const ProcessLimit limit( RLIMIT_FSIZE, 3 * kSize );
            TestManager manager( 100 * kMiB );
            std::vector<XMappedFileMemoryHandle> handles( 8 );
            for ( auto& handle : handles )
            {
                handle.Resize( kSize );
                Fill( handle, 7 );
                handle.GetBlock()->Purge();
            }
            for ( auto& handle : handles )
                EXPECT_TRUE( Holds( handle, 7 ) );
        } ) );
}

// The error tells why, and the disk is not tried for each block.
TEST( XMemoryManagerLimitsTest, AFolderThatRefusesPurgesIsNamed )
{
    TestManager manager( 8 * kMiB );
    int tries = 0;
    manager.SetTemporaryFolder( "/no/such/folder" );
    manager.makeTemporaryFile = [&]
    {
        ++tries;
        return manager.WMemoryManager::MakeTemporaryFile();
    };
    std::vector<XMappedFileMemoryHandle> handles( 8 );
    for ( unsigned i = 0; i < 8; ++i )
    {
        handles[i].Resize( kMiB );
        Fill( handles[i], i );
    }
    for ( int turn = 0; turn < 3; ++turn )
    {
        const std::string text = TextOfError( [] { XMemoryHandle handle( kMiB ); } );
        for ( const char* part : { "/no/such/folder: ", "(2)", "(1012)" } )
            EXPECT_CONTAINS( text, part );
    }
    EXPECT_GE( 4, tries ); // one each second
    manager.SetTemporaryFolder( {} );
    XMemoryHandle fits( kMiB );
    EXPECT_TRUE( Holds( handles[0], 0 ) );
}

TEST( XMemoryManagerLimitsTest, ReadsTheLimitsOfControlGroups )
{
    const TestFolder folder;
    std::filesystem::create_directories( folder / "a/b" );
    std::filesystem::create_directories( folder / "memory/c" );
    folder.Write( "a/memory.max", "5000\n" );
    folder.Write( "a/b/memory.max", "max\n" );
    folder.Write( "memory/c/memory.limit_in_bytes", "4000\n" );
    const auto limitOf = [&]( const std::string& inMembership )
    { return WMemoryLimits::ReadControlGroups( folder.GetPath(), folder.Write( "group", inMembership ) ); };
    EXPECT_EQ( 5000u, limitOf( "0::/a/b\n" ) );
    EXPECT_EQ( WMemoryLimits::kUnlimited, limitOf( "0::/\n" ) );
    EXPECT_EQ( WMemoryLimits::kUnlimited, limitOf( "nonsense\n\n:\n" ) );
    EXPECT_EQ( 4000u, limitOf( "12:pids:/x\n7:cpu,memory:/c\n0::/a\n" ) );
    EXPECT_GE( WMemoryLimits::GetMachineBytes(), WMemoryLimits::GetBytes() );
}
