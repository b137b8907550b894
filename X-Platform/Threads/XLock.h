#pragma once

#include "Threads/XLockable.h"

/// Holds a lockable object locked for a scope.
class KORVALE_API XLock
{
public:
    /// Locks the object. A null object is an internal error, "theObject".
    XLock( XLockable* theObject, XLockMode inMode );
    XLock( XLockable& inObject, XLockMode inMode ) : XLock( &inObject, inMode ) {}
    XLock( const XLock& ) = delete;
    XLock& operator=( const XLock& ) = delete;

    /// Unlocks what `Unlock` has not unlocked before.
    ~XLock();

    /// Unlocks before the end of the scope; locks again.
    void Unlock();
    void Relock();

    bool IsLocked() const { return itsIsLocked; }
    XLockMode GetLockMode() const { return itsMode; }

private:
    XLockable* itsObject;
    XLockMode itsMode;
    bool itsIsLocked = false;
};
