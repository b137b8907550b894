#pragma once

#include "Network/XNetEndpoint.h"

#include <string_view>

class XByteQueue;

/// Sends the body of a response piece by piece, for as long as it takes: server-sent events, or what is too much to be kept
/// in memory.
/// Threads: belongs to the thread of the response.
/// Errors: those of XNetEndpoint; 3100 when the client or the server has ended the connection.
class KORVALE_API XHTTPBodyWriter
{
public:
    XHTTPBodyWriter( const XHTTPBodyWriter& ) = delete;
    XHTTPBodyWriter& operator=( const XHTTPBodyWriter& ) = delete;

    /// Sends the bytes at once; none does nothing.
    void Write( std::string_view inBytes );

    /// Sends a server-sent event; the text may have several lines, with any of the usual ends. The name is empty for the
    /// ordinary kind. 1013 for a name with a line break.
    void WriteEvent( std::string_view inText, std::string_view inName = {} );

    /// Sleeps for this time, or until the client has closed the connection: then false.
    bool Sleep( std::uint32_t inTimeMS );

private:
    friend class XHTTPConnection;

    XHTTPBodyWriter(
        XNetEndpoint& inEndpoint, XByteQueue& ioInput, std::uint32_t inSendTimeoutMS, bool inIsChunked );

    bool ReceiveAhead( std::uint32_t inTimeoutMS );
    void Finish();

    XNetEndpoint& itsEndpoint;
    XByteQueue& itsInput; // what the client sends meanwhile: its next request
    const std::uint32_t itsSendTimeoutMS;
    const bool itsIsChunked;
};
