#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// The names of hosts, and what else the system knows of the network. IPv4; addresses are in the machine's byte order.
/// Threads: any thread. Look-ups ask servers and may take as long as the system lets them; nothing ends them early.
class KORVALE_API WNetwork
{
public:
    struct Host
    {
        std::vector<std::uint32_t> addresses; ///< in the order in which the system prefers them
        std::string name;                     ///< the canonical name; empty where there is none
    };

    static constexpr std::uint32_t kErrorHostNotFound = 11001;
    static constexpr std::uint32_t kErrorTryAgain = 11002;
    static constexpr std::uint32_t kErrorNoRecovery = 11003;
    static constexpr std::uint32_t kErrorNoAddress = 11004;

    /// The addresses of a host, by its name or by an address in dotted form. Returns 0 or the error's code with
    /// Winsock's number; a success has one address at least.
    static std::uint32_t LookUpHost( const std::string& inName, Host& outHost );

    /// The name of the host at an address; empty when it has none or cannot be asked for.
    static std::string LookUpName( std::uint32_t inAddress );

    /// The name of this machine; empty when the system does not tell it.
    static std::string GetLocalName();

    /// Whether the machine seems to have a way to the internet: on Linux a default route over an interface that is up, on
    /// Windows what the internet options say.
    static bool IsConnectedToInternet();

private:
    static std::uint32_t ToErrorCode( int inResult );
};
