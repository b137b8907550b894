#pragma once

#include "Servers/XHTTPRequest.h"

#include <memory>

/// Reads one request from the bytes of a client, as they arrive. What may be read in two ways (two lengths, a length and a
/// coding, two hosts) is refused, since a proxy in front might read it in the other one.
class KORVALE_API XHTTPParser
{
public:
    XHTTPParser( USize64 inMostHeaderBytes, USize64 inMostBodyBytes );
    XHTTPParser( const XHTTPParser& ) = delete;
    XHTTPParser& operator=( const XHTTPParser& ) = delete;
    ~XHTTPParser();

    /// Takes what can be taken of the bytes and returns how many that is; the others are to be given again with those
    /// that come behind them. Takes nothing of the body before `ReadBody`.
    USize Put( const void* inBytes, USize inCount );

    /// Lets the body be taken, too.
    void ReadBody();

    bool HasHeader() const;
    bool IsDone() const;

    /// The status to refuse the request with; 0 while nothing is wrong.
    int GetError() const;

    /// Whether the client wants to send another request on the connection.
    bool KeepsAlive() const;

    /// The method, path and fields are there with the header, the body when it is done.
    XHTTPRequest& GetRequest();

private:
    class XImp;
    const std::unique_ptr<XImp> itsImp;
};
