#include "Servers/XHTTPClient.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XString.h"
#include "Core/Times/XTimer.h"
#include "Ground/XErrorNumbers.h"
#include "Jobs/XProgress.h"
#include "Servers/Internal/XHTTPText.h"
#include "Sockets/WHTTPTransfer.h"
#include "Threads/XCheckpoint.h"

#include <algorithm>

// The system's library does one exchange (WHTTPTransfer); here is what should be the same on every system:
// redirections, time limits, the size limit, the length check and the errors.
//
// Redirections. 301, 302 and 303 turn a POST into a GET without a body, 307 and 308 repeat the request. A
// secure request is not redirected to an insecure URL, and credentials are not sent to another origin.
//
// Time limits. itsTotal covers the request with all its redirections, itsStall the time since the last
// progress in either direction, which starts when the connection has been made.

namespace
{

using XReply = XHTTPClient::XReply;
using XSettings = XHTTPClient::XSettings;

constexpr std::string_view kPlain = "http://";
constexpr std::string_view kSecure = "https://";

/// Names the URL and the reason.
class TransferException : public XException
{
public:
    TransferException( std::uint32_t inNumber, const std::string& inURL, const std::string& inReason )
        : XException( inNumber ), itsText( inReason.empty() ? inURL : inURL + ": " + inReason )
    {
    }
    XString GetRawErrorMessage() const override
    {
        return XString( itsText ) + ": " + XException::GetRawErrorMessage();
    }

private:
    std::string itsText;
};

bool HasScheme( std::string_view inURL, std::string_view inScheme )
{
    return XHTTPHeaders::AreEqual( inURL.substr( 0, inScheme.size() ), inScheme );
}

bool IsSecure( std::string_view inURL )
{
    return HasScheme( inURL, kSecure );
}

/// Scheme, host and port: the part before the path.
std::string_view GetOrigin( std::string_view inURL )
{
    const std::size_t host = IsSecure( inURL ) ? kSecure.size() : kPlain.size();
    return inURL.substr( 0, inURL.find_first_of( "/?#", host ) );
}

void CheckURL( const std::string& inURL )
{
    const bool isPlain = std::ranges::all_of( inURL, []( char c ) { return c > ' ' && c < '\x7F'; } );
    if ( !isPlain || !( HasScheme( inURL, kPlain ) || IsSecure( inURL ) ) )
        throw TransferException( kErrorBadParameters, inURL, "not a URL of http or https" );
    if ( GetOrigin( inURL ).find( '@' ) != std::string_view::npos ) // which the text must not show
        throw TransferException( kErrorBadParameters, "URL", "a user's name in a URL is not supported" );
}

/// A path without the parts "." and "..", which lead to itself and upwards.
std::string WithoutDots( std::string_view inPath )
{
    std::vector<std::string> kept;
    const std::vector<std::string> parts = XHTTPText::Split( inPath.substr( 1 ), '/' );
    for ( const std::string& part : parts )
    {
        const bool isDots = part == "." || part == "..";
        if ( part == ".." && !kept.empty() )
            kept.pop_back();
        if ( !isDots )
            kept.push_back( part );
        else if ( &part == &parts.back() )
            kept.emplace_back();
    }
    std::string path;
    for ( const std::string& part : kept )
        path += "/" + part;
    return path;
}

/// Resolves the location in a reply relative to the requested URL.
std::string Resolve( const std::string& inBase, std::string_view inLocation )
{
    const std::string_view location = inLocation.substr( 0, inLocation.find( '#' ) );
    // An absolute URL: a colon before the first slash ends a scheme.
    if ( location.find( ':' ) < location.find_first_of( "/?" ) )
        return std::string( location );
    if ( location.starts_with( "//" ) )
        return ( IsSecure( inBase ) ? "https:" : "http:" ) + std::string( location );
    const std::string origin( GetOrigin( inBase ) );
    const std::size_t query = std::min( location.find( '?' ), location.size() );
    if ( location.starts_with( '/' ) )
        return origin + WithoutDots( location.substr( 0, query ) ).append( location.substr( query ) );
    std::string path = inBase.substr( origin.size(), inBase.find_first_of( "?#" ) - origin.size() );
    if ( path.empty() )
        path = "/";
    // A relative path replaces the last part of the base's path; a query alone keeps it.
    if ( query > 0 )
        path.resize( path.rfind( '/' ) + 1 );
    path += location.substr( 0, query );
    return origin + WithoutDots( path ).append( location.substr( query ) );
}

bool IsRedirection( const XReply& inReply )
{
    const int status = inReply.status;
    return ( status == 301 || status == 302 || status == 303 || status == 307 || status == 308 ) &&
        inReply.headers.Has( "Location" );
}

/// Takes one reply, and watches over its time and size.
class Receiver : public WHTTPTransfer::Client
{
public:
    Receiver(
        const XSettings& inSettings, const XTimer& inTotal, XProgress& ioProgress, const std::string& inURL )
        : itsSettings( inSettings ), itsTotal( inTotal ), itsProgress( ioProgress ), itsURL( inURL ),
          itsStall( inSettings.stallMS )
    {
        itsReply.url = inURL;
    }

