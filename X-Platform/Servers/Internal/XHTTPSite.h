#pragma once

#include "Servers/XHTTPServer.h"

#include <atomic>

/// The contents of an HTTP server: its handlers by path, and its limits. Internal to XHTTPServer.
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

    /// The handlers of the path; null if there are none.
    const XHandlers* Find( const std::string& inPath ) const;

    const XHTTPServer::XLimits limits;
    mutable std::atomic<std::uint32_t> connections = 0; // that have sent a request

private:
    std::map<std::string, XHandlers> itsHandlers;
};
