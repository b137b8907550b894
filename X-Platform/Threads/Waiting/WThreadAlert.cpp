#include "Threads/Waiting/WThreadAlert.h"

#include <utility>

namespace
{

thread_local WThreadAlert* sCurrentAlert = nullptr;

}

void WThreadAlert::Alert()
{
    const std::lock_guard lock( itsMutex );
    itsIsPending = true;
    if ( itsWaitingOn )
        itsWaitingOn->Alert();
}

void WThreadAlert::Reset()
{
    const std::lock_guard lock( itsMutex );
    itsIsPending = false;
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
    if ( std::exchange( itsIsPending, false ) )
        return false;
    itsWaitingOn = &inWait;
    return true;
}

void WThreadAlert::EndWait( bool inWasAlerted )
{
    const std::lock_guard lock( itsMutex );
    itsWaitingOn = nullptr;
    if ( inWasAlerted )
        itsIsPending = false;
}
