#include "Options/ImageNames.h"

#include "Files/WWildcards.h"
#include "Support/FilePaths.h"
#include "Support/WrongUsage.h"

std::vector<std::string> ExpandImageNames( const std::vector<std::string>& inNames )
{
    std::vector<std::string> names;
    for ( const auto& name : inNames )
    {
        const auto paths = WWildcards::Expand( PathFromUTF8( name ) );
        if ( paths.empty() )
            throw WrongUsage( "no file matches " + name );
        for ( const auto& path : paths )
            names.push_back( PathToUTF8( path ) );
    }
    return names;
}
