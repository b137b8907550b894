#pragma once

#include "Network/Internal/XByteQueue.h"
#include "Servers/Internal/XHTTPFilePart.h"
#include "Servers/Internal/XHTTPSite.h"

#include <functional>

class XHTTPParser;

/// The conversation with one client of an HTTP server: requests and answers in turn, on the calling thread. Internal to
/// XHTTPServer.
/// Errors: those of XNetEndpoint, 3100 for the usual end.
class KORVALE_API XHTTPConnection
{
public:
    XHTTPConnection( const XHTTPSite& inSite, XNetEndpoint& inEndpoint );
    XHTTPConnection( const XHTTPConnection& ) = delete;
    XHTTPConnection& operator=( const XHTTPConnection& ) = delete;
    ~XHTTPConnection();

    /// Returns when the client or a fault of it ends the connection; calls back when the first request has come and there
    /// is room for the connection.
    void Serve( const std::function<void()>& inIsAdmitted );

private:
    bool ServeRequest( const std::function<void()>& inIsAdmitted );
    bool Admit( const std::function<void()>& inIsAdmitted );
    bool AwaitRequest();
    int ReceiveHeader( XHTTPParser& ioParser );
    int ReceiveBody( XHTTPParser& ioParser );
    bool ReceiveMore( std::uint32_t inTimeoutMS );
    void Feed( XHTTPParser& ioParser );

    static int Check( const XHTTPRequest& inRequest );
    XHTTPResponse MakeResponse( const XHTTPRequest& inRequest ) const;
    XHTTPResponse CallHandler( const XHTTPRequest& inRequest ) const;

    void Refuse( int inStatus );
    void Send( const XHTTPRequest& inRequest, XHTTPResponse& ioResponse, bool& ioKeepsAlive );
    void AddHead( const XHTTPResponse& inResponse, bool inKeepsAlive, bool inIsOld );
    const std::string& GetDate();
    void AddLength( std::uint64_t inLength );
    void SendFile( const XHTTPFilePart& inPart );
    void Flush();

    const XHTTPSite& itsSite;
    XNetEndpoint& itsEndpoint;
    XByteQueue itsInput;
    std::string itsOutput;
    bool itsIsAdmitted = false; // counts among the connections of the site
    std::string itsDate;
    std::int64_t itsDateSecond = 0;
};
