#include "Servers/Internal/XHTTPSite.h"

#include "Files/WFilePath.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Servers/Internal/XHTTPText.h"

#include <algorithm>

namespace
{

using Path = std::filesystem::path;

/// Whether the name may be one that a system has made up for a file with a longer one, such as HIDDEN~1.
bool MayBeShortened( const std::string& inName )
{
    for ( std::size_t at = inName.find( '~' ); at != std::string::npos; at = inName.find( '~', at + 1 ) )
        if ( at + 1 < inName.size() && inName[at + 1] >= '0' && inName[at + 1] <= '9' )
            return true;
    return false;
}

/// Names that every system reads literally: not hidden, not empty, without special meaning on any system.
bool IsPlainName( const std::string& inName )
{
    return !inName.empty() && inName.front() != '.' && inName.back() != '.' && inName.back() != ' ' &&
        inName.find_first_of( "\\:*?\"<>|" ) == std::string::npos && !MayBeShortened( inName ) &&
        std::ranges::none_of(
            inName, []( char inCharacter ) { return static_cast<unsigned char>( inCharacter ) < ' '; } );
}

Path ToPath( const std::string& inText )
{
    return Path( std::u8string( inText.begin(), inText.end() ) );
}

/// Whether the file is in the folder after resolving all links.
bool LiesIn( const Path& inFile, const Path& inFolder )
{
    std::error_code error;
    const Path file = std::filesystem::canonical( inFile, error );
    const Path folder = error ? Path() : std::filesystem::canonical( inFolder, error );
    if ( error )
        return false;
    return std::mismatch( folder.begin(), folder.end(), file.begin(), file.end() ).first == folder.end();
}

XHTTPResponse ServeFile( const Path& inFolder, const std::string& inBase, const XHTTPRequest& inRequest )
{
    Path file = inFolder;
    std::vector<std::string> names = XHTTPText::Split( inRequest.GetPath().substr( inBase.size() ), '/' );
    const bool isFolder = names.back().empty();
    if ( isFolder )
        names.back() = "index.html";
    if ( !std::ranges::all_of( names, IsPlainName ) )
        return XHTTPResponse::Status( 404 );
    for ( const std::string& name : names )
        file /= ToPath( name );
    std::error_code error;
    if ( !LiesIn( file, inFolder ) || WFilePath::IsFolder( file ) )
        return XHTTPResponse::Status( 404 );
    return XHTTPResponse::File( file );
}

} // namespace

void XHTTPSite::Add( const std::string& inPath, XHandlers inHandlers )
{
    if ( !inPath.starts_with( '/' ) )
        XThrow( kErrorBadParameters );
    XHandlers& handlers = itsHandlers[inPath];
    if ( inHandlers.get )
        handlers.get = std::move( inHandlers.get );
    if ( inHandlers.post )
        handlers.post = std::move( inHandlers.post );
}

void XHTTPSite::AddFolder( const std::string& inPath, const Path& inFolder )
{
    if ( !inPath.ends_with( '/' ) )
        XThrow( kErrorBadParameters );
    const auto serve = [inFolder, inPath]( const XHTTPRequest& inRequest )
    {
        try
        {
            return ServeFile( inFolder, inPath, inRequest );
        }
        catch ( const std::system_error& ) // a name that the system cannot have
        {
            return XHTTPResponse::Status( 404 );
        }
    };
    Add( inPath, { serve, nullptr } );
}

/// The path itself, else the longest that ends with '/' and begins it.
const XHTTPSite::XHandlers* XHTTPSite::Find( const std::string& inPath ) const
{
    if ( const auto found = itsHandlers.find( inPath ); found != itsHandlers.end() )
        return &found->second;
    for ( std::size_t slash = inPath.rfind( '/' ); slash != std::string::npos;
          slash = slash == 0 ? std::string::npos : inPath.rfind( '/', slash - 1 ) )
        if ( const auto found = itsHandlers.find( inPath.substr( 0, slash + 1 ) );
             found != itsHandlers.end() )
            return &found->second;
    return nullptr;
}
