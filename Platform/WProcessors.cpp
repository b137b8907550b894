#include "WProcessors.h"

#include <algorithm>
#include <mutex>

std::uint32_t WProcessors::GetCount()
{
    static const std::uint32_t sCount = std::clamp( CountProcessors(), 1u, 64u );
    return sCount;
}

const XVector<XVector<std::uint32_t>>& WProcessors::GetCores()
{
    static const auto sCores = FindCores();
    return sCores;
}

XVector<double> WProcessors::GetPercentLoads()
{
    static std::mutex sMutex;
    static XVector<Times> sLastTimes;
    const std::lock_guard lock( sMutex );
    XVector<Times> times = ReadTimes();
    times.resize( GetCount() );
    sLastTimes.resize( GetCount() );
    XVector<double> loads;
    for ( std::size_t processor = 0; processor < times.size(); ++processor )
    {
        const auto busy = static_cast<double>( times[processor].busy - sLastTimes[processor].busy );
        const auto total = static_cast<double>( times[processor].total - sLastTimes[processor].total );
        loads.push_back( total > 0 ? std::clamp( 100 * busy / total, 0.0, 100.0 ) : 0 );
    }
    sLastTimes = std::move( times );
    return loads;
}
