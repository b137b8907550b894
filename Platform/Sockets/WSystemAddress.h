#pragma once

#include "WPlatform.h"

#include <cstdint>

struct sockaddr_in;

/// Conversions of the system's form of an IPv4 address with a port. Address and port here are in the
/// machine's byte order.
class KORVALE_API WSystemAddress
{
public:
    static void Set( sockaddr_in& outAddress, std::uint32_t inIP, std::uint16_t inPort );
    static std::uint32_t GetIP( const sockaddr_in& inAddress );
    static std::uint16_t GetPort( const sockaddr_in& inAddress );
};
