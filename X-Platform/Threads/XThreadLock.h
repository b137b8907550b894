#pragma once

#include "Threads/XMutex.h"

/// Locks a mutex for a scope.
class XThreadLock
{
public:
    /// Locks like `XMutex::Lock`, with its errors.
    explicit XThreadLock( XMutex& inMutex, std::uint32_t inTimeoutMS = kNoTimeout, bool inAlertable = false )
        : itsMutex( inMutex )
    {
        itsMutex.Lock( inTimeoutMS, inAlertable );
    }
    XThreadLock( const XThreadLock& ) = delete;
    XThreadLock& operator=( const XThreadLock& ) = delete;
    ~XThreadLock() { itsMutex.Unlock(); }

private:
    XMutex& itsMutex;
};
