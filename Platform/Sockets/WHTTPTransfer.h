#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// One HTTP exchange of a client, a request and its reply, by what the system has for it: libcurl on Linux, loaded when it
/// is first asked for, WinHTTP on Windows. Follows no redirection.
/// Threads: each call by itself; an alert of the calling thread ends its waits, to look around.
class WHTTPTransfer
{
public:
    enum Failure
    {
        kNone,
        kBadURL,
        kHostNotFound,
        kRefused,
        kTimedOut,     ///< while connecting
        kDisconnected, ///< before the reply was complete
        kNotAvailable, ///< the system's library cannot be used
        kOther,        ///< the certificate of the server, for instance
    };

    struct Request
    {
        std::string method;
        std::string url;
        std::vector<std::string>
            fields; ///< "Name: value"; none of these for the length or coding of the body
        std::string_view body;
        std::uint32_t connectTimeoutMs = 0;
        std::uint32_t stallTimeoutMs =
            0; ///< the client ends a wait in which nothing comes for this long, by `LookAround`
        std::filesystem::path authorityFile; ///< empty: the system's authorities
        bool usesProxy = true;
    };

    struct Outcome
    {
        Failure failure = kNone;
        std::string detail; ///< of a failure; may be empty
    };

    /// Who asks. What the operations throw ends the exchange.
    class Client
    {
    public:
        /// The reply begins, perhaps again: the one before was provisional.
        virtual void TakeStatus( int inStatus ) = 0;
        virtual void TakeField( std::string_view inName, std::string_view inValue ) = 0;
        virtual void TakeBody( std::string_view inBytes ) = 0;

        /// Called ten times a second at least, and after an alert. `inIsConnected`: bytes should move from now on;
        /// `inSent` of the request's body have.
        virtual void LookAround( bool inIsConnected, std::uint64_t inSent ) = 0;

    protected:
        ~Client() = default;
    };

    static Outcome Run( const Request& inRequest, Client& ioClient );

protected:
    static constexpr std::uint32_t kSliceMs = 100;

    /// A line of a reply's head. Ends of lines do not count.
    static void TakeLine( std::string_view inLine, Client& ioClient );
};
