#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// Host names and the state of the network. IPv4; addresses are in the machine's byte order.
/// Threads: any thread. Look-ups query servers, may take as long as the system allows, and cannot be
/// interrupted.
class KORVALE_API WNetwork
{
public:
    struct Host
    {
        std::vector<std::uint32_t> addresses; ///< in the system's order of preference
        std::string name;                     ///< the canonical name; empty if there is none
    };

    static constexpr std::uint32_t kErrorHostNotFound = 11001;
    static constexpr std::uint32_t kErrorTryAgain = 11002;
    static constexpr std::uint32_t kErrorNoRecovery = 11003;
    static constexpr std::uint32_t kErrorNoAddress = 11004;

    /// Looks up the addresses of a host by name or dotted address. Returns 0, with at least one address, or
    /// the error code with Winsock's number.
    static std::uint32_t LookUpHost( const std::string& inName, Host& outHost );

    /// The host name of an address; empty if it has none or the look-up fails.
    static std::string LookUpName( std::uint32_t inAddress );

    /// The name of this machine; empty if not available.
    static std::string GetLocalName();

    /// Whether the machine seems to be connected to the internet: on Linux whether an active interface has a
    /// default route, on Windows according to the internet options.
    static bool IsConnectedToInternet();

private:
    static std::uint32_t ToErrorCode( int inResult );
};
