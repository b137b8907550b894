#include "Process/WInterrupt.h"

#include "Ground/WDeadline.h"
#include "Ground/XTypes.h"

#include <algorithm>
#include <atomic>
#include <utility>

// The watcher thread waits for the first interrupt and sets a flag, which the program obeys at its next
// opportunity. Then it waits for the program's end, a second interrupt or the end of the grace period; in the
// latter two cases it ends the process itself. After DisableAbort the results are complete, so further
// interrupts are ignored, and only a program that does not end within the grace period is ended.

namespace
{
std::atomic<bool> sIsRequested = false;
std::atomic<bool> sIsTooLate = false;
std::atomic<std::uint32_t> sServiceGraceMS = 0; // 0: no service
} // namespace

WInterrupt::WInterrupt( Options inOptions ) : itsOptions( std::move( inOptions ) )
{
    sServiceGraceMS = 0;
    TakeOver();
    itsWatcher = std::thread( [this] { Watch(); } );
}

WInterrupt::~WInterrupt()
{
    Close();
    itsWatcher.join();
    // Afterwards nothing may be interrupted any more: signals stay blocked to the end of the process.
    if ( !sIsTooLate )
        GiveBack();
}

bool WInterrupt::IsRequested() noexcept
{
    return sIsRequested.load( std::memory_order_relaxed ) && !sIsTooLate;
}

void WInterrupt::BeginService( std::uint32_t inGraceMS ) noexcept
{
    sServiceGraceMS = inGraceMS;
}

void WInterrupt::DisableAbort() noexcept
{
    sIsTooLate = true;
}

void WInterrupt::Watch()
{
    if ( WaitForEvent( kNoTimeout ) == kClosingEvent )
        return;
    sIsRequested = true;
    if ( IsEndDue() )
        EndAtOnce();
}

/// Waits until the process has to be ended; false when it ends by itself.
bool WInterrupt::IsEndDue() const
{
    const WDeadline grace( std::max<std::uint32_t>( itsOptions.graceMS, sServiceGraceMS ) );
    for ( ;; )
    {
        const Event event = WaitForEvent( grace.GetMillisecondsLeft() );
        if ( event != kInterruptEvent || !sIsTooLate )
            return event != kClosingEvent;
    }
}

void WInterrupt::EndAtOnce()
{
    if ( itsOptions.last )
        itsOptions.last();
    EndProcess( sIsTooLate ? itsOptions.lateStatus : itsOptions.exitStatus );
}
