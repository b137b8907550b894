#include "Files/WFolders.h"

#include <cstdlib>

#include <linux/magic.h>
#include <sys/vfs.h>

namespace
{

bool LiesInMemory( const char* inPath )
{
    struct statfs status = {};
    return ::statfs( inPath, &status ) == 0 &&
        ( status.f_type == TMPFS_MAGIC || status.f_type == RAMFS_MAGIC );
}

} // namespace

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

std::filesystem::path WFolders::GetSettingsFolder()
{
    const char* home = std::getenv( "HOME" );
    return home && *home != '\0' ? std::filesystem::path( home ) / ".config" : std::filesystem::path();
}

const char* WFolders::DescribeTemporaryFolder()
{
    return "TMPDIR, or /var/tmp";
}

std::filesystem::path WFolders::GetTemporaryFolder()
{
    const char* folder = std::getenv( "TMPDIR" );
    return folder && *folder != '\0' && !LiesInMemory( folder ) ? folder : "/var/tmp";
}
