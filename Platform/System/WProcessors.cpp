#include "System/WProcessors.h"

#include <algorithm>
#include <mutex>

std::uint32_t WProcessors::GetCount()
{
    return static_cast<std::uint32_t>( std::min<std::size_t>( GetSystemNumbers().size(), 64 ) );
}

const XVector<std::uint32_t>& WProcessors::GetSystemNumbers()
{
    static const auto sNumbers = []
    {
        auto numbers = FindSystemNumbers();
        numbers.resize( std::max<std::size_t>( numbers.size(), 1 ) );
        return numbers;
    }();
    return sNumbers;
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
    sLastTimes.resize( times.size() );
    XVector<double> loads;
    for ( std::uint32_t index = 0; index < GetCount(); ++index )
    {
        const std::uint32_t processor = GetSystemNumbers()[index];
        if ( processor >= times.size() )
        {
            loads.push_back( 0 );
            continue;
        }
        const auto busy = static_cast<double>( times[processor].busy - sLastTimes[processor].busy );
        const auto total = static_cast<double>( times[processor].total - sLastTimes[processor].total );
        loads.push_back( total > 0 ? std::clamp( 100 * busy / total, 0.0, 100.0 ) : 0 );
    }
    sLastTimes = std::move( times );
    return loads;
}
