#include "System/WFutex.h"

#include <windows.h>

bool WFutex::Wait( std::atomic<std::uint32_t>& ioWord, std::uint32_t inExpected, const WDeadline& inDeadline )
{
    if ( inDeadline.HasPassed() )
        return false;
    // Spurious returns and time-outs are equivalent for the caller, which checks the word and the deadline
    // again.
    WaitOnAddress( &ioWord, &inExpected, sizeof( inExpected ), inDeadline.GetMillisecondsLeft() );
    return true;
}

void WFutex::Wake( const std::atomic<std::uint32_t>* inAddress )
{
    WakeByAddressAll( const_cast<std::atomic<std::uint32_t>*>( inAddress ) );
}
