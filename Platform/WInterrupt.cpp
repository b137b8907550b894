#include "WInterrupt.h"

#include "Core/XTypes.h"

#include <atomic>
#include <utility>

namespace
{
std::atomic<bool> sIsRequested = false;
}

WInterrupt::WInterrupt( Options inOptions ) : itsOptions( std::move( inOptions ) )
{
    TakeOver();
    itsWatcher = std::thread( [this] { Watch(); } );
}

WInterrupt::~WInterrupt()
{
    Close();
    itsWatcher.join();
    GiveBack();
}

bool WInterrupt::IsRequested() noexcept
{
    return sIsRequested.load( std::memory_order_relaxed );
}

void WInterrupt::Watch()
{
    if ( WaitForEvent( kNoTimeout ) == kClosing )
        return;
    sIsRequested = true;
    if ( WaitForEvent( itsOptions.graceMs ) != kClosing )
        EndAtOnce();
}

void WInterrupt::EndAtOnce()
{
    if ( itsOptions.last )
        itsOptions.last();
    EndProcess( itsOptions.exitStatus );
}
