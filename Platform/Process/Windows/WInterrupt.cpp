#include "Process/WInterrupt.h"

#include "Ground/XFail.h"

#include <atomic>
#include <windows.h>

namespace
{

HANDLE sInterrupts = nullptr; // a semaphore: interrupts that nobody has taken yet
HANDLE sClosing = nullptr;    // an event
std::atomic<bool> sIsTaken = false;

/// Runs on a thread of the system's, under the lock of the list of handlers. At the end of the console or the session
/// the system ends the process as soon as this returns, so it does not return.
BOOL WINAPI HandleControl( DWORD inType )
{
    if ( !sIsTaken )
        return FALSE;
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
    if ( !sInterrupts || !sClosing )
        XThrowLastSystemError();
    sIsTaken = true;
    static const bool sIsInstalled = SetConsoleCtrlHandler( HandleControl, TRUE ) != 0;
    if ( !sIsInstalled )
        XThrowLastSystemError();
}

void WInterrupt::GiveBack()
{
    // The handler stays registered and the handles stay open: the handler may be running, and unregistering
    // it would then wait for it.
    sIsTaken = false;
}

WInterrupt::Event WInterrupt::WaitForEvent( std::uint32_t inTimeoutMS )
{
    const HANDLE handles[] = { sClosing, sInterrupts };
    const DWORD result = WaitForMultipleObjects( 2, handles, FALSE, inTimeoutMS );
    return result == WAIT_TIMEOUT     ? kTimeoutEvent
        : result == WAIT_OBJECT_0 + 1 ? kInterruptEvent
                                      : kClosingEvent;
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
