#pragma once

#include "Ground/XTypes.h"

#include <algorithm>

/// The pauses between attempts to connect: each twice as long as the one before up to a limit, and cut by a random part of at
/// most its half, so that clients of one server do not all come back at once. Internal to XRPCBridge.
class XRetryPause
{
public:
    explicit XRetryPause( std::uint32_t inMostMS ) : itsMostMS( inMostMS ) {}

    /// The next pause, for a random number of any size.
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
