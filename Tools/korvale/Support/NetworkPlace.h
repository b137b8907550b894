#pragma once

#include "Network/XNetAddress.h"

#include <string>

/// A network address as users write it: HOST:PORT, with a host name or an IPv4 address.
class NetworkPlace
{
public:
    /// Returns the error message of an invalid text, empty if it is valid.
    static std::string Check( const std::string& inText );

    /// The text must have passed Check.
    explicit NetworkPlace( const std::string& inText );

    /// For 0.0.0.0 the address 0 without a name.
    XNetAddress GetAddress() const { return GetAddress( itsPort ); }
    XNetAddress GetAddress( std::int32_t inPort ) const;

    /// Whether the address is on the loop-back interface. A name look-up may take seconds; throws if the host
    /// is unknown.
    bool IsLoopBack() const;

    const std::string& GetHost() const { return itsHost; }

    /// HOST:PORT with another port.
    std::string GetText( std::int32_t inPort ) const;

private:
    std::string itsHost;
    std::int32_t itsPort;
};
