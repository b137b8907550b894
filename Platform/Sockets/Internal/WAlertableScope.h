#pragma once

#include "Sockets/WSocketAlert.h"

/// Makes a wait that includes WSocketAlert end when the calling thread is alerted.
class WAlertableScope
{
public:
    explicit WAlertableScope( WThreadAlert* inThread )
        : itsThread( inThread ), itsIsWaiting( inThread && inThread->BeginWait( WSocketAlert::GetCurrent() ) )
    {
    }
    WAlertableScope( const WAlertableScope& ) = delete;
    WAlertableScope& operator=( const WAlertableScope& ) = delete;
    ~WAlertableScope()
    {
        if ( !itsIsWaiting )
            return;
        itsThread->EndWait( itsIsAlerted );
        if ( itsIsAlerted )
            WSocketAlert::GetCurrent().Clear();
    }

    /// Whether the thread was alerted before it began to wait.
    bool WasAlerted() const { return itsThread && !itsIsWaiting; }
    void SetAlerted() { itsIsAlerted = true; }

private:
    WThreadAlert* const itsThread;
    const bool itsIsWaiting;
    bool itsIsAlerted = false;
};
