#include "Outputs/NewFolder.h"

#include "Files/WFilePath.h"
#include "Files/WPendingFiles.h"

// Creates a folder together with its missing parents, from the outermost to the innermost, and removes those
// it has made, in the opposite order, unless they are kept. They are registered as pending files meanwhile,
// so an interrupt removes them too. A folder that another program creates in between is not an error and not
// removed.

NewFolder::NewFolder( const std::filesystem::path& inPath )
{
    std::vector<std::filesystem::path> missing;
    const auto path = WFilePath::Normalise( inPath );
    for ( auto folder = path; folder.has_relative_path() && !WFilePath::IsFolder( folder );
          folder = folder.parent_path() )
        missing.push_back( folder );

    const auto hold = WPendingFiles::Hold();
    try
    {
        for ( auto folder = missing.rbegin(); folder != missing.rend(); ++folder )
            Make( *folder );
    }
    catch ( ... )
    {
        RemoveMade();
        throw;
    }
}

NewFolder::~NewFolder()
{
    RemoveMade();
}

void NewFolder::Make( const std::filesystem::path& inFolder )
{
    // What takes memory comes first.
    auto folder = inFolder;
    itsMade.reserve( itsMade.size() + 1 );
    WPendingFiles::Add( inFolder );
    std::error_code error;
    if ( std::filesystem::create_directory( inFolder, error ) )
        return itsMade.push_back( std::move( folder ) );
    WPendingFiles::Forget( inFolder );
    if ( error )
        throw std::filesystem::filesystem_error( "cannot create the folder", inFolder, error );
}

void NewFolder::RemoveMade()
{
    const auto hold = WPendingFiles::Hold();
    for ( auto folder = itsMade.rbegin(); folder != itsMade.rend(); ++folder )
    {
        WFilePath::Remove( *folder );
        WPendingFiles::Forget( *folder );
    }
}

void NewFolder::Keep()
{
    const auto hold = WPendingFiles::Hold();
    for ( const auto& folder : itsMade )
        WPendingFiles::Forget( folder );
    itsMade.clear();
}
