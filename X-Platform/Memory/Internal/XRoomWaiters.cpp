#include "Memory/Internal/XRoomWaiters.h"

#include "System/WThreadID.h"

namespace
{
thread_local std::uint32_t sTransits = 0; // of this thread; one inside the other where a block needs another
} // namespace

XRoomWaiters::XWaiter::XWaiter( XRoomWaiters& ioAll )
    : itsAll( ioAll ), itsThread( WThreadID::GetCurrent() ), itsTransits( sTransits )
{
    const XThreadLock lock( itsAll.itsMutex );
    NoteBeginning();
    itsNext = itsAll.itsFirst;
    itsAll.itsFirst = this;
    ++itsAll.itsCount;
}

XRoomWaiters::XWaiter::~XWaiter()
{
    const XThreadLock lock( itsAll.itsMutex );
    itsAll.SetWaiting( *this, false );
    XWaiter** place = &itsAll.itsFirst;
    while ( *place != this )
        place = &( *place )->itsNext;
    *place = itsNext;
    --itsAll.itsCount;
}

void XRoomWaiters::XWaiter::BeginAttempt()
{
    const XThreadLock lock( itsAll.itsMutex );
    itsAll.SetWaiting( *this, false );
    NoteBeginning();
}

void XRoomWaiters::XWaiter::NoteBeginning()
{
    itsSeen = itsAll.itsChanges;
    itsEarlierWaits = itsAll.itsWaits;
}

void XRoomWaiters::XWaiter::BeginWait()
{
    const XThreadLock lock( itsAll.itsMutex );
    if ( itsAll.itsChanges == itsSeen )
        itsAll.SetWaiting( *this, true );
}

/// Returns whether another attempt is worthwhile nevertheless.
bool XRoomWaiters::XWaiter::EndWait()
{
    const XThreadLock lock( itsAll.itsMutex );
    itsAll.SetWaiting( *this, false );
    return itsAll.itsChanges != itsSeen;
}

/// A stop of the thread is thrown out of the wait.
void XRoomWaiters::XWaiter::Sleep( std::uint32_t inTimeoutMs )
{
    constexpr bool kIsAlertable = true;
    const XThreadLock lock( itsAll.itsMutex );
    if ( itsAll.itsChanges == itsSeen )
        itsAll.itsChanged.Sleep( itsAll.itsMutex, inTimeoutMs, kIsAlertable );
}

void XRoomWaiters::BeginTransit()
{
    ++sTransits;
    ++itsTransits;
}

/// Not a change for the thread itself: with a failing purge of its own it would retry forever.
void XRoomWaiters::EndTransit()
{
    --sTransits;
    const XThreadLock lock( itsMutex );
    --itsTransits;
    WakeAll();
    for ( XWaiter* waiter = itsFirst; waiter; waiter = waiter->itsNext )
        if ( waiter->itsThread == WThreadID::GetCurrent() )
            ++waiter->itsSeen;
}

bool XRoomWaiters::XWaiter::HasWaitedMeanwhile( std::uint32_t inThread ) const
{
    const XThreadLock lock( itsAll.itsMutex );
    for ( const XWaiter* waiter = itsAll.itsFirst; waiter; waiter = waiter->itsNext )
        if ( waiter->itsThread == inThread && waiter->itsIsWaiting && waiter->itsWait <= itsEarlierWaits )
            return true;
    return false;
}

bool XRoomWaiters::IsWaiting( std::uint32_t inThread ) const
{
    const XThreadLock lock( itsMutex );
    for ( const XWaiter* waiter = itsFirst; waiter; waiter = waiter->itsNext )
        if ( waiter->itsThread == inThread && waiter->itsIsWaiting )
            return true;
    return false;
}

/// A thread that waits brings nothing for as long.
void XRoomWaiters::SetWaiting( XWaiter& ioWaiter, bool inIsWaiting )
{
    if ( ioWaiter.itsIsWaiting == inIsWaiting )
        return;
    ioWaiter.itsIsWaiting = inIsWaiting;
    if ( inIsWaiting )
    {
        ioWaiter.itsWait = ++itsWaits;
        itsTransits -= ioWaiter.itsTransits;
    }
    else
        itsTransits += ioWaiter.itsTransits;
}

void XRoomWaiters::WakeAll()
{
    ++itsChanges;
    for ( XWaiter* waiter = itsFirst; waiter; waiter = waiter->itsNext )
        SetWaiting( *waiter, false );
    itsChanged.Broadcast();
}
