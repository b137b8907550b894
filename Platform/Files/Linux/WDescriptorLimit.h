#pragma once

#include <cstdint>

/// The number of descriptors that the process may hold. Every temporary file holds one, and the limit that a
/// process starts with is far below the one it may set for itself.
class WDescriptorLimit
{
public:
    /// How many there may be now.
    static std::uint64_t Get();

    /// Makes the call, which returns a descriptor or -1; makes it again if more descriptors were allowed then.
    template<class Call>
    static int Retry( Call inCall )
    {
        const int descriptor = inCall();
        return descriptor == -1 && RaiseIfReached() ? inCall() : descriptor;
    }

private:
    /// True when `errno` tells that the limit was reached and it could be raised.
    static bool RaiseIfReached();
};
