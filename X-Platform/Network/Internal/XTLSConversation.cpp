#include "Network/Internal/XTLSConversation.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// The session (WTLSSession) is a state machine without a socket: it consumes input, produces output and never
// waits. This class moves bytes between it and the socket under itsMutex, which XUnlocked releases for the
// time of each wait on the socket. What is in use by a waiting thread meanwhile is marked: itsIsReceiving
// reserves the session's input buffer, itsIsSending the bytes in itsOutgoing. A second thread that needs the
// same does not wait on the socket but for itsHasMoved, and then looks again at what it needs: the first
// thread's bytes may have been those it was waiting for.
//
// Any operation may have to do the other direction's work: reading may produce output (alerts, key updates),
// and the handshake alternates. Output that a receiver has produced is sent only as far as the socket takes
// it at once (FlushWithoutWaiting), because a receiver that waited to send could be in a deadlock with a peer
// that does the same; beyond kMostOutput the peer is misbehaving.
//
// The handshake is part of the first operation. In TLS 1.3 the client's handshake is complete before the
// server has checked the client's certificate; the server's first byte (kConfirmation) tells the client that
// it has.

namespace
{

constexpr std::uint8_t kConfirmation = 1;

constexpr USize kMostBytesPerRecord = 16 * 1024;

/// The maximum output for a peer that makes the session answer but does not read the answers.
constexpr USize kMostOutput = 1024 * 1024;

const XTLSConversation::XWaiter kOnce = []( const XTLSConversation::XWaiting& inWaiting )
{ return inWaiting( WDeadline( 0 ) ); };

} // namespace

/// The calling thread receives, or sends, until the end of the scope.
class XTLSConversation::XTurn
{
public:
    XTurn( bool& ioIsTaken, XConditionVariable& inHasMoved )
        : itsIsTaken( ioIsTaken ), itsHasMoved( inHasMoved )
    {
        itsIsTaken = true;
    }
    XTurn( const XTurn& ) = delete;
    XTurn& operator=( const XTurn& ) = delete;
    ~XTurn()
    {
        itsIsTaken = false;
        itsHasMoved.Broadcast();
    }

private:
    bool& itsIsTaken;
    XConditionVariable& itsHasMoved;
};

/// Releases a mutex for a scope.
class XTLSConversation::XUnlocked
{
public:
    explicit XUnlocked( XMutex& inMutex ) : itsMutex( inMutex ) { itsMutex.Unlock(); }
    XUnlocked( const XUnlocked& ) = delete;
    XUnlocked& operator=( const XUnlocked& ) = delete;
    ~XUnlocked() { itsMutex.Lock(); }

private:
    XMutex& itsMutex;
};

XTLSConversation::XTLSConversation(
    const WConnectionPtr& inConnection, const std::shared_ptr<const WTLSContext>& inContext,
    WTLSSession::Side inSide )
    : itsConnection( inConnection ), itsIsServer( inSide == WTLSSession::kServer ),
      itsSession( inContext, inSide )
{
}

// ---- The handshake

WConnection::Outcome XTLSConversation::Begin( const XWaiter& inWaiter )
{
    const XThreadLock lock( itsMutex );
    return Shake( inWaiter );
}

WConnection::Outcome XTLSConversation::Shake( const XWaiter& inWaiter )
{
    while ( itsState != kOpen )
    {
        const WTLSSession::Outcome moved = MoveHandshake();
        if ( HasOutput() ) // another thread may go on meanwhile, so that no input is wanted any more
        {
            if ( const WConnection::Outcome flushed = Flush( inWaiter );
                 flushed.status != WConnection::kDone )
                return flushed;
            continue;
        }
        if ( moved.status == WTLSSession::kDone )
            continue;
        const WConnection::Outcome fetched = Fetch( inWaiter );
        if ( fetched.status != WConnection::kDone )
            return fetched;
        if ( fetched.count == 0 )
            return { WConnection::kFailed, 0, WConnection::kErrorReset };
    }
    return {};
}

