#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// One HTTP exchange of a client, a request and its reply, with the system's library: libcurl on Linux,
/// loaded on first use, WinHTTP on Windows. Does not follow redirections.
/// Threads: calls are independent of each other; an alert of the calling thread makes the exchange call
/// LookAround.
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
            fields; ///< "Name: value"; without those for the length or coding of the body
        std::string_view body;
        std::uint32_t connectTimeoutMS = 0;
        std::uint32_t stallTimeoutMS = 0;    ///< without any byte; the client enforces it in `LookAround`
        std::filesystem::path authorityFile; ///< empty for the system's authorities
        bool usesProxy = true;
    };

    struct Outcome
    {
        Failure failure = kNone;
        std::string detail; ///< describes a failure; may be empty
    };

    /// The client of an exchange. Exceptions of its functions end the exchange.
    class Client
    {
    public:
        /// A reply begins. Called again if the previous one was provisional.
        virtual void TakeStatus( int inStatus ) = 0;
        virtual void TakeField( std::string_view inName, std::string_view inValue ) = 0;
        virtual void TakeBody( std::string_view inBytes ) = 0;

        /// Called at least ten times a second, and after an alert. `inIsConnected` means that bytes should be
        /// transferred from now on; `inSent` is the number of bytes sent of the request's body.
        virtual void LookAround( bool inIsConnected, std::uint64_t inSent ) = 0;

    protected:
        ~Client() = default;
    };

    static Outcome Run( const Request& inRequest, Client& ioClient );

protected:
    static constexpr std::uint32_t kSliceMS = 100;

    /// Processes a line of a reply's header, with or without its line end.
    static void TakeLine( std::string_view inLine, Client& ioClient );
};
