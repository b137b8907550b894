#include "Servers/Internal/XHTTPConnection.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XString.h"
#include "Core/Times/XTimer.h"
#include "Ground/XErrorNumbers.h"
#include "Servers/Internal/XHTTPParser.h"
#include "Servers/Internal/XHTTPText.h"
#include "Servers/XHTTPBodyWriter.h"
#include "Services/XSessionLogManager.h"
#include "Threads/XStopThreadException.h"

#include <algorithm>

// One request after the other, on the responder's thread. Bytes are received into itsInput and fed to the
// parser, which takes as much as it can use; what is left over belongs to the next request (pipelining). The
// head of a response is collected in itsOutput and sent with the body in one call if the body is small, since
// each call is a segment of its own.
//
// Time limits against slow clients: idleMS for the first byte of a request, requestMS for its whole header,
// requestMS plus what the received bytes have earned for its body, sendMS for each piece of the response. A
// limit that starts anew with every byte would let a client hold its place forever.
//
// What makes a connection end after its response: an error of the request (what follows cannot be delimited),
// a client that does not want it kept, or a body of unknown length for a client of HTTP/1.0, whose end is the
// end of the connection.

namespace
{

constexpr std::uint32_t kReceiveBytes = 16 * 1024;
constexpr std::uint64_t kFilePiece = 256 * 1024;
constexpr std::uint32_t kLingerMS = 1000;

// A larger body is sent by itself: copying it would cost more than another call.
constexpr std::size_t kMostBodyBesideHead = 64 * 1024;

bool AllowsBody( int inStatus )
{
    return inStatus != 204 && inStatus != 304;
}

/// Whether it is a field that the server alone can know.
bool IsOfServer( std::string_view inName )
{
    return std::ranges::any_of(
        std::initializer_list<std::string_view>{
            "Date", "Connection", "Content-Length", "Transfer-Encoding" },
        [&]( std::string_view inOwn ) { return XHTTPHeaders::AreEqual( inName, inOwn ); } );
}

/// A method of HTTP that this server does not have; others mean nothing to it.
bool IsKnownMethod( const std::string& inMethod )
{
    return std::ranges::any_of(
        std::initializer_list<const char*>{ "PUT", "DELETE", "PATCH", "OPTIONS", "TRACE", "CONNECT" },
        [&]( const char* inKnown ) { return inMethod == inKnown; } );
}

const char* GetAllowedMethods( const XHTTPSite::XHandlers& inHandlers )
{
    return !inHandlers.post ? "GET, HEAD" : !inHandlers.get ? "POST" : "GET, HEAD, POST";
}

bool IsTimeOut( const XException& inError )
{
    return inError.GetErrorNumber() == kErrorConnectionTimedOut;
}

/// Names a request in the log, whatever the client has put into its path.
XString DescribeRequest( const XHTTPRequest& inRequest )
{
    std::string path = inRequest.GetPath().substr( 0, 200 );
    std::ranges::replace_if(
        path, []( char inCharacter ) { return static_cast<unsigned char>( inCharacter ) < ' '; }, '?' );
    return "HTTP request for " + XString::FromUTF8( path );
}

} // namespace

XHTTPConnection::XHTTPConnection( const XHTTPSite& inSite, XNetEndpoint& inEndpoint )
    : itsSite( inSite ), itsEndpoint( inEndpoint )
{
}

XHTTPConnection::~XHTTPConnection()
{
    if ( itsIsAdmitted )
        --itsSite.connections;
}

/// A client that does not read its response or does not close at the end is not worth a report.
void XHTTPConnection::Serve( const std::function<void()>& inIsAdmitted )
{
    try
    {
        while ( ServeRequest( inIsAdmitted ) )
            ;
        itsEndpoint.Disconnect(
            kLingerMS ); // so that the client reads the last answer before it detects the end
    }
    catch ( const XException& error )
    {
        if ( !IsTimeOut( error ) )
            throw;
    }
}

