#include "NewFolder.h"

#include "WUnfinishedFiles.h"

#include <system_error>

NewFolder::NewFolder( const std::filesystem::path& inPath )
{
    const auto hold = WUnfinishedFiles::Hold();
    std::filesystem::path folder;
    for ( const auto& part : std::filesystem::absolute( inPath ).lexically_normal() )
    {
        folder /= part;
        if ( std::filesystem::is_directory( folder ) || !std::filesystem::create_directory( folder ) )
            continue;
        WUnfinishedFiles::Add( folder );
        itsMade.push_back( folder );
    }
}

NewFolder::~NewFolder()
{
    const auto hold = WUnfinishedFiles::Hold();
    for ( auto folder = itsMade.rbegin(); folder != itsMade.rend(); ++folder )
    {
        std::error_code error;
        std::filesystem::remove( *folder, error );
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
