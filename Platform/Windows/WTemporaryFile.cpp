#include "WTemporaryFile.h"

#include "Core/XFail.h"

#include <atomic>
#include <string>

#include <windows.h>

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

} // namespace

std::intptr_t WTemporaryFile::Create( const std::filesystem::path& inFolder )
{
    for ( unsigned i = 0; i < kMostNames; ++i )
    {
        const HANDLE handle = TryCreate( inFolder );
        if ( handle != INVALID_HANDLE_VALUE )
            return reinterpret_cast<std::intptr_t>( handle );
        if ( ::GetLastError() != ERROR_FILE_EXISTS )
            break;
    }
    XThrowLastSystemError();
}
