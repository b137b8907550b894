#include "Sockets/WSocketAlert.h"

#include "Ground/XFail.h"

#include <windows.h>

namespace
{

HANDLE ToEvent( std::uintptr_t inHandle )
{
    return reinterpret_cast<HANDLE>( inHandle );
}

void WINAPI DeleteAlert( void* inAlert )
{
    delete static_cast<WSocketAlert*>( inAlert );
}

} // namespace

/// Kept in a slot of the system, whose clean-up runs at the end of a thread: the destructor of a thread_local object may
/// run when the compiler's library has freed the object's memory.
WSocketAlert& WSocketAlert::GetCurrent()
{
    static const DWORD sSlot = FlsAlloc( DeleteAlert );
    if ( sSlot == FLS_OUT_OF_INDEXES )
        XThrowLastSystemError();
    if ( auto* const alert = static_cast<WSocketAlert*>( FlsGetValue( sSlot ) ) )
        return *alert;
    auto* const alert = new WSocketAlert;
    FlsSetValue( sSlot, alert );
    return *alert;
}

WSocketAlert::WSocketAlert()
    : itsHandle( reinterpret_cast<std::uintptr_t>( CreateEventW( nullptr, TRUE, FALSE, nullptr ) ) )
{
    if ( itsHandle == 0 )
        XThrowLastSystemError();
}

WSocketAlert::~WSocketAlert()
{
    CloseHandle( ToEvent( itsHandle ) );
}

void WSocketAlert::Alert()
{
    SetEvent( ToEvent( itsHandle ) );
}

void WSocketAlert::Clear()
{
    ResetEvent( ToEvent( itsHandle ) );
}
