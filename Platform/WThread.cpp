#include "WThread.h"

#include "WParkingNode.h"
#include "WThreadManager.h"

WThread::WThread( WThreadBody& inBody ) : itsBody( inBody ) {}

WThread::~WThread()
{
    if ( GetThreadID() != 0 )
        Ended();
    WaitForSystemThread();
}

void WThread::Adopt()
{
    {
        const std::lock_guard lock( itsMutex );
        itsThreadID = WThreadID::GetCurrent();
    }
    WThreadAlert::SetCurrent( &itsAlert );
    WThreadManager::ThreadStarted( *this );
}

void WThread::Start()
{
    WaitForSystemThread();
    itsAlert.Reset();
    StartSystemThread();
}

void WThread::Wake()
{
    itsAlert.Alert();
}

std::int32_t WThread::Run()
{
    try
    {
        Adopt();
        itsBody.RunThread();
    }
    catch ( ... ) // the body has taken note of it, unless there was no memory to begin
    {
    }
    return itsBody.FinishThread();
}

void WThread::Ended()
{
    WThreadManager::ThreadEnded( *this );
    WThreadAlert::SetCurrent( nullptr );
    const std::lock_guard lock( itsMutex );
    itsThreadID = 0;
}

std::uint32_t WThread::GetThreadID() const
{
    const std::lock_guard lock( itsMutex );
    return itsThreadID;
}

WWaitResult WThread::Sleep( std::uint32_t inTimeoutMs, bool inAlertable )
{
    WParkingNode node; // that nobody will release
    return node.Wait( WDeadline( inTimeoutMs ), inAlertable );
}
