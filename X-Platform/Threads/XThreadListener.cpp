#include "Threads/XThreadListener.h"

#include "Threads/XThread.h"

void XThreadListener::StartListening()
{
    XThread::RegisterThreadListener( *this );
}

void XThreadListener::StopListening()
{
    XThread::UnregisterThreadListener( *this );
}
