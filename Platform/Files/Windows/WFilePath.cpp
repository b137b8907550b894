#include "Files/WFilePath.h"

#include <string>
#include <string_view>

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

/// Calls a system function that takes a buffer and its length, and that returns the required length if the
/// buffer is too short.
template<class TCall>
std::wstring ReadSystemText( TCall inCall )
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

/// Of paths that the system takes as they are.
constexpr std::wstring_view kPrefix = L"\\\\?\\", kNetworkPrefix = L"\\\\?\\UNC\\";

/// The form that all functions of the system take.
std::wstring RemovePrefix( const std::wstring& inPath )
{
    if ( inPath.starts_with( kNetworkPrefix ) )
        return L"\\\\" + inPath.substr( kNetworkPrefix.size() );
    return inPath.starts_with( kPrefix ) ? inPath.substr( kPrefix.size() ) : inPath;
}

} // namespace

fs::path WFilePath::ResolveLinks( const fs::path& inPath, std::error_code& outError )
{
    outError.clear();
    const Probe file( inPath );
    const auto final = ReadSystemText(
        [&]( wchar_t* outText, DWORD inLength )
        { return ::GetFinalPathNameByHandleW( file.Get(), outText, inLength, FILE_NAME_NORMALIZED ); } );
    // A file that does not exist yet has no links to resolve, as far as the system tells.
    if ( final.empty() )
        return Normalise( inPath );
    return inPath.native().starts_with( kPrefix ) ? final : RemovePrefix( final );
}

fs::path WFilePath::Normalise( const fs::path& inPath )
{
    const auto full =
        ReadSystemText( [&]( wchar_t* outText, DWORD inLength )
                        { return ::GetFullPathNameW( inPath.c_str(), inLength, outText, nullptr ); } );
    return full.empty() ? inPath : fs::path( full ); // Else all paths that it cannot read were one.
}

/// The system leaves folders by `..` whether they are missing or not, so there are none left.
fs::path WFilePath::LeaveMissingFolders( const fs::path& inPath )
{
    return inPath;
}

bool WFilePath::IsFolder( const fs::path& inPath )
{
    const DWORD attributes = ::GetFileAttributesW( inPath.c_str() );
    return attributes != INVALID_FILE_ATTRIBUTES && ( attributes & FILE_ATTRIBUTE_DIRECTORY ) != 0;
}

bool WFilePath::Remove( const fs::path& inPath ) noexcept
{
    return ( IsFolder( inPath ) ? ::RemoveDirectoryW( inPath.c_str() ) : ::DeleteFileW( inPath.c_str() ) ) !=
        0;
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
