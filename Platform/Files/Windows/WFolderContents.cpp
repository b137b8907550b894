#include "Files/WFolderContents.h"

#include <memory>

#include <windows.h>

namespace
{
struct FindCloser
{
    void operator()( HANDLE inFind ) const { ::FindClose( inFind ); }
};

WFolderContents::Kind GetKind( DWORD inAttributes )
{
    if ( ( inAttributes & FILE_ATTRIBUTE_DIRECTORY ) == 0 )
        return WFolderContents::kFile;
    return inAttributes & FILE_ATTRIBUTE_REPARSE_POINT ? WFolderContents::kLinkedFolder
                                                       : WFolderContents::kFolder;
}

std::error_code GetLastFindError()
{
    return std::error_code( static_cast<int>( ::GetLastError() ), std::system_category() );
}
} // namespace

bool WFolderContents::IsHiddenName( const std::filesystem::path& inName )
{
    return inName.native().starts_with( L'.' );
}

std::vector<WFolderContents::Entry>
WFolderContents::List( const std::filesystem::path& inFolder, std::error_code& outError )
{
    outError.clear();
    std::vector<Entry> entries;
    const auto pattern = ( inFolder.empty() ? std::filesystem::path( L"*" ) : inFolder / L"*" ).native();
    WIN32_FIND_DATAW data = {};
    const HANDLE handle = ::FindFirstFileW( pattern.c_str(), &data );
    if ( handle == INVALID_HANDLE_VALUE )
    {
        outError = GetLastFindError();
        return entries;
    }
    const std::unique_ptr<void, FindCloser> closer( handle );
    do
        if ( ( data.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN ) == 0 && !IsHiddenName( data.cFileName ) )
            entries.push_back( { data.cFileName, GetKind( data.dwFileAttributes ) } );
    while ( ::FindNextFileW( handle, &data ) );
    if ( ::GetLastError() != ERROR_NO_MORE_FILES )
        outError = GetLastFindError();
    return entries;
}
