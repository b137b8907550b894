#include "Files/WFile.h"

#include "TestFolder.h"

namespace
{

void OpenFile( const std::filesystem::path& inPath, WFile::Mode inMode )
{
    WFile( inPath, inMode ).Close();
}

} // namespace

TEST( WFileTest, ReadsAndWritesAtPositions )
{
    const TestFolder folder;
    WFile file( folder / "data", WFile::kCreate );
    file.WriteAt( 4, "world", 5 );
    file.WriteAt( 0, "hell", 4 );
    EXPECT_EQ( file.GetSize(), 9u );
    std::array<char, 16> data = {};
    EXPECT_EQ( file.ReadAt( 2, data.data(), 4 ), 4u );
    EXPECT_STREQ( data.data(), "llwo" );
    EXPECT_EQ( file.ReadAt( 7, data.data(), 16 ), 2u );
    EXPECT_EQ( file.ReadAt( 9, data.data(), 16 ), 0u );
    EXPECT_EQ( file.ReadAt( 1000, data.data(), 16 ), 0u );
    file.SetSize( 2 );
    file.SetSize( 3 );
    file.Flush();
    file.Close();
    EXPECT_FALSE( file.IsOpen() );
    file.Close();
    EXPECT_EQ( folder.Read( "data" ), std::string( "he\0", 3 ) );
}

TEST( WFileTest, ModesDecideWhatBecomesOfAFile )
{
    const TestFolder folder;
    const auto path = folder.Write( "old", "contents" );
    EXPECT_EQ( WFile( path, WFile::kRead ).GetSize(), 8u );
    WFile( path, WFile::kReadWrite ).WriteAt( 0, "C", 1 );
    EXPECT_EQ( folder.Read( "old" ), "Contents" );
    EXPECT_ERROR( 80, OpenFile( path, WFile::kCreateNew ) );
    EXPECT_EQ( WFile( path, WFile::kCreate ).GetSize(), 0u );
    EXPECT_ERROR( 2, OpenFile( folder / "none", WFile::kRead ) );
    EXPECT_ERROR( 2, OpenFile( folder / "none", WFile::kReadWrite ) );
    EXPECT_NE( ErrorOf( [&] { WFile( path, WFile::kRead ).WriteAt( 0, "x", 1 ); } ), 0u );
    EXPECT_EQ( folder.CountEntries(), 1u );
}

TEST( WFileTest, RefusesFolders )
{
    const TestFolder folder;
    for ( const auto mode : { WFile::kRead, WFile::kReadWrite, WFile::kCreate } )
        EXPECT_ERROR( 336, OpenFile( folder.GetPath(), mode ) ) << mode;
}

TEST( WFileTest, MovesItsFile )
{
    const TestFolder folder;
    WFile first( folder / "first", WFile::kCreate );
    WFile second( folder / "second", WFile::kCreate );
    second = std::move( first );
    EXPECT_FALSE( first.IsOpen() );
    second.WriteAt( 0, "x", 1 );
    second.Close();
    EXPECT_EQ( folder.Read( "first" ), "x" );
    EXPECT_EQ( folder.Read( "second" ), "" );
}

TEST( WFileTest, SeveralThreadsTransferAtOnce )
{
    const TestFolder folder;
    WFile file( folder / "shared", WFile::kCreate );
    constexpr std::uint64_t kBlock = 65536;
    RunOnThreads(
        4,
        [&]( unsigned inThread )
        {
            const std::string block( kBlock, static_cast<char>( 'a' + inThread ) );
            file.WriteAt( inThread * kBlock, block.data(), kBlock );
            std::string back( kBlock, ' ' );
            EXPECT_EQ( file.ReadAt( inThread * kBlock, back.data(), kBlock ), kBlock );
            EXPECT_EQ( back, block );
        } );
    EXPECT_EQ( file.GetSize(), 4 * kBlock );
}
