#include "Threads/XMainThread.h"

XMainThread::XMainThread() : XThread( "Main thread", kThreadPriorityNormal, kNoThreadOptions, true )
{
    SetMainThread( this );
}

XMainThread::~XMainThread()
{
    SetMainThread( nullptr );
}

std::int32_t XMainThread::RunThreadSelf()
{
    return 0;
}
