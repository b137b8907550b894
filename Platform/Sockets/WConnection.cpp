#include "Sockets/WConnection.h"

#include "Sockets/Internal/WAlertableScope.h"
#include "Sockets/Internal/WSocketSpin.h"
#include "Threads/WThread.h"

#include <algorithm>

// The three phases of an operation. A first try costs one system call and usually succeeds. Then some retries
// (WSocketSpin), as waking a sleeping thread takes longer than a peer on another processor needs to answer.
// Then sleep, in the system's wait for the connection and the thread's alert, and try again after each
// wake-up, whatever its reason: being ready is only a hint, since another thread may have been faster. After
// a time-out there is one last try, so that a deadline of 0 still takes what is there.
//
// Interrupt sets its flag before it ends the connection. A wait that has begun is woken by the end of the
// connection; one that begins later sees the flag. Neither can sleep through it.

namespace
{

bool WouldBlock( const WConnection::Outcome& inOutcome )
{
    return inOutcome.status == WConnection::kFailed && inOutcome.error == WConnection::kErrorWouldBlock;
}

} // namespace

WConnection::~WConnection() = default;

// ---- Operations: each tries, tries again for a moment, and sleeps until the connection is ready

template<class TTry>
WConnection::Outcome WConnection::Repeat( Direction inDirection, const WDeadline& inDeadline, TTry inTry )
{
    Outcome outcome = inTry();
    if ( !WouldBlock( outcome ) )
        return outcome;
    if ( inDeadline.HasPassed() )
        return { kTimedOut };
    outcome = Spin( inTry );
    return WouldBlock( outcome ) ? RepeatAfterWait( inDirection, inDeadline, inTry ) : outcome;
}

template<class TTry>
WConnection::Outcome
WConnection::RepeatAfterWait( Direction inDirection, const WDeadline& inDeadline, TTry inTry )
{
    for ( ;; )
    {
        const WWaitResult result = Wait( inDirection, inDeadline );
        if ( result == kWaitAlerted )
            return { kAlerted };
        const Outcome outcome = inTry();
        if ( !WouldBlock( outcome ) )
            return outcome;
        if ( result == kWaitTimedOut )
            return { kTimedOut };
    }
}

/// Yields to other threads of the processor in between, because the peer may be one of them.
template<class TTry>
WConnection::Outcome WConnection::Spin( TTry inTry )
{
    WSocketSpin spin;
    while ( spin.HasTurn() )
    {
        WThread::Yield();
        const Outcome outcome = inTry();
        if ( WouldBlock( outcome ) )
            continue;
        spin.SetSucceeded();
        return outcome;
    }
    return { kFailed, 0, kErrorWouldBlock };
}

WConnection::Outcome WConnection::Accept( WConnectionPtr& outConnection, const WDeadline& inDeadline )
{
    const auto tryToAccept = [&] { return TryAccept( outConnection ); };
    return HasToWaitToAccept() ? RepeatAfterWait( kForReading, inDeadline, tryToAccept )
                               : Repeat( kForReading, inDeadline, tryToAccept );
}

WConnection::Outcome WConnection::FinishConnecting( const WDeadline& inDeadline )
{
    return Repeat( kForWriting, inDeadline, [&] { return TryFinishConnecting(); } );
}

WConnection::Outcome WConnection::Send( const void* inBytes, USize inCount, const WDeadline& inDeadline )
{
    return Repeat( kForWriting, inDeadline, [&] { return TrySend( inBytes, inCount ); } );
}

WConnection::Outcome WConnection::Receive( void* outBytes, USize inCount, const WDeadline& inDeadline )
{
    return Repeat( kForReading, inDeadline, [&] { return TryReceive( outBytes, inCount, false ); } );
}

WConnection::Outcome WConnection::Peek( void* outBytes, USize inCount, const WDeadline& inDeadline )
{
    return Repeat( kForReading, inDeadline, [&] { return TryReceive( outBytes, inCount, true ); } );
}

WConnection::Outcome WConnection::WaitForMore( USize inCount, const WDeadline& inDeadline )
{
    constexpr std::uint32_t kPeriodMS = 10;
    for ( ;; )
    {
        // In the other order, bytes that arrive between the two questions would be missed.
        const bool hasEnded = HasPeerClosed() || itsIsInterrupted; // before looking for the last bytes
        if ( GetWaitingBytes() > inCount )
            return { kDone, 1 };
        if ( hasEnded )
            return {};
        if ( inDeadline.HasPassed() )
            return { kTimedOut };
        const WDeadline period( std::min( inDeadline.GetMillisecondsLeft(), kPeriodMS ) );
        if ( Wait( kForPeeking, period ) == kWaitAlerted )
            return { kAlerted };
    }
}

void WConnection::Interrupt()
{
    itsIsInterrupted =
        true; // before the connection ends: a wait that this does not reach begins later, and looks
    EndConnection();
}

WWaitResult WConnection::Wait( Direction inDirection, const WDeadline& inDeadline )
{
    WAlertableScope scope( WThreadAlert::GetCurrent() );
    if ( scope.WasAlerted() )
        return kWaitAlerted;
    if ( itsIsInterrupted )
        return kWaitSucceeded;
    const WWaitResult result =
        SleepUntilReady( inDirection, inDeadline, WThreadAlert::GetCurrent() != nullptr );
    if ( result == kWaitAlerted )
        scope.SetAlerted();
    return result;
}