/// Whether another request may follow.
bool XHTTPConnection::ServeRequest( const std::function<void()>& inIsAdmitted )
{
    if ( !AwaitRequest() )
        return false;
    XHTTPParser parser( itsSite.limits.headerBytes, itsSite.limits.bodyBytes );
    XHTTPRequest& request = parser.GetRequest();
    int status = ReceiveHeader( parser );
    if ( status == 0 )
        status = Admit( inIsAdmitted ) ? Check( request ) : 503;
    if ( status == 0 && !parser.IsDone() )
        status = ReceiveBody( parser );
    // The rest of the request has not been read, so nothing after it can be understood.
    if ( status != 0 )
    {
        Refuse( request, status );
        return false;
    }
    request.itsPeer = itsEndpoint.GetRemoteAddress();
    bool keepsAlive = parser.KeepsAlive();
    XHTTPResponse response = MakeResponse( request );
    Send( request, response, keepsAlive );
    return keepsAlive;
}

/// Whether there is room for the connection. One that is refused stays a stranger, of which there are never too many.
bool XHTTPConnection::Admit( const std::function<void()>& inIsAdmitted )
{
    if ( itsIsAdmitted )
        return true;
    // Counted first, so that two connections cannot both take the last place.
    if ( ++itsSite.connections > itsSite.limits.mostConnections )
    {
        --itsSite.connections;
        return false;
    }
    itsIsAdmitted = true;
    inIsAdmitted();
    return true;
}

// ---- Receiving

/// Waits for the first byte of a request; line breaks before it do not count. False where none comes.
bool XHTTPConnection::AwaitRequest()
{
    const XTimer timer( itsSite.limits.idleMS );
    for ( ;; )
    {
        for ( ; itsInput.GetCount() > 0; itsInput.Drop( 1 ) )
            if ( *itsInput.GetData() != '\r' && *itsInput.GetData() != '\n' )
                return true;
        if ( timer.HasExpired() || !ReceiveMore( timer.GetRemainingMS() ) )
            return false;
    }
}

/// False when the time is over.
bool XHTTPConnection::ReceiveMore( std::uint32_t inTimeoutMS )
{
    try
    {
        std::uint8_t* const room = itsInput.MakeRoom( kReceiveBytes );
        itsInput.Commit( itsEndpoint.ReceiveAnyData( room, kReceiveBytes, inTimeoutMS ) );
        return true;
    }
    catch ( const XException& error )
    {
        if ( !IsTimeOut( error ) )
            throw;
        return false;
    }
}

void XHTTPConnection::Feed( XHTTPParser& ioParser )
{
    itsInput.Drop( ioParser.Put( itsInput.GetData(), itsInput.GetCount() ) );
}

/// 0, or the status to refuse the request with.
int XHTTPConnection::ReceiveHeader( XHTTPParser& ioParser )
{
    const XTimer timer( itsSite.limits.requestMS );
    for ( ;; )
    {
        Feed( ioParser );
        if ( ioParser.GetError() != 0 || ioParser.HasHeader() )
            return ioParser.GetError();
        if ( timer.HasExpired() || !ReceiveMore( timer.GetRemainingMS() ) )
            return 408;
    }
}

/// The time limit grows with the received bytes, so that a large body may take longer, but a client cannot
/// prolong it at will.
int XHTTPConnection::ReceiveBody( XHTTPParser& ioParser )
{
    const XHTTPServer::XLimits& limits = itsSite.limits;
    XHTTPRequest& request = ioParser.GetRequest();
    // A client that already sends its body needs no permission.
    if ( itsInput.GetCount() == 0 && request.GetVersion() >= 11 && request.GetHeaders().Has( "Expect" ) )
    {
        itsOutput = "HTTP/1.1 100 Continue\r\n\r\n";
        Flush();
    }
    ioParser.ReadBody();
    XTimer timer( limits.requestMS );
    for ( ;; )
    {
        if ( itsInput.GetCount() > 0 )
            Feed( ioParser );
        if ( ioParser.GetError() != 0 || ioParser.IsDone() )
            return ioParser.GetError();
        const std::uint64_t earnedMS =
            request.GetBody().size() * 1000 / std::max<std::uint32_t>( limits.leastBytesPerSecond, 1 );
        timer.SetLimitMS( static_cast<std::uint32_t>(
            std::min<std::uint64_t>( limits.requestMS + earnedMS, kNoTimeout - 1 ) ) );
        if ( timer.HasExpired() || !ReceiveMore( timer.GetRemainingMS() ) )
            return 408;
    }
}

