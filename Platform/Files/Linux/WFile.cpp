#include "Files/WFile.h"

#include "Files/Linux/WSizeLimit.h"
#include "System/Linux/WErrno.h"

#include <charconv>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

// Names such as /dev/stdout, /dev/fd/3 and links to them mean a descriptor that this process has open
// already. Opening them anew through /proc would start at the beginning of a file that somebody has written
// to, and fails for sockets; so the descriptor is found by its number and duplicated (FindDescriptor), which
// shares its position.
//
// Descriptors without positions (pipes, terminals) are written in order; WFile counts the bytes and rejects
// any other position.

namespace fs = std::filesystem;

namespace
{

/// Repeats a call for as long as signals interrupt it.
template<class TCall>
auto Retry( TCall inCall )
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

constexpr int kNoDescriptor = -1;

int ParseDescriptor( const std::string& inName )
{
    int descriptor = kNoDescriptor;
    const auto* const end = inName.data() + inName.size();
    const auto [rest, error] = std::from_chars( inName.data(), end, descriptor );
    return error == std::errc() && rest == end ? descriptor : kNoDescriptor;
}

bool IsLink( const fs::path& inPath )
{
    struct stat status = {};
    return ::lstat( inPath.c_str(), &status ) == 0 && S_ISLNK( status.st_mode );
}

/// The open descriptor of this process for a name such as /dev/stdout or a link to it.
int FindDescriptor( fs::path inPath )
{
    constexpr int kMostLinks = 40; // as the kernel has it
    std::error_code error;
    for ( int i = 0; i < kMostLinks && IsLink( inPath ); ++i )
    {
        const auto folder = fs::canonical( fs::absolute( inPath, error ).parent_path(), error );
        if ( error )
            return kNoDescriptor;
        const auto process = fs::canonical( "/proc/self", error ).native() + '/';
        if ( error )
            return kNoDescriptor;
        if ( folder.filename() == "fd" && folder.native().starts_with( process ) )
            return ParseDescriptor( inPath.filename() );
        inPath = folder / fs::read_symlink( inPath, error );
    }
    return kNoDescriptor;
}

void CheckDescriptor( int inDescriptor )
{
    const int flags = ::fcntl( inDescriptor, F_GETFL );
    if ( flags == -1 || ( flags & O_ACCMODE ) == O_RDONLY )
        WThrowErrno( EBADF );
}

int Duplicate( int inDescriptor )
{
    CheckDescriptor( inDescriptor );
    return ::fcntl( inDescriptor, F_DUPFD_CLOEXEC, 0 );
}

bool IsPipe( const fs::path& inPath )
{
    struct stat status = {};
    return ::stat( inPath.c_str(), &status ) == 0 && S_ISFIFO( status.st_mode );
}

/// Does not wait for a reader.
int OpenPipe( const fs::path& inPath )
{
    const int descriptor =
        Retry( [&] { return ::open( inPath.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC ); } );
    // Nobody has the pipe open for reading.
    if ( descriptor == -1 && errno == ENXIO )
    {
        WSystemError::SetLast( WSystemError::kNoPipeReader );
        XThrowLastSystemError();
    }
    if ( descriptor != -1 )
        ::fcntl( descriptor, F_SETFL, O_WRONLY );
    return descriptor;
}

/// Others may have made a descriptor that is shared with them one that does not wait.
bool WaitUntilWritable( int inDescriptor )
{
    pollfd poll = { inDescriptor, POLLOUT, 0 };
    return errno == EAGAIN && Retry( [&] { return ::poll( &poll, 1, -1 ); } ) > 0;
}

bool IsDirectory( int inDescriptor )
{
    struct stat status = {};
    return ::fstat( inDescriptor, &status ) == 0 && S_ISDIR( status.st_mode );
}

} // namespace

void WFile::Open( const fs::path& inPath, Mode inMode )
{
    Close();
    if ( inMode != kRead )
        WSizeLimit::MakeItAnError();
    // For reading, the system's own way is right.
    const int shared = inMode == kCreate ? FindDescriptor( inPath ) : kNoDescriptor;
    const auto open = [&]
    {
        if ( shared != kNoDescriptor )
            return Duplicate( shared );
        if ( inMode == kCreate && IsPipe( inPath ) )
            return OpenPipe( inPath );
        return Retry( [&] { return ::open( inPath.c_str(), GetOpenFlags( inMode ) | O_CLOEXEC, 0666 ); } );
    };
    const int descriptor = open();
    if ( descriptor == -1 )
        WThrowErrno();
    if ( IsDirectory( descriptor ) )
    {
        ::close( descriptor );
        WThrowErrno( EISDIR );
    }
    itsHandle = descriptor;
    itsHasPositions = shared == kNoDescriptor && ::lseek( descriptor, 0, SEEK_CUR ) != -1;
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
    const auto write = [&]
    {
        return itsHasPositions ? ::pwrite( file, inData, inCount, static_cast<off_t>( inPosition ) )
                               : ::write( file, inData, inCount );
    };
    auto written = Retry( write );
    while ( written == -1 && WaitUntilWritable( file ) )
        written = Retry( write );
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

bool WFile::IsDevice( const fs::path& inPath )
{
    // A file that another process has open may not be replaced.
    const bool isInProc = inPath.lexically_normal().native().starts_with( "/proc/" );
    if ( ( isInProc && IsLink( inPath ) ) || FindDescriptor( inPath ) != kNoDescriptor )
        return true;
    struct stat status = {};
    return ::stat( inPath.c_str(), &status ) == 0 && !S_ISREG( status.st_mode ) && !S_ISDIR( status.st_mode );
}

void WFile::CheckDevice( const fs::path& inPath )
{
    if ( const int descriptor = FindDescriptor( inPath ); descriptor != kNoDescriptor )
        CheckDescriptor( descriptor );
    else if ( ::access( inPath.c_str(), W_OK ) != 0 )
        WThrowErrno();
}
