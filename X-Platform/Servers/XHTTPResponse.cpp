#include "Servers/XHTTPResponse.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Servers/Internal/XHTTPText.h"

XHTTPResponse XHTTPResponse::Text( std::string inBody, std::string_view inContentType )
{
    XHTTPResponse response;
    response.itsBody = std::move( inBody );
    response.itsHeaders.Set( "Content-Type", inContentType );
    return response;
}

XHTTPResponse XHTTPResponse::Status( int inStatus )
{
    XHTTPResponse response;
    if ( inStatus != 204 && inStatus != 304 )
        response = Text(
            std::to_string( inStatus ).append( " " ).append( XHTTPText::GetReason( inStatus ) ) + "\n" );
    response.SetStatus( inStatus );
    return response;
}

XHTTPResponse XHTTPResponse::Redirect( std::string_view inLocation, int inStatus )
{
    XHTTPResponse response = Status( inStatus );
    response.itsHeaders.Set( "Location", inLocation );
    return response;
}

XHTTPResponse XHTTPResponse::File( const std::filesystem::path& inPath, std::string_view inContentType )
{
    if ( inPath.empty() )
        return Status( 404 );
    XHTTPResponse response;
    response.itsFile = inPath;
    response.itsHeaders.Set(
        "Content-Type", inContentType.empty() ? XHTTPText::GetContentType( inPath ) : inContentType );
    return response;
}

XHTTPResponse XHTTPResponse::Stream( std::string_view inContentType, XWriteBody inWrite )
{
    XHTTPResponse response;
    response.itsHeaders.Set( "Content-Type", inContentType );
    response.itsWrite = std::move( inWrite );
    return response;
}

XHTTPResponse XHTTPResponse::Events( XWriteBody inWrite )
{
    XHTTPResponse response = Stream( "text/event-stream", std::move( inWrite ) );
    response.itsHeaders.Set( "Cache-Control", "no-store" );
    return response;
}

void XHTTPResponse::SetStatus( int inStatus )
{
    if ( inStatus < 200 || inStatus > 599 )
        XThrow( kErrorBadParameters );
    itsStatus = inStatus;
}
