#include "Process/WMainLoop.h"

#include "Ground/XFail.h"
#include "System/WThreadID.h"

#include <atomic>
#include <mutex>

#include <windows.h>

namespace
{

std::atomic<HANDLE> sWakeEvent = nullptr; // an event reset by hand

/// Initially set, because earlier wake-ups had no event to set.
HANDLE CreateWakeEvent()
{
    const HANDLE event = CreateEventW( nullptr, TRUE, TRUE, nullptr );
    if ( !event )
        XThrowLastSystemError();
    return event;
}

HANDLE ToHandle( WMainLoop::XHandle inHandle )
{
    return reinterpret_cast<HANDLE>( inHandle );
}

} // namespace

WMainLoop::XHandle WMainLoop::GetWaitHandle()
{
    static std::once_flag once;
    std::call_once( once, [] { sWakeEvent = CreateWakeEvent(); } );
    return reinterpret_cast<XHandle>( sWakeEvent.load() );
}

/// The posted message wakes a loop of window messages that does not wait for the event. It is rejected, which does no
/// harm, if the main thread has no queue of window messages.
void WMainLoop::Wake()
{
    if ( const HANDLE event = sWakeEvent )
        SetEvent( event );
    PostThreadMessageW( WThreadID::GetMain(), WM_NULL, 0, 0 );
}

void WMainLoop::ClearWake()
{
    ResetEvent( ToHandle( GetWaitHandle() ) );
}

bool WMainLoop::WaitForHandle( XHandle inHandle, std::uint32_t inTimeoutMS )
{
    return WaitForSingleObject( ToHandle( inHandle ), inTimeoutMS ) == WAIT_OBJECT_0;
}

bool WMainLoop::WaitForWork( XHandle inHandle, std::uint32_t inTimeoutMS )
{
    const HANDLE event = ToHandle( inHandle );
    return MsgWaitForMultipleObjectsEx( 1, &event, inTimeoutMS, QS_ALLINPUT, MWMO_INPUTAVAILABLE ) !=
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
