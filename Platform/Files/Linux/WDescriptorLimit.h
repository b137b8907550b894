#pragma once

#include <cstdint>

/// The number of descriptors that the process may have. Every temporary file needs one, and the initial limit
/// is far below the one that a process may set.
class WDescriptorLimit
{
public:
    /// The current limit.
    static std::uint64_t Get();

    /// Makes the call, which returns a descriptor or -1. If the limit was reached and could be raised, makes
    /// it again.
    template<class TCall>
    static int Retry( TCall inCall )
    {
        const int descriptor = inCall();
        return descriptor == -1 && RaiseIfReached() ? inCall() : descriptor;
    }

private:
    /// True if `errno` shows that the limit was reached and it could be raised.
    static bool RaiseIfReached();
};
