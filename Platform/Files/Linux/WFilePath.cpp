#include "Files/WFilePath.h"

#include <algorithm>
#include <cstdio>

#include <sys/stat.h>

namespace fs = std::filesystem;

fs::path WFilePath::ResolveLinks( const fs::path& inPath, std::error_code& outError )
{
    constexpr int kMostLinks = 40; // as the kernel has it
    auto path = fs::absolute( inPath, outError );
    for ( int i = 0; i < kMostLinks && !outError; ++i )
    {
        std::error_code ignored;
        if ( !fs::is_symlink( fs::symlink_status( path, ignored ) ) )
            return path;
        path = path.parent_path() / fs::read_symlink( path, outError );
    }
    if ( !outError )
        outError = std::make_error_code( std::errc::too_many_symbolic_link_levels );
    return inPath;
}

fs::path WFilePath::LeaveMissingFolders( const fs::path& inPath )
{
    fs::path path;
    for ( const auto& part : inPath )
        if ( part == ".." && !path.empty() && !Exists( path ) )
            path = path.parent_path();
        else if ( part != "." )
            path /= part;
    return path;
}

fs::path WFilePath::Normalise( const fs::path& inPath )
{
    return fs::absolute( inPath ).lexically_normal();
}

bool WFilePath::IsFolder( const fs::path& inPath )
{
    struct stat status = {};
    return ::stat( inPath.c_str(), &status ) == 0 && S_ISDIR( status.st_mode );
}

bool WFilePath::Remove( const fs::path& inPath ) noexcept
{
    return ::remove( inPath.c_str() ) == 0;
}

bool WFilePath::FindNumbers( const fs::path& inPath, Key& outKey )
{
    struct stat status = {};
    if ( ::stat( inPath.c_str(), &status ) != 0 )
        return false;
    outKey = { status.st_dev, status.st_ino };
    return true;
}

/// ASCII only, which is what people type in one case here and in the other there.
fs::path::string_type WFilePath::FoldName( const fs::path& inName )
{
    auto name = inName.native();
    std::ranges::transform(
        name, name.begin(),
        []( char inLetter ) {
            return inLetter >= 'A' && inLetter <= 'Z' ? static_cast<char>( inLetter - 'A' + 'a' ) : inLetter;
        } );
    return name;
}
