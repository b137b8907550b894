#pragma once

#include "Servers/XHTTPServer.h"
#include "StatusPage/StatusFeed.h"
#include "Support/NetworkPlace.h"

/// Serves the status page of a control service over HTTP: the page at `/`, its events at `/events`, the state at
/// `/status.json` and `/metrics`. Nothing can be changed through it. It has no protection: whoever can connect can read it.
/// On the loop-back interface, requests for other host names are refused with 403, so that a web page from elsewhere whose
/// name leads to this machine cannot read it.
///
/// Threads: `Start` once; the rest from any thread.
class StatusPage
{
public:
    /// `inGetStatus` is called on threads of the server, one at a time.
    explicit StatusPage( std::function<XNetJobStatus()> inGetStatus );
    StatusPage( const StatusPage& ) = delete;
    StatusPage& operator=( const StatusPage& ) = delete;

    /// Starts listening. Errors as in `XHTTPServer::Start`, and those of looking a host name up.
    void Start( const NetworkPlace& inPlace );

    std::int32_t GetPort() const { return itsServer.GetPort(); }

    /// Whether only this machine can connect.
    bool IsLoopBack() const { return itsIsLoopBack; }

private:
    XHTTPResponse Respond( const XHTTPRequest& inRequest );
    XHTTPResponse RespondWith( StatusFeed::Form inForm, std::string_view inContentType );
    void SendEvents( XHTTPBodyWriter& ioWriter );
    bool IsForThisHost( const XHTTPRequest& inRequest ) const;

    StatusFeed itsFeed;
    std::string itsHost;
    bool itsIsLoopBack = true;
    XHTTPServer itsServer; // the last, since its threads use the others
};
