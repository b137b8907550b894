#pragma once

#include "Network/XNetAddress.h"

#include <string>

/// A place in the network as users write it: HOST:PORT, the host by its name or IPv4 address.
class NetworkPlace
{
public:
    /// What is wrong with the text, empty if nothing.
    static std::string Check( const std::string& inText );

    /// The text has passed the check.
    explicit NetworkPlace( const std::string& inText );

    /// 0.0.0.0 is the address 0 without a name.
    XNetAddress GetAddress() const { return GetAddress( itsPort ); }
    XNetAddress GetAddress( std::int32_t inPort ) const;

    /// Whether only processes of this machine are there. Looks a name up, which may take seconds, and throws where there
    /// is no such host.
    bool IsLoopBack() const;

    /// With another port, as users write it.
    std::string GetText( std::int32_t inPort ) const;

private:
    std::string itsHost;
    std::int32_t itsPort;
};
