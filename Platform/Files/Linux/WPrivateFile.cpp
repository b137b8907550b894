#include "Files/WPrivateFile.h"

#include "Files/Linux/WDescriptorLimit.h"
#include "Files/Linux/WSizeLimit.h"
#include "System/Linux/WErrno.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

WPrivateFile WPrivateFile::CreateNew( const std::filesystem::path& inPath )
{
    WSizeLimit::MakeItAnError();
    const int descriptor = WDescriptorLimit::Retry(
        [&] { return ::open( inPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600 ); } );
    if ( descriptor == -1 )
        WThrowErrno();
    return WPrivateFile( descriptor );
}

void WPrivateFile::CreateFolder( const std::filesystem::path& inPath )
{
    if ( ::mkdir( inPath.c_str(), 0700 ) != 0 )
        WThrowErrno();
}

void WPrivateFile::RestrictFolder( const std::filesystem::path& inPath )
{
    if ( ::chmod( inPath.c_str(), 0700 ) != 0 )
        WThrowErrno();
}

/// Access lists of the file system show in the bits of the group.
bool WPrivateFile::IsOpenToOthers( const WFile& inFile )
{
    struct stat status = {};
    if ( ::fstat( static_cast<int>( inFile.GetRawHandle() ), &status ) != 0 )
        WThrowErrno();
    const bool isOwn = status.st_uid == ::geteuid() || status.st_uid == 0;
    return !isOwn || ( status.st_mode & ( S_IRWXG | S_IRWXO ) ) != 0;
}
