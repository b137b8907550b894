#include "Files/WFilePath.h"

namespace fs = std::filesystem;

WFilePath::Key WFilePath::GetKey( const fs::path& inPath )
{
    Key key;
    if ( FindNumbers( inPath, key ) )
        return key;
    std::error_code ignored;
    const auto path = LeaveMissingFolders( ResolveLinks( inPath, ignored ) );
    if ( FindNumbers( path, key ) )
        return key;
    const auto folder = path.parent_path();
    if ( folder == path )
        return { 0, 0, path.native() };
    key = GetKey( folder );
    key.name += fs::path::preferred_separator + FoldName( path.filename() );
    return key;
}

bool WFilePath::Exists( const fs::path& inPath )
{
    Key key;
    return FindNumbers( inPath, key );
}
