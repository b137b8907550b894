#pragma once

#include "Network/XNetAddress.h"
#include "Servers/XHTTPHeaders.h"

#include <map>

/// A request received by an HTTP server. Texts are UTF-8 if the client has sent UTF-8.
class KORVALE_API XHTTPRequest
{
public:
    /// In capitals: "GET".
    const std::string& GetMethod() const { return itsMethod; }

    /// The decoded path. It begins with '/' and has no part "." or "..".
    const std::string& GetPath() const { return itsPath; }

    /// The text after the '?', not decoded.
    const std::string& GetQuery() const { return itsQuery; }

    /// The decoded parameters of the query by name; for a repeated name, the last value.
    std::map<std::string, std::string> GetParameters() const;

    const XHTTPHeaders& GetHeaders() const { return itsHeaders; }
    std::string GetHeader( std::string_view inName ) const { return itsHeaders.Get( inName ); }

    const std::string& GetBody() const { return itsBody; }

    /// 10 for HTTP/1.0, 11 for HTTP/1.1.
    int GetVersion() const { return itsVersion; }

    const XNetAddress& GetPeer() const { return itsPeer; }

private:
    friend class XHTTPParser;
    friend class XHTTPConnection;

    std::string itsMethod;
    std::string itsPath;
    std::string itsQuery;
    XHTTPHeaders itsHeaders;
    std::string itsBody;
    int itsVersion = 11;
    XNetAddress itsPeer;
};
