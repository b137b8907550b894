#include "Memory/Internal/XRoomWaiters.h"

#include "System/WThreadID.h"

// A wait of AboutToAllocate must end when another thread makes room, and must not begin when no thread is
// left to do so. Both questions are decided with counters under itsMutex:
// - itsChanges counts every event that may have made room. A waiter notes it at the beginning of an attempt
//   (itsSeen); if it has moved on since then, the attempt is repeated instead of sleeping, so an event
//   between the attempt and the sleep is not lost.
// - itsIsWaiting marks a waiter from before its decision until the next change. Locks held by such threads
//   are not worth waiting for. Decisions are made one at a time (itsDecisionMutex), so of several threads
//   that wait for each other's locks the last one sees all others marked, gives up with 1012 and releases its
//   locks for them.
// - itsTransits counts threads that bring blocks into or out of memory, except those that wait for room in
//   the midst of that: SetWaiting takes them out of the count and puts them back.
//
// A change unmarks all waiters at once (WakeAll), because each of them may now proceed and then unlock what
// others wait for.

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
    // With a change since the attempt this thread will try again, so others may still expect something of it.
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
void XRoomWaiters::XWaiter::Sleep( std::uint32_t inTimeoutMS )
{
    constexpr bool kIsAlertable = true;
    const XThreadLock lock( itsAll.itsMutex );
    if ( itsAll.itsChanges == itsSeen )
        itsAll.itsChanged.Sleep( itsAll.itsMutex, inTimeoutMS, kIsAlertable );
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
