#include "Threads/WThread.h"

#include "Threads/WThreadManager.h"
#include "Threads/Waiting/Internal/WParkingNode.h"

#include <utility>

// The handle of a system thread must be waited for (joined) once, or the system keeps the thread's stack. A
// WThread may live long after its thread has ended, so ended threads are chained in EndedThreads, and the
// next thread that ends releases those whose end is complete (TryToRelease does not block). Whoever takes
// itsHandle out under the mutex of that list, the chain or WaitForSystemThread, is the one that releases it.

/// Guards the handles of all threads, and keeps those that have ended and wait for their release.
struct WThread::EndedThreads
{
    std::mutex mutex;
    WThread* first = nullptr;

    /// Never destroyed: threads may still end while the process's statics are.
    static EndedThreads& Get()
    {
        static auto* const ended = new EndedThreads;
        return *ended;
    }

    void Remove( const WThread& inThread )
    {
        WThread** link = &first;
        while ( *link && *link != &inThread )
            link = &( *link )->itsNextEnded;
        if ( *link )
            *link = inThread.itsNextEnded;
    }

    /// Releases the system's data of ended threads.
    void ReleaseGone()
    {
        for ( WThread** link = &first; *link; )
            if ( TryToRelease( ( *link )->itsHandle ) )
            {
                ( *link )->itsHandle = 0;
                *link = ( *link )->itsNextEnded;
            }
            else
                link = &( *link )->itsNextEnded;
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
    WThreadManager::ThreadStarted();
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

/// The system keeps the stack of a thread until its end has been waited for, and the WThread object may live
/// long: therefore the next thread that ends releases it. Called on the thread, at its very end.
void WThread::ReleasePrevious()
{
    auto& ended = EndedThreads::Get();
    const std::lock_guard lock( ended.mutex );
    ended.ReleaseGone();
    if ( itsHandle != 0 ) // else it is waited for already
        itsNextEnded = std::exchange( ended.first, this );
}

void WThread::WaitForSystemThread()
{
    auto& ended = EndedThreads::Get();
    std::uintptr_t handle = 0;
    {
        const std::lock_guard lock( ended.mutex );
        ended.Remove( *this );
        handle = std::exchange( itsHandle, 0 );
    }
    if ( handle != 0 )
        WaitForHandle( handle );
}

void WThread::Ended()
{
    WThreadManager::ThreadEnded();
    WThreadAlert::SetCurrent( nullptr );
    const std::lock_guard lock( itsMutex );
    itsThreadID = 0;
}

std::uint32_t WThread::GetThreadID() const
{
    const std::lock_guard lock( itsMutex );
    return itsThreadID;
}

WWaitResult WThread::Sleep( std::uint32_t inTimeoutMS, bool inAlertable )
{
    WParkingNode node; // that nobody will release
    return node.Wait( WDeadline( inTimeoutMS ), inAlertable );
}
