#include "NewFolder.h"

#include "WFilePath.h"
#include "WUnfinishedFiles.h"

NewFolder::NewFolder( const std::filesystem::path& inPath )
{
    std::vector<std::filesystem::path> missing;
    const auto path = WFilePath::Normalise( inPath );
    for ( auto folder = path; folder.has_relative_path() && !WFilePath::IsFolder( folder );
          folder = folder.parent_path() )
        missing.push_back( folder );

    const auto hold = WUnfinishedFiles::Hold();
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
    if ( !std::filesystem::create_directory( inFolder ) )
        return;
    WUnfinishedFiles::Add( inFolder );
    itsMade.push_back( inFolder );
}

void NewFolder::RemoveMade()
{
    const auto hold = WUnfinishedFiles::Hold();
    for ( auto folder = itsMade.rbegin(); folder != itsMade.rend(); ++folder )
    {
        WFilePath::Remove( *folder );
        WUnfinishedFiles::Forget( *folder );
    }
}

void NewFolder::Keep()
{
    const auto hold = WUnfinishedFiles::Hold();
    for ( const auto& folder : itsMade )
        WUnfinishedFiles::Forget( folder );
    itsMade.clear();
}
