#include "Files/WReplaceFile.h"

#include "Files/Linux/WDescriptorLimit.h"
#include "Files/Linux/WSizeLimit.h"
#include "System/Linux/WErrno.h"

#include <algorithm>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// A descriptor of which the base takes care.
class OpenedFile : public WFile
{
public:
    explicit OpenedFile( int inDescriptor ) : WFile( std::intptr_t{ inDescriptor } ) {}
};

/// A name for the open file by which it can be linked.
std::string GetProcName( const WFile& inFile )
{
    return "/proc/self/fd/" + std::to_string( inFile.GetRawHandle() );
}

} // namespace

WFile WReplaceFile::OpenUnnamed( const std::filesystem::path& inFolder, unsigned inOthers )
{
    if ( inOthers >= std::min<std::uint64_t>( kMostUnnamed, WDescriptorLimit::Get() / 4 ) )
        return {};
    WSizeLimit::MakeItAnError();
    const int descriptor = WDescriptorLimit::Retry(
        [&] { return ::open( inFolder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666 ); } );
    if ( descriptor == -1 )
        return {};
    OpenedFile file( descriptor );
    const bool hasProc = ::access( GetProcName( file ).c_str(), F_OK ) == 0;
    return hasProc ? WFile( std::move( file ) ) : WFile();
}

std::error_code WReplaceFile::Link( const WFile& inUnnamed, const std::filesystem::path& inPath )
{
    const auto name = GetProcName( inUnnamed );
    const int result = ::linkat( AT_FDCWD, name.c_str(), AT_FDCWD, inPath.c_str(), AT_SYMLINK_FOLLOW );
    return result == 0 ? std::error_code() : std::error_code( errno, std::generic_category() );
}

void WReplaceFile::CheckName( const std::filesystem::path& inFile )
{
    struct stat status = {};
    if ( ::lstat( inFile.c_str(), &status ) != 0 && errno != ENOENT )
        WThrowErrno();
}

void WReplaceFile::CheckReplaceable( const std::filesystem::path& inFile )
{
    WFile( inFile, WFile::kReadWrite ).Close();
    // In a folder such as /tmp only the owners of a file and of the folder may replace it.
    struct stat folder = {}, file = {};
    if ( ::stat( inFile.parent_path().c_str(), &folder ) != 0 || ::stat( inFile.c_str(), &file ) != 0 )
        WThrowErrno();
    const auto user = ::geteuid();
    if ( ( folder.st_mode & S_ISVTX ) != 0 && user != 0 && user != folder.st_uid && user != file.st_uid )
        WThrowErrno( EPERM );
}
