#include "Files/WWildcards.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include <windows.h>

// The matching is the usual one with a single point of return: when a comparison fails, only the last `*` is
// lengthened, since an earlier one could not match better. That is O(name * pattern) at worst, without
// recursion.

namespace
{

struct FindCloser
{
    void operator()( HANDLE inFind ) const { ::FindClose( inFind ); }
};

std::wstring ToUpper( std::wstring_view inText )
{
    std::wstring upper( inText );
    const auto length = static_cast<int>( inText.size() );
    ::LCMapStringEx(
        LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, inText.data(), length, upper.data(), length, nullptr, nullptr,
        0 );
    return upper;
}

/// Both in upper case. After a mismatch the last `*` takes one character more.
bool Matches( std::wstring_view inName, std::wstring_view inPattern )
{
    std::size_t name = 0, pattern = 0, star = std::wstring_view::npos, starName = 0;
    while ( name < inName.size() )
    {
        if ( pattern < inPattern.size() && inPattern[pattern] == L'*' )
        {
            star = pattern++;
            starName = name;
        }
        else if (
            pattern < inPattern.size() &&
            ( inPattern[pattern] == L'?' || inPattern[pattern] == inName[name] ) )
        {
            ++pattern;
            ++name;
        }
        else if ( star != std::wstring_view::npos )
        {
            pattern = star + 1;
            name = ++starName;
        }
        else
            return false;
    }
    return inPattern.find_first_not_of( L'*', pattern ) == std::wstring_view::npos;
}

bool IsLess( const std::wstring& inLeft, const std::wstring& inRight )
{
    const auto order = ::CompareStringOrdinal(
        inLeft.data(), static_cast<int>( inLeft.size() ), inRight.data(), static_cast<int>( inRight.size() ),
        TRUE );
    return order == CSTR_LESS_THAN;
}

/// The system's own matching also checks the short names of files, so that `*.tif` matches `a.tiff`.
std::vector<std::wstring> FindNames( const std::wstring& inFolder, const std::wstring& inPattern )
{
    constexpr DWORD kPassedOver = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN;
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW data = {};
    const HANDLE handle = ::FindFirstFileW( ( inFolder + L'*' ).c_str(), &data );
    if ( handle == INVALID_HANDLE_VALUE )
        return names;
    const std::unique_ptr<void, FindCloser> closer( handle );
    const auto pattern = ToUpper( inPattern == L"*.*" ? L"*" : inPattern );
    do
        if ( ( data.dwFileAttributes & kPassedOver ) == 0 && Matches( ToUpper( data.cFileName ), pattern ) )
            names.emplace_back( data.cFileName );
    while ( ::FindNextFileW( handle, &data ) );
    std::ranges::sort( names, IsLess );
    return names;
}

} // namespace

std::vector<std::filesystem::path> WWildcards::Expand( const std::filesystem::path& inPath )
{
    const auto& text = inPath.native();
    const auto nameStart = text.find_last_of( L"\\/:" ) + 1; // 0 without any
    const auto pattern = text.substr( nameStart );
    if ( pattern.find_first_of( L"*?" ) == std::wstring::npos )
        return { inPath };
    const auto folder = text.substr( 0, nameStart );
    std::vector<std::filesystem::path> paths;
    for ( const auto& name : FindNames( folder, pattern ) )
        paths.emplace_back( folder + name );
    return paths;
}
