#pragma once

#include "Servers/XHTTPHeaders.h"

#include <cstdint>
#include <filesystem>

/// Asks HTTP servers, over http and https.
///
///     XHTTPClient client;
///     const XHTTPClient::XReply reply = client.Get( "https://example.org/version" );
///     if ( reply.status == 200 )
///         Use( reply.body );
///
/// A request shows a progress of the calling thread after two seconds; the user's abort (1001) and a stop of the thread end
/// it at once. Replies of any status are replies, no errors.
///
/// The certificate of an https server has to be valid for its name. The system's library does the work: libcurl on Linux,
/// which is loaded with the first request, WinHTTP on Windows.
///
/// Threads: requests from several threads at a time; settings are for one thread while nobody asks.
/// Errors: exceptions whose text names the URL and the reason. 1013 for a URL that is not one of http or https, has
/// characters outside of ASCII or a user's name in it; 3104 for an unknown host, 3105 when the time is over, 3106 where
/// nobody listens, 3100 when the connection ends before the reply does; 3052 for a server whose certificate is not valid,
/// too many redirections, one from https to http, a reply that is too large, and whatever else goes wrong; 1016 where the
/// system's library is missing or cannot do what is asked for.
class KORVALE_API XHTTPClient
{
public:
    struct XSettings
    {
        std::uint32_t connectMS = 10'000;   ///< for the connection
        std::uint32_t stallMS = 30'000;     ///< without a byte of a body; and for the reply's head
        std::uint32_t totalMS = 0xFFFFFFFF; ///< for a request with its redirections
        std::uint32_t mostRedirects = 5;    ///< 0: their replies are returned
        std::uint64_t mostBodyBytes = 256 * 1024 * 1024; ///< of a reply
        bool usesProxy = true;                           ///< that of the system or the environment
        /// Certificates (PEM) of the authorities to trust in place of the system's. Not on Windows (1016).
        std::filesystem::path authorityFile;
    };

    struct XReply
    {
        int status = 0;
        XHTTPHeaders headers;
        std::string body;
        std::string url; ///< that was asked in the end
    };

    XHTTPClient() = default;
    explicit XHTTPClient( const XSettings& inSettings ) : itsSettings( inSettings ) {}

    /// Redirections are followed. Fields for the length and coding of a body, and `Expect`, are the client's own: those
    /// among the headers do not count.
    XReply Get( const std::string& inURL, const XHTTPHeaders& inHeaders = {} ) const;

    /// Redirections with status 307 and 308 are followed with the body, others by a GET. The field of the content type
    /// comes with the headers.
    XReply
    Post( const std::string& inURL, std::string_view inBody, const XHTTPHeaders& inHeaders = {} ) const;

    const XSettings& GetSettings() const { return itsSettings; }
    void SetSettings( const XSettings& inSettings ) { itsSettings = inSettings; }

private:
    XSettings itsSettings;
};
