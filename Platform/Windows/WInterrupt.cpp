#include "WInterrupt.h"

#include "Core/XFail.h"

#include <windows.h>

namespace
{

HANDLE sInterrupts = nullptr; // a semaphore: interrupts that nobody has taken yet
HANDLE sClosing = nullptr;    // an event

/// Runs on a thread of the system's. Where the system ends the process as soon as this returns, it does not return.
BOOL WINAPI HandleControl( DWORD inType )
{
    ReleaseSemaphore( sInterrupts, 1, nullptr );
    if ( inType != CTRL_C_EVENT && inType != CTRL_BREAK_EVENT )
        Sleep( INFINITE );
    return TRUE;
}

} // namespace

void WInterrupt::TakeOver()
{
    sInterrupts = CreateSemaphoreW( nullptr, 0, MAXLONG, nullptr );
    sClosing = CreateEventW( nullptr, TRUE, FALSE, nullptr );
    if ( !sInterrupts || !sClosing || !SetConsoleCtrlHandler( HandleControl, TRUE ) )
        XThrowLastSystemError();
}

void WInterrupt::GiveBack()
{
    // The handles stay: the handler may be running.
    SetConsoleCtrlHandler( HandleControl, FALSE );
}

WInterrupt::Event WInterrupt::WaitForEvent( std::uint32_t inTimeoutMs )
{
    const HANDLE handles[] = { sClosing, sInterrupts };
    const DWORD result = WaitForMultipleObjects( 2, handles, FALSE, inTimeoutMs );
    return result == WAIT_TIMEOUT ? kTimedOut : result == WAIT_OBJECT_0 + 1 ? kInterrupted : kClosing;
}

void WInterrupt::Close()
{
    SetEvent( sClosing );
}

void WInterrupt::EndProcess( int inExitStatus )
{
    TerminateProcess( GetCurrentProcess(), static_cast<UINT>( inExitStatus ) );
    for ( ;; )
        Sleep( INFINITE );
}