/// Advances the handshake as far as possible without waiting.
WTLSSession::Outcome XTLSConversation::MoveHandshake()
{
    if ( itsState == kShaking )
    {
        const WTLSSession::Outcome outcome = itsSession.Handshake();
        if ( outcome.status == WTLSSession::kFailed )
            Fail( outcome.error );
        if ( outcome.status != WTLSSession::kDone )
            return outcome;
        itsState = itsIsServer ? kOpen : kAwaitingConfirmation;
        if ( itsIsServer )
            itsSession.Write( &kConfirmation, 1 );
    }
    // The server is done; the client reads the confirmation.
    if ( itsState == kOpen )
        return {};
    std::uint8_t confirmation = 0;
    const WTLSSession::Outcome outcome = itsSession.Read( &confirmation, 1 );
    if ( outcome.status == WTLSSession::kFailed )
        Fail( outcome.error );
    if ( outcome.status != WTLSSession::kDone )
        return { WTLSSession::kWantsInput };
    if ( confirmation != kConfirmation )
        Fail( kErrorTLSFailed );
    itsState = kOpen;
    return {};
}

// ---- Transfer

WConnection::Outcome XTLSConversation::Send( const void* inBytes, USize inCount, const XWaiter& inWaiter )
{
    const XThreadLock lock( itsMutex );
    if ( const WConnection::Outcome shaken = Shake( inWaiter ); shaken.status != WConnection::kDone )
        return shaken;
    // What an earlier send could not finish comes first; its bytes are encrypted already and in order.
    if ( const WConnection::Outcome flushed = Flush( inWaiter ); flushed.status != WConnection::kDone )
        return flushed;
    if ( const WTLSSession::Outcome written = itsSession.Write( inBytes, inCount );
         written.status != WTLSSession::kDone )
        Fail( written.error != 0 ? written.error : kErrorTLSFailed );
    WConnection::Outcome outcome = Flush( inWaiter );
    outcome.count = inCount;
    return outcome;
}

WConnection::Outcome XTLSConversation::Receive( void* outBytes, USize inCount, const XWaiter& inWaiter )
{
    const XThreadLock lock( itsMutex );
    if ( const WConnection::Outcome shaken = Shake( inWaiter ); shaken.status != WConnection::kDone )
        return shaken;
    for ( ;; )
    {
        // Bytes that Peek or CountWaiting has decrypted come before those in the session.
        if ( const USize64 count = itsAhead.Take( static_cast<std::uint8_t*>( outBytes ), inCount );
             count > 0 )
            return { WConnection::kDone, count };
        const WTLSSession::Outcome read = itsSession.Read( outBytes, inCount );
        if ( read.status == WTLSSession::kDone )
            return { WConnection::kDone, read.count };
        if ( const WConnection::Outcome fetched = FetchAfter( read, inWaiter ); !HasMore( fetched ) )
            return fetched;
    }
}

WConnection::Outcome XTLSConversation::Peek( void* outBytes, USize inCount, const XWaiter& inWaiter )
{
    const XThreadLock lock( itsMutex );
    WConnection::Outcome outcome = FillAhead( 0, inWaiter );
    if ( !HasMore( outcome ) )
        return outcome;
    outcome.count = std::min<USize>( inCount, itsAhead.GetCount() );
    std::copy_n( itsAhead.GetData(), outcome.count, static_cast<std::uint8_t*>( outBytes ) );
    return outcome;
}

WConnection::Outcome XTLSConversation::WaitForMore( USize inCount, const XWaiter& inWaiter )
{
    const XThreadLock lock( itsMutex );
    return FillAhead( inCount, inWaiter );
}

/// Decrypts the bytes that have arrived, unless another thread is receiving.
std::uint32_t XTLSConversation::CountWaiting()
{
    const XThreadLock lock( itsMutex );
    bool hasMore = itsState == kOpen;
    while ( hasMore && !itsIsReceiving && itsAhead.GetCount() < kMostBytesPerRecord )
        hasMore = HasMore( FillAhead( itsAhead.GetCount(), kOnce ) );
    return static_cast<std::uint32_t>( itsAhead.GetCount() );
}

void XTLSConversation::End()
{
    const XThreadLock lock( itsMutex );
    if ( itsState != kOpen )
        return;
    itsSession.End();
    FlushWithoutWaiting();
}

/// Decrypts until more than `inCount` bytes are there.
WConnection::Outcome XTLSConversation::FillAhead( USize inCount, const XWaiter& inWaiter )
{
    if ( const WConnection::Outcome shaken = Shake( inWaiter ); shaken.status != WConnection::kDone )
        return shaken;
    while ( itsAhead.GetCount() <= inCount )
    {
        const WTLSSession::Outcome read =
            itsSession.Read( itsAhead.MakeRoom( kMostBytesPerRecord ), kMostBytesPerRecord );
        if ( read.status == WTLSSession::kDone )
            itsAhead.Commit( read.count );
        else if ( const WConnection::Outcome fetched = FetchAfter( read, inWaiter ); !HasMore( fetched ) )
            return fetched;
    }
    return { WConnection::kDone, 1 };
}