    void TakeStatus( int inStatus ) override
    {
        itsReply.status = inStatus;
        // A provisional reply (1xx) has come before: only the last head counts.
        itsReply.headers = {};
        itsStall.Restart();
    }

    void TakeField( std::string_view inName, std::string_view inValue ) override
    {
        if ( XHTTPHeaders::IsValid( inName, inValue ) )
            itsReply.headers.Add( inName, inValue );
        if ( !XHTTPHeaders::AreEqual( inName, "Content-Length" ) )
            return;
        const auto length = XHTTPText::ReadNumber( inValue );
        if ( length )
            itsProgress.SetMaxProgress( *length );
        itsHasLength = length.has_value();
    }

    void TakeBody( std::string_view inBytes ) override
    {
        if ( inBytes.size() > itsSettings.mostBodyBytes - itsReply.body.size() )
            throw TransferException(
                kErrorNetworkService, itsURL,
                "the reply has more than " + std::to_string( itsSettings.mostBodyBytes ) + " bytes" );
        itsReply.body += inBytes;
        itsStall.Restart();
    }

    void LookAround( bool inIsConnected, std::uint64_t inSent ) override
    {
        XRunCheckpoint();
        if ( itsHasLength )
            itsProgress.SetProgress( static_cast<double>( itsReply.body.size() ) );
        else
            itsProgress.SetProgressIndeterminate();
        itsProgress.YieldAndCheckAbort();
        if ( !inIsConnected || inSent != itsSent )
            itsStall.Restart();
        itsSent = inSent;
        if ( itsTotal.HasExpired() || itsStall.HasExpired() )
            throw TransferException( kErrorConnectionTimedOut, itsURL, {} );
    }

    /// Throws 3100 if less has arrived than was announced, 3052 if the fields announce different lengths: not
    /// every library checks this.
    XReply& GetReply()
    {
        const bool hasBody = itsReply.status != 204 && itsReply.status != 304;
        if ( hasBody && itsReply.headers.Has( "Content-Length" ) && itsReply.body.size() < GetLength() )
            throw TransferException( kErrorDisconnected, itsURL, {} );
        return itsReply;
    }

private:
    /// The length that all fields for it agree on.
    std::uint64_t GetLength() const
    {
        const std::string text = itsReply.headers.Get( "Content-Length" );
        const std::vector<std::string> lengths = XHTTPText::Split( text, ',' );
        const auto read = []( std::string_view inText )
        { return XHTTPText::ReadNumber( XHTTPText::Trim( inText ) ); };
        const auto length = read( lengths.front() );
        if ( !length ||
             !std::ranges::all_of( lengths, [&]( auto& inText ) { return read( inText ) == length; } ) )
            throw TransferException(
                kErrorNetworkService, itsURL, "the reply has the length \"" + text + "\"" );
        return *length;
    }

