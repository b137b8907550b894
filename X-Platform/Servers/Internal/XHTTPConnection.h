#pragma once

#include "Network/Internal/XByteQueue.h"
#include "Servers/Internal/XHTTPFilePart.h"
#include "Servers/Internal/XHTTPSite.h"

#include <functional>

class XHTTPParser;

/// Handles the connection of one client of an HTTP server on the calling thread: requests and responses in
/// turn. Internal to XHTTPServer.
/// Errors: those of XNetEndpoint; 3100 is the usual end.
class KORVALE_API XHTTPConnection
{
public:
    XHTTPConnection( const XHTTPSite& inSite, XNetEndpoint& inEndpoint );
    XHTTPConnection( const XHTTPConnection& ) = delete;
    XHTTPConnection& operator=( const XHTTPConnection& ) = delete;
    ~XHTTPConnection();

    /// Returns when the client closes the connection or commits an error that ends it. Calls `inIsAdmitted`
    /// when the header of the first request has arrived and the server has room for the connection.
    void Serve( const std::function<void()>& inIsAdmitted );

private:
    bool ServeRequest( const std::function<void()>& inIsAdmitted );
    bool Admit( const std::function<void()>& inIsAdmitted );
    bool AwaitRequest();
    int ReceiveHeader( XHTTPParser& ioParser );
    int ReceiveBody( XHTTPParser& ioParser );
    bool ReceiveMore( std::uint32_t inTimeoutMS );
    void Feed( XHTTPParser& ioParser );

    int Check( const XHTTPRequest& inRequest ) const;
    XHTTPResponse MakeResponse( const XHTTPRequest& inRequest ) const;
    XHTTPResponse CallHandler( const XHTTPRequest& inRequest ) const;

    void Refuse( const XHTTPRequest& inRequest, int inStatus );
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
