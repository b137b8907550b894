#include "Network/XTransferStatistics.h"

#include "Threads/XThreadLock.h"

#include <algorithm>
#include <numeric>

void XTransferStatistics::Reset()
{
    const XThreadLock lock( itsMutex );
    itsTotalBytes = 0;
    itsSamples = 0;
    itsNextSample = 0;
}

void XTransferStatistics::Add( std::uint64_t inBytes, std::int64_t inMicroseconds )
{
    constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000;
    const XThreadLock lock( itsMutex );
    itsTotalBytes += inBytes;
    if ( inMicroseconds <= 0 )
        return;
    itsRates[itsNextSample] = inBytes * kMicrosecondsPerSecond / static_cast<std::uint64_t>( inMicroseconds );
    itsNextSample = ( itsNextSample + 1 ) % kMostSamples;
    itsSamples = std::min( itsSamples + 1, kMostSamples );
}

std::uint64_t XTransferStatistics::GetTotalBytes() const
{
    const XThreadLock lock( itsMutex );
    return itsTotalBytes;
}

std::uint64_t XTransferStatistics::GetAverageBytesPerSecond() const
{
    const XThreadLock lock( itsMutex );
    return itsSamples == 0
        ? 0
        : std::accumulate( itsRates, itsRates + itsSamples, std::uint64_t( 0 ) ) / itsSamples;
}
