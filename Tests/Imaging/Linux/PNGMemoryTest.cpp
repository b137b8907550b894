#include "Images/WImageFile.h"

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

TEST( PNGMemoryTest, NoneIsTakenForRowsThatAreRefused )
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
