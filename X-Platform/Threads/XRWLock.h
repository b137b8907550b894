#pragma once

#include "Threads/XRWMutex.h"

/// Locks a reader/writer mutex for a scope.
class XRWLock
{
public:
    /// Locks like `XRWMutex::Lock`, with its errors.
    XRWLock(
        XRWMutex& inMutex, XRWLockMode inMode, std::uint32_t inTimeoutMS = kNoTimeout,
        bool inAlertable = false )
        : itsMutex( inMutex ), itsMode( inMode )
    {
        itsMutex.Lock( itsMode, inTimeoutMS, inAlertable );
    }
    XRWLock( const XRWLock& ) = delete;
    XRWLock& operator=( const XRWLock& ) = delete;
    ~XRWLock() { itsMutex.Unlock( itsMode ); }

private:
    XRWMutex& itsMutex;
    const XRWLockMode itsMode;
};
