#include "Files/WReplaceFile.h"

#include "Ground/XFail.h"

#include <system_error>

#include <windows.h>

/// The system has none.
WFile WReplaceFile::OpenUnnamed( const std::filesystem::path&, unsigned )
{
    return {};
}

std::error_code WReplaceFile::Link( const WFile&, const std::filesystem::path& )
{
    return std::make_error_code( std::errc::not_supported );
}

void WReplaceFile::CheckName( const std::filesystem::path& inFile )
{
    constexpr std::size_t kLongestName = 255; // of all its file systems
    if ( inFile.filename().native().size() > kLongestName )
    {
        ::SetLastError( ERROR_FILENAME_EXCED_RANGE );
        XThrowLastSystemError();
    }
    if ( ::GetFileAttributesW( inFile.c_str() ) == INVALID_FILE_ATTRIBUTES &&
         ::GetLastError() != ERROR_FILE_NOT_FOUND )
        XThrowLastSystemError();
}

void WReplaceFile::CheckReplaceable( const std::filesystem::path& inFile )
{
    WFile( inFile, WFile::kReadWrite ).Close();
    // A program that has the file open may allow others to write it, and yet not to replace it.
    const HANDLE file = ::CreateFileW(
        inFile.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr );
    if ( file == INVALID_HANDLE_VALUE )
        XThrowLastSystemError();
    ::CloseHandle( file );
}
