#include "Support/Checksum.h"

#include <span>

std::uint64_t AddToChecksum( std::uint64_t inChecksum, const void* inBytes, std::size_t inCount )
{
    constexpr std::uint64_t kPrime = 0x100000001B3;
    for ( const std::uint8_t byte : std::span( static_cast<const std::uint8_t*>( inBytes ), inCount ) )
        inChecksum = ( inChecksum ^ byte ) * kPrime;
    return inChecksum;
}
