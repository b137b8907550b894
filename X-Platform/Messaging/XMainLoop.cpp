#include "Messaging/XMainLoop.h"

#include "Ground/XFail.h"
#include "Messaging/XAppClosingMessage.h"
#include "Messaging/XAppInitialisedMessage.h"
#include "Messaging/XAppMessageCentre.h"
#include "Process/WMainLoop.h"
#include "Threads/XThread.h"

std::int32_t XMainLoop::Run()
{
    return Run( nullptr, kNoTimeout );
}

std::int32_t XMainLoop::Run( const std::function<void()>& inWork, std::uint32_t inPeriodMS )
{
    XAssert( XThread::IsMainThread() );
    XAppMessageCentre& centre = XAppMessageCentre::GetAppMessageCentre();
    centre.SpeakMessage( XAppInitialisedMessage( &centre ) );
    const std::int32_t exitCode = WMainLoop::Run(
        { XSpeaker::ProcessAllNextEventMessages, XSpeaker::ProcessAllIdleMessages, inWork, inPeriodMS } );
    centre.SpeakMessage( XAppClosingMessage( &centre ) );
    return exitCode;
}

void XMainLoop::RequestEnd( std::int32_t inExitCode )
{
    WMainLoop::RequestEnd( inExitCode );
}
