#pragma once

#include "Ground/XFail.h"

#include <utility>

#include <windows.h>

#include "WNoSystemMacros.h" // needs to be behind the header above

/// An event object of the system; none after a move.
class WEventObject
{
public:
    /// Throws the system's last error.
    explicit WEventObject( bool inResetByHand )
        : itsHandle( CreateEventW( nullptr, inResetByHand, FALSE, nullptr ) )
    {
        if ( !itsHandle )
            XThrowLastSystemError();
    }
    WEventObject( WEventObject&& inOther ) noexcept : itsHandle( std::exchange( inOther.itsHandle, nullptr ) )
    {
    }
    WEventObject& operator=( WEventObject&& ) = delete;
    ~WEventObject()
    {
        if ( itsHandle )
            CloseHandle( itsHandle );
    }

    void Set() const { SetEvent( itsHandle ); }
    operator HANDLE() const { return itsHandle; }

private:
    HANDLE itsHandle;
};
