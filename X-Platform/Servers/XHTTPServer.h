#pragma once

#include "Servers/XHTTPRequest.h"
#include "Servers/XHTTPResponse.h"
#include "Servers/XNetServer.h"

class XHTTPSite;

/// Serves HTTP/1.1 and 1.0 on a port: GET, HEAD and POST, persistent connections, chunked bodies, and folders
/// of files with ranges and conditional requests. Each connection has a thread.
///
///     XHTTPServer server( "status" );
///     server.HandleGet( "/status", []( const XHTTPRequest& ) { return XHTTPResponse::Text( "idle" ); } );
///     server.ServeFolder( "/files/", folder );
///     server.Start( 8080 );
///
/// A malformed or ambiguous request is rejected with 400 and ends the connection; so do 408 for a request
/// that takes too long, 413 for a body and 431 for a header that is too large, and 505 for a version of HTTP
/// other than 1.0 and 1.1.
///
/// Requests for unknown paths get 404, those with a method that the path does not have 405.
///
/// There are no users and no encryption: every client that can connect can request everything.
///
/// Threads: register handlers and folders before the start. Handlers are called on the threads of the
/// connections, several at a time. `Start` and `Stop` one at a time; the rest from any thread.
class KORVALE_API XHTTPServer
{
public:
    /// If it throws, the response is 500 and the exception is logged.
    using XHandler = std::function<XHTTPResponse( const XHTTPRequest& )>;

    struct XLimits
    {
        USize64 headerBytes = 16 * 1024;
        USize64 bodyBytes = 8 * 1024 * 1024;
        /// for a header; for a body, in addition to the time for its length
        std::uint32_t requestMS = 10'000;
        std::uint32_t leastBytesPerSecond = 4096; ///< minimum rate of a body
        std::uint32_t idleMS = 60'000;            ///< between requests
        std::uint32_t sendMS = 30'000;            ///< for the client to accept the next bytes
        /// beyond this number, a first request is answered with 503
        std::uint32_t mostConnections = 512;
    };

    explicit XHTTPServer( const XString& inName );
    XHTTPServer( const XString& inName, const XLimits& inLimits );
    XHTTPServer( const XHTTPServer& ) = delete;
    XHTTPServer& operator=( const XHTTPServer& ) = delete;

    /// Stops the server.
    ~XHTTPServer();

    /// Calls the handler for GET requests for the path, and for HEAD requests, which get the same response
    /// without the body. A path that ends with '/' matches all paths that begin with it; the longest match is
    /// used. 1013 for a path that does not begin with '/'.
    void HandleGet( const std::string& inPath, XHandler inHandler );
    void HandlePost( const std::string& inPath, XHandler inHandler );

    /// Serves the regular files of a folder and its subfolders, below a path that must end with '/' (1013).
    /// For a folder, serves its `index.html`. Links that lead out of the folder are answered with 404, and
    /// so, on every system, are names that some systems interpret specially: those that begin or end with
    /// '.', end with a blank, or contain one of `\:*?"<>|`, a control character, or '~' followed by a digit.
    void ServeFolder( const std::string& inPath, const std::filesystem::path& inFolder );

    /// Starts listening on a port; 0 selects a free one. Errors as in `XNetServer::Start`.
    void Start( std::int32_t inPort );
    /// Starts listening on the adapter with the address only, on all if it is 0.0.0.0.
    void Start( const XNetAddress& inAddress );

    /// Ends all connections and waits until their handlers have returned. Handlers must use alertable waits
    /// of XThread. Must not be called by a handler.
    void Stop();

    /// The port that the server listens on; 0 if it is not running.
    std::int32_t GetPort() const { return itsServer.GetPort(); }

    USize GetConnectionCount() const { return itsServer.GetResponderCount(); }

private:
    const std::shared_ptr<XHTTPSite> itsSite;
    XNetServer itsServer;
};
