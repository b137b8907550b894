#include "Files/WFile.h"

#include "Ground/XFail.h"
#include "System/WSystemError.h"

#include <string_view>

#include <windows.h>

// Reads and writes have explicit positions (OVERLAPPED without overlapped operation), as pread and pwrite
// have on Linux. Devices and pipes have no positions: their data are read and written one after the other.
// Files are opened with all sharing rights, so an open file can be renamed and deleted as on Linux.

namespace
{

HANDLE GetSystemHandle( std::intptr_t inHandle )
{
    return reinterpret_cast<HANDLE>( inHandle );
}

DWORD GetAccess( WFile::Mode inMode )
{
    return inMode == WFile::kRead ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
}

DWORD GetDisposition( WFile::Mode inMode )
{
    switch ( inMode )
    {
    case WFile::kCreate:
        return CREATE_ALWAYS;
    case WFile::kCreateNew:
        return CREATE_NEW;
    default:
        return OPEN_EXISTING;
    }
}

/// The system calls it an access error when a folder is opened as a file.
[[noreturn]] void ThrowOpenError( const std::filesystem::path& inPath )
{
    const DWORD error = ::GetLastError();
    const DWORD attributes = ::GetFileAttributesW( inPath.c_str() );
    const bool isDirectory =
        attributes != INVALID_FILE_ATTRIBUTES && ( attributes & FILE_ATTRIBUTE_DIRECTORY ) != 0;
    WSystemError::SetLast( isDirectory && error == ERROR_ACCESS_DENIED ? WSystemError::kIsDirectory : error );
    XThrowLastSystemError();
}

OVERLAPPED MakePosition( std::uint64_t inPosition )
{
    OVERLAPPED position = {};
    // With a position the handle's own pointer is not used, so threads may read at the same time.
    position.Offset = static_cast<DWORD>( inPosition & 0xFFFFFFFFu );
    position.OffsetHigh = static_cast<DWORD>( inPosition >> 32 );
    return position;
}

} // namespace

void WFile::Open( const std::filesystem::path& inPath, Mode inMode )
{
    Close();
    const HANDLE handle = ::CreateFileW(
        inPath.c_str(), GetAccess( inMode ), FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        GetDisposition( inMode ), FILE_ATTRIBUTE_NORMAL, nullptr );
    if ( handle == INVALID_HANDLE_VALUE )
        ThrowOpenError( inPath );
    itsHandle = reinterpret_cast<std::intptr_t>( handle );
    itsHasPositions = ::GetFileType( handle ) == FILE_TYPE_DISK;
    itsDevicePosition = 0;
}

bool WFile::CloseQuietly() noexcept
{
    if ( !IsOpen() )
        return true;
    const bool isClosed = ::CloseHandle( GetSystemHandle( itsHandle ) ) != 0;
    itsHandle = kNoHandle;
    return isClosed;
}

std::uint64_t WFile::ReadSome( std::uint64_t inPosition, void* outData, std::uint64_t inCount ) const
{
    OVERLAPPED position = MakePosition( inPosition );
    DWORD read = 0;
    if ( ::ReadFile(
             GetSystemHandle( itsHandle ), outData, static_cast<DWORD>( inCount ), &read,
             itsHasPositions ? &position : nullptr ) )
        return read;
    const DWORD error = ::GetLastError();
    if ( error != ERROR_HANDLE_EOF && error != ERROR_BROKEN_PIPE )
        XThrowLastSystemError();
    return 0;
}

std::uint64_t WFile::WriteSome( std::uint64_t inPosition, const void* inData, std::uint64_t inCount )
{
    OVERLAPPED position = MakePosition( inPosition );
    DWORD written = 0;
    if ( !::WriteFile(
             GetSystemHandle( itsHandle ), inData, static_cast<DWORD>( inCount ), &written,
             itsHasPositions ? &position : nullptr ) )
        XThrowLastSystemError();
    return written;
}

std::uint64_t WFile::GetSize() const
{
    if ( !itsHasPositions )
        return 0;
    LARGE_INTEGER size = {};
    if ( !::GetFileSizeEx( GetSystemHandle( itsHandle ), &size ) )
        XThrowLastSystemError();
    return static_cast<std::uint64_t>( size.QuadPart );
}

void WFile::SetSize( std::uint64_t inSize )
{
    FILE_END_OF_FILE_INFO info = {};
    info.EndOfFile.QuadPart = static_cast<LONGLONG>( inSize );
    if ( !::SetFileInformationByHandle(
             GetSystemHandle( itsHandle ), FileEndOfFileInfo, &info, sizeof( info ) ) )
        XThrowLastSystemError();
}

void WFile::Flush()
{
    if ( !itsHasPositions || ::FlushFileBuffers( GetSystemHandle( itsHandle ) ) )
        return;
    // A file that was opened for reading has nothing to flush, which the system calls an access error.
    if ( ::GetLastError() != ERROR_ACCESS_DENIED )
        XThrowLastSystemError();
}

bool WFile::IsDevice( const std::filesystem::path& inPath )
{
    wchar_t full[MAX_PATH] = {};
    const DWORD length = ::GetFullPathNameW( inPath.c_str(), MAX_PATH, full, nullptr );
    return length < MAX_PATH && std::wstring_view( full ).starts_with( L"\\\\.\\" );
}

/// This can be known only by opening the device.
void WFile::CheckDevice( const std::filesystem::path& ) {}
