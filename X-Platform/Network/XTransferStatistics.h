#pragma once

#include "Ground/XTypes.h"
#include "Threads/XMutex.h"

/// How much one direction of a connection has moved, and how fast it was lately.
/// Threads: any thread.
class KORVALE_API XTransferStatistics
{
public:
    XTransferStatistics() = default;

    void Reset();

    /// Enters a transfer. The rate of one that took no measurable time is not known and does not count.
    void Add( std::uint64_t inBytes, std::int64_t inMicroseconds );

    std::uint64_t GetTotalBytes() const;

    /// The mean of the rates of the last transfers, `kMostSamples` at most; 0 without any.
    std::uint64_t GetAverageBytesPerSecond() const;

private:
    static constexpr USize kMostSamples = 10;

    mutable XMutex itsMutex;
    // Guarded by itsMutex:
    std::uint64_t itsTotalBytes = 0;
    std::uint64_t itsRates[kMostSamples] = {}; // a ring
    USize itsSamples = 0;
    USize itsNextSample = 0;
};
