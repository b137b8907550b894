#include "RemoteCalls/Internal/XRPCTurns.h"

#include "Threads/WThread.h"
#include "Threads/Waiting/WEvent.h"
#include "Threads/XCheckpoint.h"
#include "Threads/XThreadLock.h"
#include "Time/WClock.h"

#include <algorithm>
#include <utility>

// One of the waiting threads is the next; only it watches the turn. Its wait of kTurnMS is the holder's turn:
// after it the next is late, and the holder gives the turn up at the end of its call. The late thread spins
// for that end, so that neither has to wake the other. If the holder has kept the turn and not come back, the
// late thread takes it over. Whoever gets the turn wakes the first of the others, which becomes the next.
//
// A holder keeps its turn only if that saves time: each thread gains the time of a wake-up if it comes back
// within kQuickUS, and loses the time for which the bridge would have been idle if it does not (XHabit).
//
// A waiting thread leaves the queue before it runs its checkpoint: it may be suspended there.

namespace
{

constexpr std::int64_t kQuickUS = 50;
constexpr std::int64_t kWakeUpUS = 25; // of another thread, beyond the time of a call
constexpr std::int64_t kNeededCreditUS = 200;
constexpr std::int64_t kMostCreditUS = 2000;
constexpr std::int64_t kSpinUS = 100;

} // namespace

struct XRPCTurns::XWaiter
{
    WEvent isCalled{ WEvent::kResetByWait }; // is the next now, or may take the turn
    bool wasOffered = false;                 // the turn, which another thread may have been faster to take
    XWaiter* behind = nullptr;
};

/// What a thread gains by keeping its turn: time, in microseconds, measured while other threads wait.
struct XRPCTurns::XHabit
{
    void NoteEnter( const XRPCTurns& inTurns )
    {
        if ( turns != &inTurns || leftUS == 0 )
            return;
        const std::int64_t gap = WClock::GetMicroSeconds() - std::exchange( leftUS, 0 );
        const std::int64_t gain = gap < kQuickUS ? kWakeUpUS : -std::min<std::int64_t>( gap, kTurnMS * 1000 );
        credit = std::clamp( credit + gain, -kMostCreditUS, kMostCreditUS );
    }

    void NoteLeave( const XRPCTurns& inTurns )
    {
        if ( std::exchange( turns, &inTurns ) != &inTurns )
            credit = 0;
        leftUS = WClock::GetMicroSeconds();
    }

    bool MayKeep( const XRPCTurns& inTurns ) const { return turns == &inTurns && credit >= kNeededCreditUS; }

    const XRPCTurns* turns = nullptr; // only compared
    std::int64_t leftUS = 0;          // 0 if no other thread waited
    std::int64_t credit = 0;
};

XRPCTurns::XHabit& XRPCTurns::GetHabit()
{
    static constinit thread_local XHabit sHabit;
    return sHabit;
}

void XRPCTurns::Enter()
{
    GetHabit().NoteEnter( *this );
    if ( TryTake() )
        return;
    do
        XRunCheckpoint();
    while ( !Wait() );
}

void XRPCTurns::Leave( bool inMayKeep )
{
    if ( itsHolder == WThreadID::GetCurrent() && EndTurn( inMayKeep ) )
        GetHabit().NoteLeave( *this ); // after the wake-up, which may have cost this thread its processor
}

/// Ends the call, and the turn unless it is kept. Returns whether other threads wait.
bool XRPCTurns::EndTurn( bool inMayKeep )
{
    const XThreadLock lock( itsMutex );
    itsIsInCall = false;
    const bool keeps = itsNext && inMayKeep && !itsNextIsLate && GetHabit().MayKeep( *this );
    if ( !keeps )
        itsHolder = 0;
    if ( itsNext && !keeps )
    {
        itsNext->wasOffered = true;
        itsNext->isCalled.Set();
    }
    return itsNext != nullptr;
}

/// A late thread is not overtaken.
bool XRPCTurns::TryTake()
{
    const XThreadLock lock( itsMutex );
    const std::uint32_t id = WThreadID::GetCurrent();
    if ( itsHolder != id && ( itsHolder != 0 || itsNextIsLate ) )
        return false;
    itsHolder = id;
    itsIsInCall = true;
    return true;
}

/// False if the thread was alerted.
bool XRPCTurns::Wait()
{
    XWaiter waiter;
    {
        const XThreadLock lock( itsMutex );
        if ( TryTake() )
            return true;
        Append( waiter );
    }
    for ( ;; )
    {
        const WWaitResult result = Sleep( waiter );
        const XThreadLock lock( itsMutex );
        if ( result != kWaitAlerted && !TakeOver( waiter, result ) )
            continue;
        Remove( waiter );
        CallNext();
        return result != kWaitAlerted;
    }
}

/// Takes the turn for the next thread if it is free, or if it is over and the holder is in no call.
bool XRPCTurns::TakeOver( XWaiter& ioWaiter, WWaitResult inResult )
{
    if ( itsNext != &ioWaiter )
        return false;
    itsNextIsLate = itsNextIsLate || inResult == kWaitTimedOut || ioWaiter.wasOffered;
    if ( itsHolder != 0 && ( itsIsInCall || !itsNextIsLate ) )
        return false;
    itsHolder = WThreadID::GetCurrent();
    itsIsInCall = true;
    return true;
}

WWaitResult XRPCTurns::Sleep( XWaiter& ioWaiter )
{
    bool isNext = false;
    bool isLate = false;
    {
        const XThreadLock lock( itsMutex );
        isNext = itsNext == &ioWaiter;
        isLate = isNext && itsNextIsLate;
    }
    if ( isLate && Spin() )
        return kWaitSucceeded;
    return ioWaiter.isCalled.Wait( isNext && !isLate ? kTurnMS : kNoTimeout, true );
}

/// Returns whether the holder has ended its call.
bool XRPCTurns::Spin() const
{
    const std::int64_t end = WClock::GetMicroSeconds() + kSpinUS;
    do
    {
        if ( !itsIsInCall )
            return true;
        WThread::Yield();
    } while ( WClock::GetMicroSeconds() < end );
    return false;
}

void XRPCTurns::Append( XWaiter& ioWaiter )
{
    if ( !itsNext )
    {
        itsNext = &ioWaiter;
        return;
    }
    XWaiter** end = &itsFirst;
    while ( *end )
        end = &( *end )->behind;
    *end = &ioWaiter;
}

void XRPCTurns::Remove( XWaiter& ioWaiter )
{
    if ( itsNext == &ioWaiter )
    {
        itsNext = nullptr;
        itsNextIsLate = false;
        return;
    }
    XWaiter** place = &itsFirst;
    while ( *place != &ioWaiter )
        place = &( *place )->behind;
    *place = ioWaiter.behind;
}

/// Makes the first of the others the next if there is none.
void XRPCTurns::CallNext()
{
    if ( itsNext || !itsFirst )
        return;
    itsNext = itsFirst;
    itsFirst = itsFirst->behind;
    itsNext->isCalled.Set();
}
