#pragma once

#include "Servers/XHTTPRequest.h"

#include <memory>

/// Parses one request from a client's bytes as they arrive. Ambiguous requests (two lengths, a length and a
/// coding, two hosts) are rejected, because a proxy in front of the server might read them differently.
class KORVALE_API XHTTPParser
{
public:
    XHTTPParser( USize64 inMostHeaderBytes, USize64 inMostBodyBytes );
    XHTTPParser( const XHTTPParser& ) = delete;
    XHTTPParser& operator=( const XHTTPParser& ) = delete;
    ~XHTTPParser();

    /// Consumes as many of the bytes as possible and returns their number; pass the rest again, followed by
    /// further bytes. Consumes no bytes of the body before `ReadBody`.
    USize Put( const void* inBytes, USize inCount );

    /// Allows the body to be consumed.
    void ReadBody();

    bool HasHeader() const;
    bool IsDone() const;

    /// The status with which to reject the request; 0 if there is no error.
    int GetError() const;

    /// Whether the connection is to be kept for another request.
    bool KeepsAlive() const;

    /// Method, path and fields are available with the header, the body when IsDone.
    XHTTPRequest& GetRequest();

private:
    class XImp;
    const std::unique_ptr<XImp> itsImp;
};
