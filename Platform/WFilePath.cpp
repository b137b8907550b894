#include "WFilePath.h"

namespace fs = std::filesystem;

namespace
{

/// The path without folders that are missing and left again by `..`: once they are made, both paths are one.
fs::path LeaveMissingFolders( const fs::path& inPath )
{
    fs::path path;
    for ( const auto& part : inPath )
        if ( part == ".." && !path.empty() && !WFilePath::Exists( path ) )
            path = path.parent_path();
        else if ( part != "." )
            path /= part;
    return path;
}

} // namespace

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
