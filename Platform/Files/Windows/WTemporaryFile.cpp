#include "Files/WTemporaryFile.h"

#include "Ground/XFail.h"

#include <atomic>
#include <string>

#include <windows.h>
#include <winioctl.h>

namespace
{

constexpr unsigned kMostNames = 100;

std::wstring MakeName()
{
    static std::atomic<unsigned> sCount = 0;
    return L"korvale-" + std::to_wstring( ::GetCurrentProcessId() ) + L"-" +
        std::to_wstring( ::GetTickCount() ) + L"-" + std::to_wstring( sCount++ ) + L".tmp";
}

HANDLE TryCreate( const std::filesystem::path& inFolder )
{
    return ::CreateFileW(
        ( inFolder / MakeName() ).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_DELETE, nullptr,
        CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr );
}

/// Requests that a file system does not support are ignored.
void Control( HANDLE inFile, DWORD inCode, void* inInput, DWORD inSize )
{
    DWORD returned = 0;
    ::DeviceIoControl( inFile, inCode, inInput, inSize, nullptr, 0, &returned, nullptr );
}

} // namespace

std::intptr_t WTemporaryFile::Create( const std::filesystem::path& inFolder )
{
    for ( unsigned i = 0; i < kMostNames; ++i )
    {
        const HANDLE handle = TryCreate( inFolder );
        if ( handle != INVALID_HANDLE_VALUE )
        {
            Control( handle, FSCTL_SET_SPARSE, nullptr, 0 ); // only a sparse file can give space back
            return reinterpret_cast<std::intptr_t>( handle );
        }
        if ( ::GetLastError() != ERROR_FILE_EXISTS )
            break;
    }
    XThrowLastSystemError();
}

void WTemporaryFile::ReturnSpace(
    const WFile& inFile, std::uint64_t inPosition, std::uint64_t inCount ) noexcept
{
    FILE_ZERO_DATA_INFORMATION range = {};
    range.FileOffset.QuadPart = static_cast<LONGLONG>( inPosition );
    range.BeyondFinalZero.QuadPart = static_cast<LONGLONG>( inPosition + inCount );
    Control(
        reinterpret_cast<HANDLE>( inFile.GetRawHandle() ), FSCTL_SET_ZERO_DATA, &range, sizeof( range ) );
}
