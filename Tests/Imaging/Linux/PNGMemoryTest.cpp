#include "Images/WImageFile.h"

#include "Imaging/TestImages.h"
#include "Memory/WMemoryLimits.h"
#include "TestFolder.h"

#include <fstream>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/// A row of 2^31 - 1 pixels of 8 bytes that are not there.
constexpr std::string_view kHugePNG =
    "89504e470d0a1a0a0000000d494844527fffffff000000011006000000f0a6ef9e0000000949444154789c63000000010001"
    "5eff7df90000000049454e44ae426082";

/// What reading the image throws in a process that has 32 MiB of address space left.
std::string GetFailureWithLittleMemory( const std::filesystem::path& inPath )
{
    int ends[2] = {};
    EXPECT_EQ( ::pipe( ends ), 0 );
    const auto child = ::fork();
    if ( child == 0 )
    {
        std::string failure;
        std::uint64_t pages = 0;
        std::ifstream( "/proc/self/statm" ) >> pages;
        const auto most = pages * static_cast<std::uint64_t>( ::getpagesize() ) + 32 * 1024 * 1024;
        const rlimit limit = { most, most };
        ::setrlimit( RLIMIT_AS, &limit );
        try
        {
            WImageFile::Open( inPath )->ReadPage( 0 );
        }
        catch ( const std::exception& error )
        {
            failure = error.what();
        }
        ::_exit( ::write( ends[1], failure.data(), failure.size() ) < 0 ? 1 : 0 );
    }
    ::close( ends[1] );
    char text[256];
    const auto size = ::read( ends[0], text, sizeof( text ) );
    ::close( ends[0] );
    ::waitpid( child, nullptr, 0 );
    return std::string( text, size > 0 ? static_cast<std::size_t>( size ) : 0 );
}
} // namespace

TEST( PNGMemory, NoneIsTakenForRowsThatAreRefused )
{
#ifdef KORVALE_SANITIZED
    GTEST_SKIP() << "the sanitizer needs more address space than a limit can leave";
#endif
    const TestFolder folder;
    EXPECT_EQ( GetFailureWithLittleMemory( folder.Write( "grey.png", FromHex( kGrey8 ) ) ), "" );
    const auto path = folder.Write( "huge.png", FromHex( kHugePNG ) );
    EXPECT_EQ(
        GetFailureWithLittleMemory( path ),
        "it claims a page of 2147483647 x 1 pixels, more than its bytes can hold" );
    std::filesystem::resize_file( path, 20'000'000 );
    EXPECT_EQ(
        GetFailureWithLittleMemory( path ),
        "a page of 2147483647 x 1 pixels has too long rows (at most 8388608 pixels)" );
}
