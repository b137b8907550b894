#include "Files/WFolderContents.h"

bool WFolderContents::IsHiddenName( const std::filesystem::path& inName )
{
    return inName.native().starts_with( '.' );
}

std::vector<WFolderContents::Entry>
WFolderContents::List( const std::filesystem::path& inFolder, std::error_code& outError )
{
    std::vector<Entry> entries;
    std::filesystem::directory_iterator each( inFolder, outError );
    for ( ; !outError && each != std::filesystem::directory_iterator(); each.increment( outError ) )
    {
        const auto name = each->path().filename();
        if ( IsHiddenName( name ) )
            continue;
        std::error_code ignored; // A link that leads nowhere is another kind of file.
        const auto isLink = each->is_symlink( ignored );
        const auto type = each->status( ignored ).type();
        if ( type == std::filesystem::file_type::directory )
            entries.push_back( { name, isLink ? kLinkedFolder : kFolder } );
        else
            entries.push_back( { name, type == std::filesystem::file_type::regular ? kFile : kOther } );
    }
    return entries;
}
