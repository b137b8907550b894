#include "Threads/XLock.h"

XLock::XLock( XLockable* theObject, XLockMode inMode ) : itsObject( theObject ), itsMode( inMode )
{
    XAssert( theObject );
    Relock();
}

XLock::~XLock()
{
    if ( itsIsLocked )
        itsObject->Unlock( itsMode );
}

void XLock::Unlock()
{
    XAssert( itsIsLocked );
    itsIsLocked = false;
    itsObject->Unlock( itsMode );
}

void XLock::Relock()
{
    XAssert( !itsIsLocked );
    itsObject->Lock( itsMode );
    itsIsLocked = true;
}
