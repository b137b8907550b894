#include "System/WFutex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

timespec ToTimespec( WDeadline::Clock::duration inDuration )
{
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>( inDuration ).count();
    return {
        static_cast<time_t>( nanoseconds / 1'000'000'000 ),
        static_cast<long>( nanoseconds % 1'000'000'000 ) };
}

} // namespace

bool WFutex::Wait( std::atomic<std::uint32_t>& ioWord, std::uint32_t inExpected, const WDeadline& inDeadline )
{
    timespec timeLeft{};
    if ( inDeadline.IsLimited() )
    {
        if ( inDeadline.HasPassed() )
            return false;
        timeLeft = ToTimespec( inDeadline.GetTimeLeft() );
    }
    // A signal, a word that has changed and a time-out all return; the caller looks at the word and the deadline again.
    syscall(
        SYS_futex, &ioWord, FUTEX_WAIT_PRIVATE, inExpected, inDeadline.IsLimited() ? &timeLeft : nullptr,
        nullptr, 0 );
    return true;
}

void WFutex::Wake( const std::atomic<std::uint32_t>* inAddress )
{
    syscall( SYS_futex, inAddress, FUTEX_WAKE_PRIVATE, INT32_MAX, nullptr, nullptr, 0 );
}
