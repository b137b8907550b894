#include "Sockets/WSocketAlert.h"

#include "Core/XFail.h"

#include <windows.h>

namespace
{

HANDLE ToEvent( std::uintptr_t inHandle )
{
    return reinterpret_cast<HANDLE>( inHandle );
}

} // namespace

WSocketAlert& WSocketAlert::GetCurrent()
{
    thread_local WSocketAlert sCurrent;
    return sCurrent;
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
