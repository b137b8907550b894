#pragma once

#include "Network/XNetAddress.h"
#include "Servers/XHTTPHeaders.h"

#include <map>

/// A request that an HTTP server has received. Texts are UTF-8 where the client has kept to it.
class KORVALE_API XHTTPRequest
{
public:
    /// In capitals: "GET".
    const std::string& GetMethod() const { return itsMethod; }

    /// The path, decoded. It begins with '/' and has no part that is "." or "..".
    const std::string& GetPath() const { return itsPath; }

    /// What follows the '?', as it was sent.
    const std::string& GetQuery() const { return itsQuery; }

    /// The decoded values of the query by their names, of several the last one.
    std::map<std::string, std::string> GetParameters() const;

    const XHTTPHeaders& GetHeaders() const { return itsHeaders; }
    std::string GetHeader( std::string_view inName ) const { return itsHeaders.Get( inName ); }

    const std::string& GetBody() const { return itsBody; }

    /// 10 or 11.
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
