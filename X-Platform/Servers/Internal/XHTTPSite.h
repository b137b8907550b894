#pragma once

#include "Servers/XHTTPServer.h"

#include <atomic>

/// What an HTTP server offers: its handlers by path, and its limits. Internal to XHTTPServer.
class KORVALE_API XHTTPSite
{
public:
    struct XHandlers
    {
        XHTTPServer::XHandler get;
        XHTTPServer::XHandler post;
    };

    explicit XHTTPSite( const XHTTPServer::XLimits& inLimits ) : limits( inLimits ) {}

    void Add( const std::string& inPath, XHandlers inHandlers );
    void AddFolder( const std::string& inPath, const std::filesystem::path& inFolder );

    /// Those of the path; null where there are none.
    const XHandlers* Find( const std::string& inPath ) const;

    const XHTTPServer::XLimits limits;
    mutable std::atomic<std::uint32_t> connections = 0; // those that have sent a request

private:
    std::map<std::string, XHandlers> itsHandlers;
};
