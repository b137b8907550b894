#pragma once

#include "Servers/XHTTPRequest.h"
#include "Servers/XHTTPResponse.h"
#include "Servers/XNetServer.h"

class XHTTPSite;

/// Serves HTTP/1.1 and 1.0 on a port: GET and HEAD, POST, connections that stay for the next request, bodies in chunks, and
/// folders of files with ranges and conditional requests. A thread serves each connection.
///
///     XHTTPServer server( "status" );
///     server.HandleGet( "/status", []( const XHTTPRequest& ) { return XHTTPResponse::Text( "idle" ); } );
///     server.ServeFolder( "/files/", folder );
///     server.Start( 8080 );
///
/// A request that is malformed, or that two readers could read in two ways, is refused with 400 and the end of the
/// connection; 408 is for one that comes too slowly, 413 for a body that is too large, 431 for a header that is.
///
/// Who may connect may ask for everything: the server has no notion of users and no encryption.
///
/// Threads: handlers and folders are named before the start; handlers are called on the threads of the connections,
/// several at a time. `Start` and `Stop` one at a time; the rest from any thread.
class KORVALE_API XHTTPServer
{
public:
    /// What it throws is answered with 500, and logged.
    using XHandler = std::function<XHTTPResponse( const XHTTPRequest& )>;

    struct XLimits
    {
        USize64 headerBytes = 16 * 1024;
        USize64 bodyBytes = 8 * 1024 * 1024;
        std::uint32_t requestMS = 10'000; ///< for a header; and for a body, beyond what its length allows
        std::uint32_t leastBytesPerSecond = 4096; ///< of a body
        std::uint32_t idleMS = 60'000;            ///< between requests
        std::uint32_t sendMS = 30'000;            ///< for the client to take the next bytes
        std::uint32_t mostConnections = 512;      ///< the first request of one more is answered with 503
    };

    explicit XHTTPServer( const XString& inName );
    XHTTPServer( const XString& inName, const XLimits& inLimits );
    XHTTPServer( const XHTTPServer& ) = delete;
    XHTTPServer& operator=( const XHTTPServer& ) = delete;

    /// Stops.
    ~XHTTPServer();

    /// Has GET requests for the path answered by the handler, and HEAD requests, whose answer is the same without its
    /// body. A path that ends with '/' stands for all that begin with it; of several, the longest counts. 1013 for a path
    /// that does not begin with '/'.
    void HandleGet( const std::string& inPath, XHandler inHandler );
    void HandlePost( const std::string& inPath, XHandler inHandler );

    /// Serves the regular files of a folder and of those in it, below a path that ends with '/' (1013). `index.html`
    /// stands for its folder. Links that lead out of the folder are answered with 404, and so are names that some system
    /// reads as something else than a name, on every system: those that begin or end with '.', end with a blank, or have
    /// one of `\:*?"<>|`, a control character, or '~' and a digit in them.
    void ServeFolder( const std::string& inPath, const std::filesystem::path& inFolder );

    /// Listens on a port, 0 for any free one. Errors as in `XNetServer::Start`.
    void Start( std::int32_t inPort );
    /// The same on the adapter with the address alone.
    void Start( const XNetAddress& inAddress );

    /// Ends all connections and waits until their handlers have returned. Handlers that wait have to do so as XThread
    /// waits do. Not to be called by a handler.
    void Stop();

    /// The port that the server listens on; 0 when it does not run.
    std::int32_t GetPort() const { return itsServer.GetPort(); }

    USize GetConnectionCount() const { return itsServer.GetResponderCount(); }

private:
    const std::shared_ptr<XHTTPSite> itsSite;
    XNetServer itsServer;
};
