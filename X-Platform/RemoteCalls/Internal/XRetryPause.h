#pragma once

#include "Ground/XTypes.h"

#include <algorithm>

/// The pauses between attempts to connect: exponential up to a limit, each reduced by a random part of at
/// most its half, so that the clients of a server do not all reconnect at once. Internal to XRPCBridge.
class XRetryPause
{
public:
    explicit XRetryPause( std::uint32_t inMostMS ) : itsMostMS( inMostMS ) {}

    /// Returns the next pause in milliseconds; `inRandom` is any random number.
    std::uint32_t TakeNext( std::uint32_t inRandom )
    {
        const std::uint32_t longest = itsNextMS;
        itsNextMS = std::min( 2 * itsNextMS, itsMostMS );
        return longest - inRandom % ( longest / 2 );
    }

private:
    std::uint32_t itsNextMS = 100;
    const std::uint32_t itsMostMS;
};
