#pragma once

#include "Servers/XHTTPHeaders.h"

#include <cstdint>
#include <filesystem>

/// Sends requests to HTTP servers, over http and https.
///
///     XHTTPClient client;
///     const XHTTPClient::XReply reply = client.Get( "https://example.org/version" );
///     if ( reply.status == 200 )
///         Use( reply.body );
///
/// A request shows a progress of the calling thread after two seconds; an abort by the user (1001) and a stop
/// of the thread end it at once. Replies of any status are returned, not thrown.
///
/// The certificate of an https server must be valid for its name. Uses libcurl on Linux, which is loaded with
/// the first request, and WinHTTP on Windows.
///
/// Threads: several threads may send requests at the same time; change settings on one thread while no
/// request is running.
/// Errors: exceptions whose text names the URL and the reason. 1013 for a URL that is not an http or https
/// URL, is not ASCII or contains a user name; 3104 for an unknown host, 3105 on a time-out, 3106 if the
/// connection is refused, 3100 if the connection ends before the reply is complete; 3052 for an invalid
/// certificate, too many redirections, a redirection from https to http, a reply that is too large, and any
/// other failure; 1016 if the system's library is missing or lacks a required feature.
class KORVALE_API XHTTPClient
{
public:
    struct XSettings
    {
        std::uint32_t connectMS = 10'000;   ///< for connecting
        std::uint32_t stallMS = 30'000;     ///< without a byte of a body; also for the reply's header
        std::uint32_t totalMS = 0xFFFFFFFF; ///< for a request including redirections
        std::uint32_t mostRedirects = 5;    ///< with 0, redirection replies are returned
        std::uint64_t mostBodyBytes = 256 * 1024 * 1024; ///< of a reply
        /// the one configured in the system or the environment
        bool usesProxy = true;
        /// Certificates (PEM) of the authorities to trust instead of the system's. Not supported on Windows
        /// (1016).
        std::filesystem::path authorityFile;
    };

    struct XReply
    {
        int status = 0;
        XHTTPHeaders headers;
        std::string body;
        std::string url; ///< of the last request
    };

    XHTTPClient() = default;
    explicit XHTTPClient( const XSettings& inSettings ) : itsSettings( inSettings ) {}

    /// Follows redirections. The client sets `Expect` and the fields for length and coding of a body itself;
    /// those in `inHeaders` are ignored.
    XReply Get( const std::string& inURL, const XHTTPHeaders& inHeaders = {} ) const;

    /// Follows redirections with status 307 and 308 by repeating the POST with its body, others by a GET.
    /// Pass the content type in `inHeaders`.
    XReply
    Post( const std::string& inURL, std::string_view inBody, const XHTTPHeaders& inHeaders = {} ) const;

    const XSettings& GetSettings() const { return itsSettings; }
    void SetSettings( const XSettings& inSettings ) { itsSettings = inSettings; }

private:
    XSettings itsSettings;
};