// ---- Answering

/// What can be said by the header already: 0, or the status to refuse the request with.
int XHTTPConnection::Check( const XHTTPRequest& inRequest ) const
{
    const std::string& method = inRequest.GetMethod();
    const XHTTPSite::XHandlers* const handlers = itsSite.Find( inRequest.GetPath() );
    if ( method != "GET" && method != "HEAD" && method != "POST" )
        return !IsKnownMethod( method ) ? 501 : handlers ? 405 : 404;
    const XHTTPHeaders& headers = inRequest.GetHeaders();
    if ( headers.Has( "Expect" ) && !XHTTPHeaders::AreEqual( headers.Get( "Expect" ), "100-continue" ) )
        return 417;
    if ( method == "POST" && !headers.Has( "Content-Length" ) && !headers.Has( "Transfer-Encoding" ) )
        return handlers && !handlers->post ? 405 : 411;
    return 0;
}

XHTTPResponse XHTTPConnection::MakeResponse( const XHTTPRequest& inRequest ) const
{
    try
    {
        return CallHandler( inRequest );
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& error )
    {
        if ( XSessionLogManager* const log = XSessionLogManager::GetManager(); log && error.ShouldLogError() )
            log->AddException( error, kLogWarning, DescribeRequest( inRequest ) );
    }
    catch ( const std::exception& error )
    {
        XSessionLogManager::Log( kLogWarning, DescribeRequest( inRequest ) + ": " + error.what() );
    }
    catch ( ... )
    {
        XSessionLogManager::Log(
            kLogWarning, DescribeRequest( inRequest ) + ": an exception of an unknown kind" );
    }
    return XHTTPResponse::Status( 500 );
}

XHTTPResponse XHTTPConnection::CallHandler( const XHTTPRequest& inRequest ) const
{
    const bool isPost = inRequest.GetMethod() == "POST";
    const XHTTPSite::XHandlers* const handlers = itsSite.Find( inRequest.GetPath() );
    if ( !handlers )
        return XHTTPResponse::Status( 404 );
    if ( const XHTTPServer::XHandler& handler = isPost ? handlers->post : handlers->get )
        return handler( inRequest );
    XHTTPResponse response = XHTTPResponse::Status( 405 );
    response.GetHeaders().Set( "Allow", GetAllowedMethods( *handlers ) );
    return response;
}

/// Answers a request that has not been read completely; nothing can follow on the connection.
void XHTTPConnection::Refuse( const XHTTPRequest& inRequest, int inStatus )
{
    XHTTPResponse response = XHTTPResponse::Status( inStatus );
    if ( inStatus == 405 )
        response.GetHeaders().Set( "Allow", GetAllowedMethods( *itsSite.Find( inRequest.GetPath() ) ) );
    AddHead( response, false, false );
    AddLength( response.GetBody().size() );
    itsOutput += response.GetBody();
    Flush();
}