    const XSettings& itsSettings;
    const XTimer& itsTotal;
    XProgress& itsProgress;
    const std::string& itsURL;
    XReply itsReply;
    XTimer itsStall;
    std::uint64_t itsSent = 0;
    bool itsHasLength = false;
};

std::uint32_t ToErrorNumber( WHTTPTransfer::Failure inFailure )
{
    switch ( inFailure )
    {
    case WHTTPTransfer::kBadURL:
        return kErrorBadParameters;
    case WHTTPTransfer::kHostNotFound:
        return kErrorHostNotFound;
    case WHTTPTransfer::kRefused:
        return kErrorConnectionRefused;
    case WHTTPTransfer::kTimedOut:
        return kErrorConnectionTimedOut;
    case WHTTPTransfer::kDisconnected:
        return kErrorDisconnected;
    case WHTTPTransfer::kNotAvailable:
        return kErrorLibraryNotFound;
    default:
        return kErrorNetworkService;
    }
}

/// A request with its redirections.
class Conversation
{
public:
    Conversation( const XSettings& inSettings, const XHTTPHeaders& inHeaders )
        : itsSettings( inSettings ), itsHeaders( inHeaders ), itsTotal( inSettings.totalMS )
    {
        for ( const char* name : { "Content-Length", "Transfer-Encoding", "Expect" } )
            itsHeaders.Remove( name );
    }

    XReply Ask( std::string inMethod, std::string inURL, std::string_view inBody )
    {
        for ( std::uint32_t redirects = 0;; ++redirects )
        {
            CheckURL( inURL );
            XReply reply = AskOnce( inMethod, inURL, inBody );
            if ( itsSettings.mostRedirects == 0 || !IsRedirection( reply ) )
                return reply;
            if ( redirects == itsSettings.mostRedirects )
                throw TransferException(
                    kErrorNetworkService, inURL,
                    "more than " + std::to_string( redirects ) + " redirections" );
            if ( reply.status != 307 && reply.status != 308 )
            {
                inMethod = "GET";
                inBody = {};
                for ( const char* name : { "Content-Type", "Content-Encoding", "Content-Language" } )
                    itsHeaders.Remove( name );
            }
            Follow( inURL, Resolve( inURL, reply.headers.Get( "Location" ) ) );
        }
    }

private:
    XReply AskOnce( const std::string& inMethod, const std::string& inURL, std::string_view inBody )
    {
        constexpr std::uint32_t kDelayMS = 2000;
        constexpr std::uint32_t kMostMS = 0x7FFFFFFF; // libraries count in an int
        XProgress progress( 1, XProgress::kProgressTransfer, kDelayMS );
        WHTTPTransfer::Request request;
        request.method = inMethod;
        request.url = inURL.substr( 0, inURL.find( '#' ) );
        request.body = inBody;
        request.connectTimeoutMS = std::clamp<std::uint32_t>(
            std::min( itsSettings.connectMS, itsTotal.GetRemainingMS() ), 1, kMostMS );
        request.stallTimeoutMS = std::min( itsSettings.stallMS, itsTotal.GetRemainingMS() );
        request.authorityFile = itsSettings.authorityFile;
        request.usesProxy = itsSettings.usesProxy;
        for ( const XHTTPHeaders::XField& field : itsHeaders.GetFields() )
            request.fields.push_back( field.name + ": " + field.value );
        Receiver receiver( itsSettings, itsTotal, progress, inURL );
        const WHTTPTransfer::Outcome outcome = WHTTPTransfer::Run( request, receiver );
        if ( outcome.failure != WHTTPTransfer::kNone )
            throw TransferException( ToErrorNumber( outcome.failure ), inURL, outcome.detail );
        return std::move( receiver.GetReply() );
    }

    /// Fields that belong to one server are not sent to another.
    void Follow( std::string& ioURL, const std::string& inNext )
    {
        if ( IsSecure( ioURL ) && !IsSecure( inNext ) )
            throw TransferException( kErrorNetworkService, ioURL, "a redirection from https to http" );
        if ( !XHTTPHeaders::AreEqual( GetOrigin( ioURL ), GetOrigin( inNext ) ) )
            for ( const char* name : { "Authorization", "Proxy-Authorization", "Cookie" } )
                itsHeaders.Remove( name );
        ioURL = inNext;
    }

    const XSettings& itsSettings;
    XHTTPHeaders itsHeaders;
    const XTimer itsTotal;
};

} // namespace

XReply XHTTPClient::Get( const std::string& inURL, const XHTTPHeaders& inHeaders ) const
{
    return Conversation( itsSettings, inHeaders ).Ask( "GET", inURL, {} );
}

XReply
XHTTPClient::Post( const std::string& inURL, std::string_view inBody, const XHTTPHeaders& inHeaders ) const
{
    return Conversation( itsSettings, inHeaders ).Ask( "POST", inURL, inBody );
}
