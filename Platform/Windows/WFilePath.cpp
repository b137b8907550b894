#include "WFilePath.h"

#include <string>

#include <windows.h>

namespace fs = std::filesystem;

namespace
{

/// An open file or folder, for asking about it only.
class Probe
{
public:
    explicit Probe( const fs::path& inPath )
        : itsHandle( ::CreateFileW(
              inPath.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr ) )
    {
    }
    Probe( const Probe& ) = delete;
    Probe& operator=( const Probe& ) = delete;
    ~Probe()
    {
        if ( itsHandle != INVALID_HANDLE_VALUE )
            ::CloseHandle( itsHandle );
    }
    HANDLE Get() const { return itsHandle; }

private:
    const HANDLE itsHandle;
};

/// Calls a function of the system that takes a buffer and its length, and gives the length needed where it is too short.
template<class Call>
std::wstring ReadText( Call inCall )
{
    std::wstring text( MAX_PATH, L'\0' );
    for ( ;; )
    {
        const DWORD length = inCall( text.data(), static_cast<DWORD>( text.size() ) );
        const bool isComplete = length < text.size();
        text.resize( length );
        if ( isComplete )
            return text; // Empty after a failure.
    }
}

/// The form that all functions of the system take.
std::wstring RemovePrefix( const std::wstring& inPath )
{
    const std::wstring local = L"\\\\?\\", network = L"\\\\?\\UNC\\";
    if ( inPath.starts_with( network ) )
        return L"\\\\" + inPath.substr( network.size() );
    return inPath.starts_with( local ) ? inPath.substr( local.size() ) : inPath;
}

} // namespace

fs::path WFilePath::ResolveLinks( const fs::path& inPath, std::error_code& outError )
{
    outError.clear();
    const Probe file( inPath );
    const auto final = ReadText(
        [&]( wchar_t* outText, DWORD inLength )
        { return ::GetFinalPathNameByHandleW( file.Get(), outText, inLength, FILE_NAME_NORMALIZED ); } );
    if ( !final.empty() )
        return RemovePrefix( final );
    return ReadText( [&]( wchar_t* outText, DWORD inLength )
                     { return ::GetFullPathNameW( inPath.c_str(), inLength, outText, nullptr ); } );
}

bool WFilePath::FindNumbers( const fs::path& inPath, Key& outKey )
{
    const Probe file( inPath );
    BY_HANDLE_FILE_INFORMATION info = {};
    if ( !::GetFileInformationByHandle( file.Get(), &info ) )
        return false;
    outKey = {
        info.dwVolumeSerialNumber, ( std::uint64_t{ info.nFileIndexHigh } << 32 ) | info.nFileIndexLow };
    return true;
}

/// The system cuts off dots and blanks at the end.
fs::path::string_type WFilePath::FoldName( const fs::path& inName )
{
    auto name = inName.native();
    name.erase( name.find_last_not_of( L". " ) + 1 );
    ::CharLowerBuffW( name.data(), static_cast<DWORD>( name.size() ) );
    return name;
}
