#include "System/WFutex.h"

#include <windows.h>

bool WFutex::Wait( std::atomic<std::uint32_t>& ioWord, std::uint32_t inExpected, const WDeadline& inDeadline )
{
    if ( inDeadline.HasPassed() )
        return false;
    // A spurious return and a time-out are alike to the caller, who looks at the word and the deadline again.
    WaitOnAddress( &ioWord, &inExpected, sizeof( inExpected ), inDeadline.GetMillisecondsLeft() );
    return true;
}

void WFutex::Wake( const std::atomic<std::uint32_t>* inAddress )
{
    WakeByAddressAll( const_cast<std::atomic<std::uint32_t>*>( inAddress ) );
}
