#include "Time/WClock.h"

#include <ctime>

#include <windows.h>

namespace
{

std::int64_t GetCounterFrequency()
{
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency( &frequency );
    return frequency.QuadPart;
}

/// 100 ns steps from 1 January 1601 to 1 January 1970.
constexpr std::int64_t kUnixEpochTicks = 116444736000000000;

} // namespace

std::int64_t WClock::GetMicroSeconds()
{
    static const std::int64_t frequency = GetCounterFrequency();
    LARGE_INTEGER counter{};
    QueryPerformanceCounter( &counter );
    // In two steps: the counter times a million overflows within days of machine time at common frequencies.
    const std::int64_t seconds = counter.QuadPart / frequency;
    const std::int64_t rest = counter.QuadPart % frequency;
    return seconds * 1000000 + rest * 1000000 / frequency;
}

std::int64_t WClock::GetSystemMicroSeconds()
{
    FILETIME time{};
    GetSystemTimePreciseAsFileTime( &time );
    const std::uint64_t ticks = ( std::uint64_t( time.dwHighDateTime ) << 32 ) | time.dwLowDateTime;
    return ( static_cast<std::int64_t>( ticks ) - kUnixEpochTicks ) / 10;
}

std::int64_t WClock::GetCoarseTicks()
{
    static_assert( CLOCKS_PER_SEC == 1000 );
    return static_cast<std::int64_t>( GetTickCount64() );
}
