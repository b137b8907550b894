#include "Time/WClock.h"

#include <ctime>

namespace
{

std::int64_t ReadMicroSeconds( clockid_t inClock )
{
    timespec time{};
    clock_gettime( inClock, &time );
    return std::int64_t( time.tv_sec ) * 1000000 + time.tv_nsec / 1000;
}

} // namespace

std::int64_t WClock::GetMicroSeconds()
{
    return ReadMicroSeconds( CLOCK_BOOTTIME );
}

std::int64_t WClock::GetSystemMicroSeconds()
{
    return ReadMicroSeconds( CLOCK_REALTIME );
}

std::int64_t WClock::GetCoarseTicks()
{
    static_assert( CLOCKS_PER_SEC == 1000000 );
    return ReadMicroSeconds( CLOCK_MONOTONIC_COARSE );
}
