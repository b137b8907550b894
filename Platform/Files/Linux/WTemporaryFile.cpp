#include "Files/WTemporaryFile.h"

#include "Files/Linux/WDescriptorLimit.h"
#include "Files/Linux/WSizeLimit.h"
#include "System/Linux/WErrno.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace
{

/// For file systems that know no files without a name. A process that is killed between the two calls leaves an empty
/// file.
int CreateAndUnlink( const std::filesystem::path& inFolder )
{
    std::string path = inFolder / "korvale-XXXXXX.tmp";
    const int descriptor =
        WDescriptorLimit::Retry( [&] { return ::mkostemps( path.data(), 4, O_CLOEXEC ); } );
    if ( descriptor != -1 )
        ::unlink( path.c_str() );
    return descriptor;
}

} // namespace

std::intptr_t WTemporaryFile::Create( const std::filesystem::path& inFolder )
{
    WSizeLimit::MakeItAnError();
    int descriptor = WDescriptorLimit::Retry(
        [&] { return ::open( inFolder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600 ); } );
    if ( descriptor == -1 && ( errno == EOPNOTSUPP || errno == EISDIR ) )
        descriptor = CreateAndUnlink( inFolder );
    if ( descriptor != -1 )
        return descriptor;
    WThrowErrno();
}

void WTemporaryFile::ReturnSpace(
    const WFile& inFile, std::uint64_t inPosition, std::uint64_t inCount ) noexcept
{
    ::fallocate(
        static_cast<int>( inFile.GetRawHandle() ), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
        static_cast<off_t>( inPosition ), static_cast<off_t>( inCount ) );
}