void XHTTPConnection::Send( const XHTTPRequest& inRequest, XHTTPResponse& ioResponse, bool& ioKeepsAlive )
{
    const bool isHead = inRequest.GetMethod() == "HEAD";
    const bool isOld = inRequest.GetVersion() < 11;
    std::optional<XHTTPFilePart> part;
    if ( !ioResponse.itsFile.empty() )
        part.emplace( inRequest, ioResponse.itsFile, ioResponse );
    else if ( XHTTPFilePart::HasConditions( inRequest, ioResponse ) )
        if ( const int status = XHTTPFilePart::CheckConditions( inRequest, ioResponse.GetHeaders() ) )
        {
            ioResponse.SetStatus( status );
            ioResponse.itsBody.clear();
            ioResponse.itsWrite = nullptr;
        }
    const bool isFile = !ioResponse.itsFile.empty();
    const bool isStream = ioResponse.itsWrite && AllowsBody( ioResponse.GetStatus() );
    ioKeepsAlive = ioKeepsAlive && !( isStream && isOld );
    AddHead( ioResponse, ioKeepsAlive, isOld );
    if ( isStream )
        itsOutput += isOld ? "\r\n" : "Transfer-Encoding: chunked\r\n\r\n";
    else if ( AllowsBody( ioResponse.GetStatus() ) )
        AddLength( isFile ? part->GetLength() : ioResponse.itsBody.size() );
    else
        itsOutput += "\r\n";
    // HEAD has the header of GET, its Content-Length included, without the body.
    if ( isHead || !AllowsBody( ioResponse.GetStatus() ) )
        return Flush();
    if ( isStream )
    {
        Flush();
        XHTTPBodyWriter writer( itsEndpoint, itsInput, itsSite.limits.sendMS, !isOld );
        ioResponse.itsWrite( writer );
        return writer.Finish();
    }
    if ( isFile )
        return SendFile( *part );
    if ( ioResponse.itsBody.size() > kMostBodyBesideHead )
    {
        Flush();
        itsOutput = std::move( ioResponse.itsBody );
    }
    else
        itsOutput += ioResponse.itsBody;
    Flush();
}

void XHTTPConnection::AddHead( const XHTTPResponse& inResponse, bool inKeepsAlive, bool inIsOld )
{
    itsOutput = "HTTP/1.1 ";
    itsOutput.append( std::to_string( inResponse.GetStatus() ) ).append( " " );
    itsOutput.append( XHTTPText::GetReason( inResponse.GetStatus() ) ).append( "\r\nDate: " );
    itsOutput.append( GetDate() ).append( "\r\n" );
    if ( !inKeepsAlive )
        itsOutput += "Connection: close\r\n";
    else if ( inIsOld )
        itsOutput += "Connection: keep-alive\r\n";
    for ( const XHTTPHeaders::XField& field : inResponse.GetHeaders().GetFields() )
        if ( !IsOfServer( field.name ) )
            itsOutput.append( field.name ).append( ": " ).append( field.value ).append( "\r\n" );
}

/// The date as HTTP writes it, made once a second at most.
const std::string& XHTTPConnection::GetDate()
{
    const XTime now = XTime::Now();
    if ( const std::int64_t second = now.GetPlatformTime(); itsDate.empty() || second != itsDateSecond )
    {
        itsDateSecond = second;
        itsDate = now.GetInternetTimeString().GetStringView();
    }
    return itsDate;
}

/// Ends the head.
void XHTTPConnection::AddLength( std::uint64_t inLength )
{
    itsOutput.append( "Content-Length: " ).append( std::to_string( inLength ) ).append( "\r\n\r\n" );
}

/// Sends the file after the header in the output. If the file is truncated meanwhile, the connection ends,
/// because its length has been announced.
void XHTTPConnection::SendFile( const XHTTPFilePart& inPart )
{
    std::uint64_t left = inPart.GetLength();
    for ( std::uint64_t position = inPart.GetBegin(); left > 0; )
    {
        const std::size_t used = itsOutput.size();
        const std::uint64_t wanted = std::min( left, kFilePiece );
        itsOutput.resize( used + wanted );
        const std::uint64_t count = inPart.GetFile().ReadAt( position, itsOutput.data() + used, wanted );
        itsOutput.resize( used + count );
        Flush();
        if ( count < wanted )
            XThrow( kErrorDisconnected );
        position += count;
        left -= count;
    }
    Flush();
}

void XHTTPConnection::Flush()
{
    constexpr std::size_t kMostPiece = 1 << 30; // a count of 32 bits
    for ( std::string_view bytes = itsOutput; !bytes.empty();
          bytes.remove_prefix( std::min( bytes.size(), kMostPiece ) ) )
        itsEndpoint.SendData(
            bytes.data(), static_cast<std::uint32_t>( std::min( bytes.size(), kMostPiece ) ),
            itsSite.limits.sendMS );
    itsOutput.clear();
}