// ---- Between the session and the socket

/// Handles a read that could not be completed: a count of 0 means that no more bytes will arrive.
WConnection::Outcome
XTLSConversation::FetchAfter( const WTLSSession::Outcome& inRead, const XWaiter& inWaiter )
{
    if ( inRead.status == WTLSSession::kEnded )
        return {};
    if ( inRead.status == WTLSSession::kFailed )
        Fail( inRead.error );
    FlushWithoutWaiting();
    if ( itsSession.GetOutputSize() > kMostOutput )
        Fail( kErrorTLSFailed );
    return Fetch( inWaiter );
}

/// Receives input for the session, or waits until another thread has.
WConnection::Outcome XTLSConversation::Fetch( const XWaiter& inWaiter )
{
    if ( itsIsReceiving )
        return AwaitOther( inWaiter );
    // The session has consumed all its input, or it would not ask for more.
    const std::span<std::uint8_t> room = itsSession.GetInputRoom();
    const XTurn turn( itsIsReceiving, itsHasMoved );
    WConnection::Outcome outcome;
    {
        const XUnlocked unlocked( itsMutex );
        outcome = inWaiter( [&]( const WDeadline& inDeadline )
                            { return itsConnection->Receive( room.data(), room.size(), inDeadline ); } );
    }
    if ( outcome.status == WConnection::kDone )
        itsSession.CommitInput( outcome.count );
    return outcome;
}

/// Sends all output.
WConnection::Outcome XTLSConversation::Flush( const XWaiter& inWaiter )
{
    while ( HasOutput() )
    {
        const WConnection::Outcome outcome = itsIsSending ? AwaitOther( inWaiter ) : SendOutput( inWaiter );
        if ( outcome.status != WConnection::kDone )
            return outcome;
    }
    return {};
}

/// Sends smaller pieces if the system lacks buffers. Encrypted bytes cannot be encrypted again, so if that
/// does not help, the connection is lost.
WConnection::Outcome XTLSConversation::SendOutput( const XWaiter& inWaiter )
{
    const std::span<const std::uint8_t> bytes = TakeOutput();
    const XTurn turn( itsIsSending, itsHasMoved );
    WConnection::Outcome outcome;
    {
        const XUnlocked unlocked( itsMutex );
        USize size = 2 * bytes.size();
        do
        {
            size /= 2;
            outcome = inWaiter( [&]( const WDeadline& inDeadline )
                                { return itsConnection->Send( bytes.data(), size, inDeadline ); } );
        } while ( outcome.error == WConnection::kErrorNoBuffers && size > 1 );
    }
    if ( outcome.error == WConnection::kErrorNoBuffers )
        outcome.error = WConnection::kErrorAborted;
    itsSent += outcome.count;
    return outcome;
}

void XTLSConversation::FlushWithoutWaiting()
{
    const WDeadline now( 0 );
    while ( HasOutput() && !itsIsSending )
    {
        const std::span<const std::uint8_t> bytes = TakeOutput();
        const WConnection::Outcome outcome = itsConnection->Send( bytes.data(), bytes.size(), now );
        if ( outcome.status != WConnection::kDone )
            return;
        itsSent += outcome.count;
    }
}

bool XTLSConversation::HasOutput() const
{
    return itsSent < itsOutgoing.size() || itsSession.GetOutputSize() > 0;
}

/// The bytes to be sent next.
std::span<const std::uint8_t> XTLSConversation::TakeOutput()
{
    if ( itsSent == itsOutgoing.size() )
    {
        itsSession.TakeOutput( itsOutgoing );
        itsSent = 0;
    }
    return std::span<const std::uint8_t>( itsOutgoing ).subspan( itsSent );
}

WConnection::Outcome XTLSConversation::AwaitOther( const XWaiter& inWaiter )
{
    return inWaiter(
        [this]( const WDeadline& inDeadline ) -> WConnection::Outcome
        {
            if ( itsHasMoved.Sleep( itsMutex, inDeadline.GetMillisecondsLeft(), true ) )
                return { WConnection::kTimedOut };
            return { WConnection::kDone, 1 };
        } );
}

bool XTLSConversation::HasMore( const WConnection::Outcome& inOutcome )
{
    return inOutcome.status == WConnection::kDone && inOutcome.count > 0;
}

void XTLSConversation::Fail( std::uint32_t inError )
{
    FlushWithoutWaiting();
    XThrow( inError );
}
