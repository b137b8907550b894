#pragma once

#include "Network/XNetEndpoint.h"

#include <string_view>

class XByteQueue;

/// Sends the body of a response piece by piece: for server-sent events, or for a body too large for memory.
/// Threads: the thread of the response only.
/// Errors: those of XNetEndpoint; 3100 if the client or the server has ended the connection.
class KORVALE_API XHTTPBodyWriter
{
public:
    XHTTPBodyWriter( const XHTTPBodyWriter& ) = delete;
    XHTTPBodyWriter& operator=( const XHTTPBodyWriter& ) = delete;

    /// Sends the bytes at once; does nothing if there are none.
    void Write( std::string_view inBytes );

    /// Sends a server-sent event. The text may have several lines with any usual line end. An empty name
    /// makes a plain message event; 1013 for a name with a line break.
    void WriteEvent( std::string_view inText, std::string_view inName = {} );

    /// Sleeps for this time. Returns false at once if the client has closed the connection.
    bool Sleep( std::uint32_t inTimeMS );

private:
    friend class XHTTPConnection;

    XHTTPBodyWriter(
        XNetEndpoint& inEndpoint, XByteQueue& ioInput, std::uint32_t inSendTimeoutMS, bool inIsChunked );

    bool ReceiveAhead( std::uint32_t inTimeoutMS );
    void Finish();

    XNetEndpoint& itsEndpoint;
    XByteQueue& itsInput; // bytes that the client sends meanwhile: its next request
    const std::uint32_t itsSendTimeoutMS;
    const bool itsIsChunked;
};
