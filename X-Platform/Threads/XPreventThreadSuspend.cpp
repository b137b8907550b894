#include "Threads/XPreventThreadSuspend.h"

#include "Threads/XThread.h"

XPreventThreadSuspend::XPreventThreadSuspend() : itsThread( XThread::GetCurrentThread() )
{
    if ( itsThread )
        ++itsThread->itsPreventSuspendCount;
}

XPreventThreadSuspend::~XPreventThreadSuspend()
{
    if ( itsThread )
        --itsThread->itsPreventSuspendCount;
}
