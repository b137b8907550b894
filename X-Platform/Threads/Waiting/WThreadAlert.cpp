#include "Threads/Waiting/WThreadAlert.h"

#include <utility>

namespace
{

thread_local WThreadAlert* sCurrentAlert = nullptr;

}

void WThreadAlert::Alert()
{
    const std::lock_guard lock( itsMutex );
    itsHasRung = true;
    if ( itsWaitingOn )
        itsWaitingOn->Alert();
}

void WThreadAlert::Reset()
{
    const std::lock_guard lock( itsMutex );
    itsHasRung = false;
}

WThreadAlert* WThreadAlert::GetCurrent()
{
    return sCurrentAlert;
}

void WThreadAlert::SetCurrent( WThreadAlert* inAlert )
{
    sCurrentAlert = inAlert;
}

bool WThreadAlert::BeginWait( WAlertableWait& inWait )
{
    const std::lock_guard lock( itsMutex );
    if ( std::exchange( itsHasRung, false ) )
        return false;
    itsWaitingOn = &inWait;
    return true;
}

void WThreadAlert::EndWait( bool inHasHeard )
{
    const std::lock_guard lock( itsMutex );
    itsWaitingOn = nullptr;
    if ( inHasHeard )
        itsHasRung = false;
}
