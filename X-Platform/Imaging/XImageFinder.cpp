#include "Imaging/XImageFinder.h"

#include "Files/WFilePath.h"
#include "Files/WFolderContents.h"
#include "Files/WWildcards.h"
#include "Images/WImageFile.h"

#include <algorithm>

namespace
{
/// Orders paths part by part. UTF-8 has the same order on every system.
std::u8string GetOrderKey( const std::filesystem::path& inPath )
{
    auto key = inPath.generic_u8string();
    std::ranges::replace( key, u8'/', u8'\0' );
    return key;
}

void SortPaths( std::vector<std::filesystem::path>& ioPaths )
{
    std::vector<std::pair<std::u8string, std::filesystem::path>> keyed;
    for ( auto& path : ioPaths )
        keyed.emplace_back( GetOrderKey( path ), std::move( path ) );
    std::ranges::sort(
        keyed, {}, []( const auto& inEach ) -> const auto& { return inEach.first; } );
    for ( std::size_t i = 0; i < keyed.size(); ++i )
        ioPaths[i] = std::move( keyed[i].second );
}

std::filesystem::path Join( const std::filesystem::path& inFolder, const std::filesystem::path& inName )
{
    return inFolder.empty() ? inName : inFolder / inName;
}
} // namespace

std::uint64_t XImageFinder::Add( const std::filesystem::path& inName )
{
    const auto before = itsFiles.size();
    if ( WWildcards::HasWildcards( inName ) && !WFilePath::Exists( inName ) )
    {
        for ( const auto& path : Expand( inName ) )
            if ( WFilePath::IsFolder( path ) )
                AddFolder( path );
            else
                itsFiles.push_back( path );
    }
    else if ( WFilePath::IsFolder( inName ) )
        AddFolder( inName );
    else
        itsFiles.push_back( inName );
    return itsFiles.size() - before;
}

void XImageFinder::AddFolder( const std::filesystem::path& inFolder )
{
    XPaths files, folders{ inFolder };
    while ( !folders.empty() )
    {
        const auto folder = std::move( folders.back() );
        folders.pop_back();
        AddContents( folder, files, folders );
    }
    SortPaths( files );
    itsFiles.insert( itsFiles.end(), files.begin(), files.end() );
}

void XImageFinder::AddContents( const std::filesystem::path& inFolder, XPaths& ioFiles, XPaths& ioFolders )
{
    std::error_code error;
    for ( const auto& entry : WFolderContents::List( inFolder, error ) )
    {
        const auto path = Join( inFolder, entry.name );
        if ( entry.kind == WFolderContents::kFolder && itsIsRecursive )
            ioFolders.push_back( path );
        else if ( entry.kind == WFolderContents::kFile && WImageFile::MayBeImage( path ) )
            ioFiles.push_back( path );
        else if ( entry.kind == WFolderContents::kFile )
            ++itsSkippedCount;
    }
    if ( error )
        itsFailures.push_back( { inFolder, error.message() } );
}

/// The existing paths of the folders whose last part matches.
XImageFinder::XPaths XImageFinder::Match( const XPaths& inFolders, const std::filesystem::path& inPattern )
{
    XPaths paths;
    for ( const auto& folder : inFolders )
    {
        if ( !WWildcards::HasWildcards( inPattern ) )
        {
            const auto path = Join( folder, inPattern );
            if ( WFilePath::Exists( path ) )
                paths.push_back( path );
            continue;
        }
        std::error_code error; // A file is no folder that can be listed; neither can one without permission.
        for ( const auto& entry :
              WFolderContents::List( folder.empty() ? std::filesystem::path( "." ) : folder, error ) )
            if ( WWildcards::Matches( entry.name, inPattern ) )
                paths.push_back( Join( folder, entry.name ) );
        if ( error && WFilePath::IsFolder( folder ) )
            itsFailures.push_back( { folder, error.message() } );
    }
    return paths;
}

XImageFinder::XPaths XImageFinder::Expand( const std::filesystem::path& inPattern )
{
    XPaths paths{ inPattern.root_path() };
    for ( const auto& part : inPattern.relative_path() )
        paths = Match( paths, part );
    SortPaths( paths );
    return paths;
}
