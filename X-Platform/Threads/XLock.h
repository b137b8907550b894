#pragma once

#include "Threads/XLockable.h"

/// Locks a lockable object for a scope.
class KORVALE_API XLock
{
public:
    /// Locks the object. A null object is an internal error, "theObject".
    XLock( XLockable* theObject, XLockMode inMode );
    XLock( XLockable& inObject, XLockMode inMode ) : XLock( &inObject, inMode ) {}
    XLock( const XLock& ) = delete;
    XLock& operator=( const XLock& ) = delete;

    /// Unlocks the object unless `Unlock` has done so.
    ~XLock();

    /// Unlock and lock again before the end of the scope.
    void Unlock();
    void Relock();

    bool IsLocked() const { return itsIsLocked; }
    XLockMode GetLockMode() const { return itsMode; }

private:
    XLockable* itsObject;
    XLockMode itsMode;
    bool itsIsLocked = false;
};
