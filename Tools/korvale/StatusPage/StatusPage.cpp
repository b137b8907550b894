#include "StatusPage/StatusPage.h"

#include "Servers/XHTTPBodyWriter.h"
#include "StatusPage/PageFiles.h"

namespace
{
constexpr std::uint32_t kPollMS = 250;    // from one look for changes to the next
constexpr std::uint32_t kPingMS = 15'000; // without changes: finds clients that have vanished
constexpr std::size_t kPieceBytes = 64 * 1024;

/// Nobody needs more to read the page, and each connection may take as much.
XHTTPServer::XLimits GetLimits()
{
    XHTTPServer::XLimits limits;
    limits.bodyBytes = 4096;
    limits.sendMS = 5000;
    return limits;
}

XHTTPResponse Fixed( std::string_view inText, std::string_view inContentType )
{
    return XHTTPResponse::Text( std::string( inText ), inContentType );
}

/// The host of a Host field, without the port.
std::string_view GetHost( std::string_view inField )
{
    return inField.substr( 0, inField.find( ':' ) );
}

bool IsLoopBackAddress( std::string_view inHost )
{
    return inHost.starts_with( "127." ) &&
        inHost.find_first_not_of( "0123456789." ) == std::string_view::npos;
}

/// Each connection copies the piece that it sends.
void SendPieces( std::string_view inText, XHTTPBodyWriter& ioWriter )
{
    for ( ; !inText.empty(); inText.remove_prefix( std::min( inText.size(), kPieceBytes ) ) )
        ioWriter.Write( inText.substr( 0, kPieceBytes ) );
}

void AddProtection( XHTTPHeaders& ioHeaders )
{
    ioHeaders.Set(
        "Content-Security-Policy",
        "default-src 'none'; style-src 'self'; script-src 'self'; connect-src 'self'; img-src data:; "
        "base-uri 'none'; form-action 'none'; frame-ancestors 'none'" );
    ioHeaders.Set( "X-Content-Type-Options", "nosniff" );
    ioHeaders.Set( "Referrer-Policy", "no-referrer" );
    ioHeaders.Set( "Cache-Control", "no-store" );
}
} // namespace

StatusPage::StatusPage( std::function<XNetJobStatus()> inGetStatus )
    : itsFeed( std::move( inGetStatus ) ), itsServer( "status page", GetLimits() )
{
    itsServer.HandleGet(
        "/",
        [this]( const XHTTPRequest& inRequest )
        {
            XHTTPResponse response = Respond( inRequest );
            AddProtection( response.GetHeaders() );
            return response;
        } );
}

void StatusPage::Start( const NetworkPlace& inPlace )
{
    itsHost = inPlace.GetHost();
    itsIsLoopBack = inPlace.IsLoopBack();
    itsServer.Start( inPlace.GetAddress() );
}

XHTTPResponse StatusPage::Respond( const XHTTPRequest& inRequest )
{
    if ( !IsForThisHost( inRequest ) )
        return XHTTPResponse::Status( 403 );
    const std::string& path = inRequest.GetPath();
    if ( path == "/" )
        return RespondWith( StatusFeed::kPage, "text/html; charset=utf-8" );
    if ( path == "/status.json" )
        return RespondWith( StatusFeed::kJSON, "application/json" );
    if ( path == "/metrics" )
        return RespondWith( StatusFeed::kMetrics, "text/plain; version=0.0.4; charset=utf-8" );
    if ( path == "/events" )
        return XHTTPResponse::Events( [this]( XHTTPBodyWriter& ioWriter ) { SendEvents( ioWriter ); } );
    if ( path == "/page.css" )
        return Fixed( PageFiles::kStyle, "text/css; charset=utf-8" );
    if ( path == "/page.js" )
        return Fixed( PageFiles::kScript, "text/javascript; charset=utf-8" );
    return XHTTPResponse::Status( 404 );
}

XHTTPResponse StatusPage::RespondWith( StatusFeed::Form inForm, std::string_view inContentType )
{
    const StatusFeed::Text text = itsFeed.Get( inForm );
    if ( !text )
        return XHTTPResponse::Status( 503 );
    return XHTTPResponse::Stream(
        inContentType, [text]( XHTTPBodyWriter& ioWriter ) { SendPieces( *text, ioWriter ); } );
}

void StatusPage::SendEvents( XHTTPBodyWriter& ioWriter )
{
    std::weak_ptr<const std::string> sent; // weak, so that texts do not last as long as connections
    XTimer pingTimer( kPingMS );
    do
    {
        const StatusFeed::Text text = itsFeed.Get( StatusFeed::kEvent );
        if ( text && text != sent.lock() )
            SendPieces( *text, ioWriter );
        else if ( !pingTimer.HasExpired() )
            continue;
        else
            ioWriter.Write( ":\n\n" ); // a comment
        sent = text;
        pingTimer.Restart();
    } while ( ioWriter.Sleep( kPollMS ) );
}

bool StatusPage::IsForThisHost( const XHTTPRequest& inRequest ) const
{
    if ( !itsIsLoopBack || !inRequest.GetHeaders().Has( "Host" ) ) // browsers send one
        return true;
    const std::string field = inRequest.GetHeader( "Host" );
    const std::string_view host = GetHost( field );
    return XHTTPHeaders::AreEqual( host, "localhost" ) || XHTTPHeaders::AreEqual( host, itsHost ) ||
        IsLoopBackAddress( host );
}
