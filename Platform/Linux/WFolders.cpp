#include "WFolders.h"

#include <cstdlib>

std::filesystem::path WFolders::GetUserFolder()
{
    // A relative path in the variable is to be ignored.
    if ( const char* state = std::getenv( "XDG_STATE_HOME" );
         state && std::filesystem::path( state ).is_absolute() )
        return state;
    if ( const char* home = std::getenv( "HOME" ); home && *home != '\0' )
        return std::filesystem::path( home ) / ".local" / "state";
    return {};
}
