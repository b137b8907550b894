#include "WFile.h"

#include "WErrno.h"
#include "WSizeLimit.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// Repeats a call for as long as signals interrupt it.
template<class Call>
auto Retry( Call inCall )
{
    for ( ;; )
    {
        const auto result = inCall();
        if ( result != -1 || errno != EINTR )
            return result;
    }
}

int GetDescriptor( std::intptr_t inHandle )
{
    return static_cast<int>( inHandle );
}

int GetOpenFlags( WFile::Mode inMode )
{
    switch ( inMode )
    {
    case WFile::kRead:
        return O_RDONLY;
    case WFile::kReadWrite:
        return O_RDWR;
    case WFile::kCreate:
        return O_RDWR | O_CREAT | O_TRUNC;
    case WFile::kCreateNew:
        return O_RDWR | O_CREAT | O_EXCL;
    }
    return O_RDONLY;
}

bool IsDirectory( int inDescriptor )
{
    struct stat status = {};
    return ::fstat( inDescriptor, &status ) == 0 && S_ISDIR( status.st_mode );
}

} // namespace

void WFile::Open( const std::filesystem::path& inPath, Mode inMode )
{
    Close();
    if ( inMode != kRead )
        WSizeLimit::MakeItAnError();
    const int descriptor =
        Retry( [&] { return ::open( inPath.c_str(), GetOpenFlags( inMode ) | O_CLOEXEC, 0666 ); } );
    if ( descriptor == -1 )
        WThrowErrno();
    if ( IsDirectory( descriptor ) )
    {
        ::close( descriptor );
        WThrowErrno( EISDIR );
    }
    itsHandle = descriptor;
    itsHasPositions = ::lseek( descriptor, 0, SEEK_CUR ) != -1;
    itsDevicePosition = 0;
}

bool WFile::CloseQuietly() noexcept
{
    if ( !IsOpen() )
        return true;
    const int result = ::close( GetDescriptor( itsHandle ) );
    itsHandle = kNoHandle;
    // An interrupted close has released the descriptor all the same.
    if ( result == 0 || errno == EINTR )
        return true;
    WSystemError::SetLast( WSystemError::FromErrno( errno ) );
    return false;
}

std::uint64_t WFile::ReadSome( std::uint64_t inPosition, void* outData, std::uint64_t inCount ) const
{
    const int file = GetDescriptor( itsHandle );
    const auto read = Retry(
        [&]
        {
            return itsHasPositions ? ::pread( file, outData, inCount, static_cast<off_t>( inPosition ) )
                                   : ::read( file, outData, inCount );
        } );
    if ( read == -1 )
        WThrowErrno();
    return static_cast<std::uint64_t>( read );
}

std::uint64_t WFile::WriteSome( std::uint64_t inPosition, const void* inData, std::uint64_t inCount )
{
    const int file = GetDescriptor( itsHandle );
    const auto written = Retry(
        [&]
        {
            return itsHasPositions ? ::pwrite( file, inData, inCount, static_cast<off_t>( inPosition ) )
                                   : ::write( file, inData, inCount );
        } );
    if ( written == -1 )
        WThrowErrno();
    return static_cast<std::uint64_t>( written );
}

std::uint64_t WFile::GetSize() const
{
    struct stat status = {};
    if ( ::fstat( GetDescriptor( itsHandle ), &status ) == -1 )
        WThrowErrno();
    return S_ISREG( status.st_mode ) ? static_cast<std::uint64_t>( status.st_size ) : 0;
}

void WFile::SetSize( std::uint64_t inSize )
{
    const auto size = static_cast<off_t>( inSize );
    if ( Retry( [&] { return ::ftruncate( GetDescriptor( itsHandle ), size ); } ) == -1 )
        WThrowErrno();
}

void WFile::Flush()
{
    if ( Retry( [&] { return ::fdatasync( GetDescriptor( itsHandle ) ); } ) == 0 )
        return;
    // That is how pipes and devices say that there is nothing to keep.
    if ( errno != EINVAL && errno != EROFS )
        WThrowErrno();
}

bool WFile::IsDevice( const std::filesystem::path& inPath )
{
    const auto path = inPath.lexically_normal().native();
    struct stat status = {};
    // Names such as /dev/stdout may lead to a file, but it is not theirs to replace.
    const bool isSystemName = path.starts_with( "/dev/" ) || path.starts_with( "/proc/" );
    if ( isSystemName && ::lstat( path.c_str(), &status ) == 0 && S_ISLNK( status.st_mode ) )
        return true;
    return ::stat( path.c_str(), &status ) == 0 && !S_ISREG( status.st_mode ) && !S_ISDIR( status.st_mode );
}
