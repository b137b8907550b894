#include "Threads/XPreventThreadStop.h"

#include "Threads/XThread.h"

XPreventThreadStop::XPreventThreadStop() : itsThread( XThread::GetCurrentThread() )
{
    if ( itsThread )
        ++itsThread->itsPreventStopCount;
}

XPreventThreadStop::~XPreventThreadStop()
{
    if ( itsThread )
        --itsThread->itsPreventStopCount;
}
