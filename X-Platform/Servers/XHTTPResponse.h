#pragma once

#include "Servers/XHTTPHeaders.h"

#include <filesystem>
#include <functional>

class XHTTPBodyWriter;

/// What an HTTP server answers to a request: a status, header fields, and a body that is text, a file, or written while it
/// is sent. The server adds the date, the length and what keeps the connection; fields of the handler for these do not
/// count.
///
///     server.HandleGet( "/status", []( const XHTTPRequest& ) { return XHTTPResponse::Text( "idle" ); } );
///
/// A file is served with its modification time and an ETag, and in ranges; a text with an `ETag` or `Last-Modified` field
/// of the handler is compared with the conditions of the request, too. Conditions and ranges count for GET and HEAD and
/// answers with status 200.
/// Threads: as a std::string.
/// Errors: those of XHTTPHeaders.
class KORVALE_API XHTTPResponse
{
public:
    using XWriteBody = std::function<void( XHTTPBodyWriter& )>;

    static constexpr const char* kPlainText = "text/plain; charset=utf-8";

    /// Status 200 with an empty body.
    XHTTPResponse() = default;

    static XHTTPResponse Text( std::string inBody, std::string_view inContentType = kPlainText );

    /// The status with its name as the text, where a body is allowed.
    static XHTTPResponse Status( int inStatus );

    static XHTTPResponse Redirect( std::string_view inLocation, int inStatus = 302 );

    /// A regular file, read while it is sent; 404 where there is none. An empty content type is chosen by the extension.
    static XHTTPResponse File( const std::filesystem::path& inPath, std::string_view inContentType = {} );

    /// A body that the function writes, on the thread of the connection, after the handler has returned. What it throws
    /// ends the connection, so that the client sees that something is missing.
    static XHTTPResponse Stream( std::string_view inContentType, XWriteBody inWrite );

    /// Server-sent events.
    static XHTTPResponse Events( XWriteBody inWrite );

    /// 200 to 599; others are 1013.
    void SetStatus( int inStatus );
    int GetStatus() const { return itsStatus; }

    XHTTPHeaders& GetHeaders() { return itsHeaders; }
    const XHTTPHeaders& GetHeaders() const { return itsHeaders; }

    /// What `Text` has set; empty for files and streams.
    const std::string& GetBody() const { return itsBody; }

private:
    friend class XHTTPConnection;

    int itsStatus = 200;
    XHTTPHeaders itsHeaders;
    std::string itsBody;
    std::filesystem::path itsFile; // empty: none
    XWriteBody itsWrite;           // null: none
};
