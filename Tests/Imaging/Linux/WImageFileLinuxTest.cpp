#include "Images/WImageFile.h"

#include "Imaging/HandmadeTIFF.h"
#include "Imaging/TestImages.h"
#include "Linux/TestProcess.h"
#include "Memory/WMemoryLimits.h"
#include "TestFolder.h"

namespace
{
/// A row of 2^31 - 1 pixels of 8 bytes that are not there.
constexpr std::string_view kHugePNG =
    "89504e470d0a1a0a0000000d494844527fffffff000000011006000000f0a6ef9e0000000949444154789c63000000010001"
    "5eff7df90000000049454e44ae426082";

/// Whether reading the image throws this, or nothing, in a process that has 32 MiB of address space left.
bool FailsWithLittleMemory( const std::filesystem::path& inPath, const std::string& inFailure )
{
    return PassesInChild(
        [&]
        {
            std::uint64_t pages = 0;
            std::ifstream( "/proc/self/statm" ) >> pages;
            const ProcessLimit limit(
                RLIMIT_AS, pages * static_cast<std::uint64_t>( ::getpagesize() ) + 32 * 1024 * 1024 );
            EXPECT_EQ( TextOfError( [&] { WImageFile::Open( inPath )->ReadPage( 0 ); } ), inFailure );
        } );
}
} // namespace

TEST( WImageFileLinuxTest, TakesNoMemoryForRowsOfPNGThatAreRefused )
{
    if ( kIsSanitized )
        GTEST_SKIP() << "the sanitizer needs more address space than a limit can leave";
    const TestFolder folder;
    EXPECT_TRUE( FailsWithLittleMemory( folder.Write( "grey.png", FromHex( kGrey8 ) ), "" ) );
    const auto path = folder.Write( "huge.png", FromHex( kHugePNG ) );
    EXPECT_TRUE( FailsWithLittleMemory(
        path, "a page of 2147483647 x 1 pixels is impossible in a file of this size" ) );
    std::filesystem::resize_file( path, 20'000'000 );
    EXPECT_TRUE( FailsWithLittleMemory(
        path, "a page of 2147483647 x 1 pixels has too long rows (at most 8388608 pixels)" ) );
}

/// Another program may cut a file off at any moment. That fails the page and nothing else.
TEST( WImageFileLinuxTest, FailsWhereverTheFileIsCutOff )
{
    constexpr std::uint32_t kRows = 64;
    for ( const std::uint32_t compression : { 1u, 32773u } ) // None, PackBits.
    {
        HandmadeTIFF tiff( false );
        std::vector<std::uint32_t> strips;
        for ( std::uint32_t row = 0; row < kRows; ++row )
        {
            strips.push_back( tiff.Append( 127, 1 ) ); // 128 bytes follow as they are.
            for ( std::uint32_t x = 0; x < 128; ++x )
                tiff.Append( x, 1 );
        }
        std::uint32_t offsets = 0, sizes = 0;
        for ( const auto strip : strips )
            offsets = std::max( offsets, tiff.Append( strip, 4 ) );
        for ( std::size_t i = 0; i < strips.size(); ++i )
            sizes = std::max( sizes, tiff.Append( 129, 4 ) );
        const auto bytes = tiff.Finish(
            { { 256, 3, 1, 128 },
              { 257, 3, 1, kRows },
              { 258, 3, 1, 8 },
              { 259, 3, 1, compression },
              { 262, 3, 1, 1 },
              { 273, 4, kRows, offsets - 4 * ( kRows - 1 ) },
              { 278, 3, 1, 1 },
              { 279, 4, kRows, sizes - 4 * ( kRows - 1 ) } } );

        const TestFolder folder;
        const auto path = folder.Write( "image.tif", bytes );
        const auto file = WImageFile::Open( path );
        EXPECT_EQ( file->ReadPage( 0 ).GetSamples<std::uint8_t>()[127], compression == 1 ? 126 : 127 );
        std::uint32_t reports = 0;
        const auto cutOff = [&]( double )
        {
            if ( ++reports == kRows / 2 )
                std::filesystem::resize_file( path, 0 );
        };
        EXPECT_THROW( file->ReadPage( 0, cutOff ), WImageError );
    }
}
