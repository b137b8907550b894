#pragma once

#include "Ground/XTypes.h"
#include "Threads/XMutex.h"

/// The number of bytes transferred in one direction of a connection, and the recent rate.
/// Threads: any thread.
class KORVALE_API XTransferStatistics
{
public:
    XTransferStatistics() = default;

    void Reset();

    /// Records a transfer. A transfer of no measurable duration does not count for the rate.
    void Add( std::uint64_t inBytes, std::int64_t inMicroseconds );

    std::uint64_t GetTotalBytes() const;

    /// The mean rate of the last transfers, at most `kMostSamples`; 0 before the first.
    std::uint64_t GetAverageBytesPerSecond() const;

private:
    static constexpr USize kMostSamples = 10;

    mutable XMutex itsMutex;
    // Guarded by itsMutex:
    std::uint64_t itsTotalBytes = 0;
    std::uint64_t itsRates[kMostSamples] = {}; // ring buffer
    USize itsSamples = 0;
    USize itsNextSample = 0;
};
