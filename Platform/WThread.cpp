#include "WThread.h"

#include "WParkingNode.h"
#include "WThreadManager.h"

#include <condition_variable>
#include <utility>

/// Guards the handles of all threads, and hands those that have ended from one to the next.
struct WThread::EndedThreads
{
    std::mutex mutex;
    std::condition_variable released;
    WThread* last = nullptr; // has ended and is released by the next thread that ends

    /// Never destroyed: threads may still end while the process's statics are.
    static EndedThreads& Get()
    {
        static auto* const ended = new EndedThreads;
        return *ended;
    }
};

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
    const std::lock_guard lock( EndedThreads::Get().mutex ); // the new thread finds its handle when it ends
    itsHandle = StartSystemThread();
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
    const std::int32_t returnCode = itsBody.FinishThread();
    ReleasePrevious();
    return returnCode;
}

/// The system keeps the stack of a thread until somebody has waited for its end, and the object may last for long: so
/// the next thread that ends waits for it. On the thread, at its very end.
void WThread::ReleasePrevious()
{
    auto& ended = EndedThreads::Get();
    WThread* previous = nullptr;
    std::uintptr_t handle = 0;
    {
        const std::lock_guard lock( ended.mutex );
        if ( itsHandle == 0 )
            return; // it is waited for already
        previous = std::exchange( ended.last, this );
        if ( !previous )
            return;
        handle = std::exchange( previous->itsHandle, 0 );
        previous->itsIsBeingReleased = true;
    }
    WaitForHandle( handle );
    const std::lock_guard lock( ended.mutex );
    previous->itsIsBeingReleased = false;
    ended.released.notify_all();
}

void WThread::WaitForSystemThread()
{
    auto& ended = EndedThreads::Get();
    std::uintptr_t handle = 0;
    {
        std::unique_lock lock( ended.mutex );
        if ( ended.last == this )
            ended.last = nullptr;
        ended.released.wait( lock, [this] { return !itsIsBeingReleased; } );
        handle = std::exchange( itsHandle, 0 );
    }
    if ( handle != 0 )
        WaitForHandle( handle );
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
