#include "Process/WMainLoop.h"

#include "Ground/XFail.h"
#include "System/WThreadID.h"

#include <atomic>
#include <mutex>

#include <windows.h>

namespace
{

std::atomic<HANDLE> sBell = nullptr; // an event reset by hand

/// Initially set, because earlier wake-ups had no event to set.
HANDLE CreateBell()
{
    const HANDLE bell = CreateEventW( nullptr, TRUE, TRUE, nullptr );
    if ( !bell )
        XThrowLastSystemError();
    return bell;
}

HANDLE ToHandle( WMainLoop::XHandle inHandle )
{
    return reinterpret_cast<HANDLE>( inHandle );
}

} // namespace

WMainLoop::XHandle WMainLoop::GetWaitHandle()
{
    static std::once_flag once;
    std::call_once( once, [] { sBell = CreateBell(); } );
    return reinterpret_cast<XHandle>( sBell.load() );
}

/// The posted message wakes a loop of window messages that does not know the bell. It is refused, which is as
/// well, where the main thread has no queue of window messages.
void WMainLoop::Wake()
{
    if ( const HANDLE bell = sBell )
        SetEvent( bell );
    PostThreadMessageW( WThreadID::GetMain(), WM_NULL, 0, 0 );
}

void WMainLoop::ClearWake()
{
    ResetEvent( ToHandle( GetWaitHandle() ) );
}

bool WMainLoop::WaitForHandle( XHandle inHandle, std::uint32_t inTimeoutMs )
{
    return WaitForSingleObject( ToHandle( inHandle ), inTimeoutMs ) == WAIT_OBJECT_0;
}

bool WMainLoop::WaitForWork( XHandle inBell, std::uint32_t inTimeoutMs )
{
    const HANDLE bell = ToHandle( inBell );
    return MsgWaitForMultipleObjectsEx( 1, &bell, inTimeoutMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE ) !=
        WAIT_TIMEOUT;
}

void WMainLoop::DispatchSystemMessages()
{
    MSG message;
    while ( PeekMessageW( &message, nullptr, 0, 0, PM_REMOVE ) )
    {
        if ( message.message == WM_QUIT )
            RequestEnd( static_cast<std::int32_t>( message.wParam ) );
        TranslateMessage( &message );
        DispatchMessageW( &message );
    }
}
