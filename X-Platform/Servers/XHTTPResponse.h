#pragma once

#include "Servers/XHTTPHeaders.h"

#include <filesystem>
#include <functional>

class XHTTPBodyWriter;

/// The response of an HTTP server to a request: a status, header fields, and a body that is a text, a file,
/// or written while it is sent. The server sets the fields for date, length and connection; those set by the
/// handler are ignored.
///
///     server.HandleGet( "/status", []( const XHTTPRequest& ) { return XHTTPResponse::Text( "idle" ); } );
///
/// A file is served with its modification time and an ETag, and in ranges. A text for which the handler sets
/// an `ETag` or `Last-Modified` field is checked against the conditions of the request, too. Conditions and
/// ranges apply to GET and HEAD with status 200 only.
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

    /// The status, with its name as the text if a body is allowed.
    static XHTTPResponse Status( int inStatus );

    static XHTTPResponse Redirect( std::string_view inLocation, int inStatus = 302 );

    /// A regular file, read while it is sent; 404 if there is none. With an empty content type, the extension
    /// determines it.
    static XHTTPResponse File( const std::filesystem::path& inPath, std::string_view inContentType = {} );

    /// A body written by `inWrite` on the thread of the connection, after the handler has returned. An
    /// exception of `inWrite` ends the connection, so that the client detects an incomplete body.
    static XHTTPResponse Stream( std::string_view inContentType, XWriteBody inWrite );

    /// A response of server-sent events.
    static XHTTPResponse Events( XWriteBody inWrite );

    /// From 200 to 599; others are error 1013.
    void SetStatus( int inStatus );
    int GetStatus() const { return itsStatus; }

    XHTTPHeaders& GetHeaders() { return itsHeaders; }
    const XHTTPHeaders& GetHeaders() const { return itsHeaders; }

    /// The body of `Text`; empty for files and streams.
    const std::string& GetBody() const { return itsBody; }

private:
    friend class XHTTPConnection;

    int itsStatus = 200;
    XHTTPHeaders itsHeaders;
    std::string itsBody;
    std::filesystem::path itsFile; // empty if there is none
    XWriteBody itsWrite;           // null if there is none
};
