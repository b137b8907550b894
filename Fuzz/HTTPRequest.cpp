// The conversation of an HTTP server with a client that has sent certain bytes and then closed. The first byte chooses the
// limits. Whatever comes, the answers are HTTP, nothing outside the served folder is in them, and handlers see no path
// that leads upwards.

#include "FuzzTools.h"
#include "MemoryEndpoint.h"

#include "Servers/Internal/XHTTPConnection.h"
#include "Servers/XHTTPBodyWriter.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace
{

constexpr char kSecret[] = "what nobody may read";

/// Keeps what is sent.
class RecordingEndpointImp : public MemoryEndpointImp
{
public:
    RecordingEndpointImp( const std::uint8_t* inBytes, std::size_t inCount, std::string& outSent )
        : MemoryEndpointImp( inBytes, inCount ), itsSent( outSent )
    {
    }
    void SendData( const void* buffer, std::uint32_t length, std::uint32_t ) override
    {
        itsSent.append( static_cast<const char*>( buffer ), length );
    }

private:
    std::string& itsSent;
};

/// A folder with a file and a folder beside it that is not served.
class Folder
{
public:
    Folder() : itsPath( std::filesystem::temp_directory_path() / "korvale-fuzz-http" )
    {
        std::filesystem::create_directories( itsPath / "site" );
        std::ofstream( itsPath / "site" / "a.txt" ) << "0123456789";
        std::ofstream( itsPath / "secret" ) << kSecret;
    }
    std::filesystem::path GetSite() const { return itsPath / "site"; }

private:
    std::filesystem::path itsPath;
};

void RequireSoundPath( const std::string& inPath )
{
    Require( inPath.starts_with( '/' ) && inPath.find( '\0' ) == std::string::npos );
    Require( inPath.find( "/../" ) == std::string::npos && !inPath.ends_with( "/.." ) );
}

std::unique_ptr<XHTTPSite> MakeSite( const XHTTPServer::XLimits& inLimits )
{
    static const Folder sFolder;
    auto site = std::make_unique<XHTTPSite>( inLimits );
    const auto echo = []( const XHTTPRequest& inRequest )
    {
        RequireSoundPath( inRequest.GetPath() );
        inRequest.GetParameters();
        return XHTTPResponse::Text( std::to_string( inRequest.GetBody().size() ) );
    };
    const auto stream = []( const XHTTPRequest& ) {
        return XHTTPResponse::Stream(
            "text/plain", []( XHTTPBodyWriter& ioWriter ) { ioWriter.Write( "x" ); } );
    };
    site->Add( "/", { echo, echo } );
    site->Add( "/s", { stream, nullptr } );
    site->AddFolder( "/f/", sFolder.GetSite() );
    return site;
}

const XHTTPSite& GetSite( bool inIsSmall )
{
    static const std::unique_ptr<XHTTPSite> sSmall = []
    {
        XHTTPServer::XLimits limits;
        limits.headerBytes = 64;
        limits.bodyBytes = 8;
        return MakeSite( limits );
    }();
    static const std::unique_ptr<XHTTPSite> sLarge = MakeSite( {} );
    return inIsSmall ? *sSmall : *sLarge;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    PrepareCore();
    if ( inSize < 1 )
        return 0;
    std::string sent;
    XNetEndpoint endpoint( std::make_unique<RecordingEndpointImp>( inData + 1, inSize - 1, sent ) );
    RequireDocumentedErrors(
        { 3100 }, [&] { XHTTPConnection( GetSite( inData[0] % 2 == 0 ), endpoint ).Serve( [] {} ); } );
    Require( sent.empty() || sent.starts_with( "HTTP/1.1 " ) );
    Require( sent.find( kSecret ) == std::string::npos );
    return 0;
}
