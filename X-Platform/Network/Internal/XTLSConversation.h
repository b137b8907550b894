#pragma once

#include "Network/Internal/XByteQueue.h"
#include "Sockets/WConnection.h"
#include "Sockets/WTLSSession.h"
#include "Threads/XConditionVariable.h"

#include <functional>

/// A TLS session on a socket. Internal to XTLSEndpointImp.
///
/// The mutex guards the session and is held for moments only: while bytes are encrypted or decrypted, never in a wait. At
/// any time one thread may receive for the session and one may send; others that need the same wait for it.
///
/// The server confirms with a byte that it has accepted the client's certificate, so that a client that is rejected
/// learns so when it connects, and not later.
///
/// Operations return what the wait on the socket has returned where they could not be completed; they go on where they
/// were when they are called again. What the peer does wrong is thrown as errors 3121 to 3127, after it has been told.
/// Threads: any.
class XTLSConversation
{
public:
    /// As in XSocketsTCPEndpointImp.
    using XWaiting = std::function<WConnection::Outcome( const WDeadline& )>;
    using XWaiter = std::function<WConnection::Outcome( const XWaiting& )>;

    XTLSConversation(
        const WConnectionPtr& inConnection, const std::shared_ptr<const WTLSContext>& inContext,
        WTLSSession::Side inSide );
    XTLSConversation( const XTLSConversation& ) = delete;
    XTLSConversation& operator=( const XTLSConversation& ) = delete;

    bool IsOn( const WConnectionPtr& inConnection ) const { return itsConnection == inConnection; }

    /// Makes the handshake. The other operations do so where it has not been made.
    WConnection::Outcome Begin( const XWaiter& inWaiter );

    /// Sends all bytes. Once they are encrypted they count as sent: where that takes too long, the rest goes ahead of the
    /// next ones.
    WConnection::Outcome Send( const void* inBytes, USize inCount, const XWaiter& inWaiter );

    /// A count of 0 tells that the peer has closed.
    WConnection::Outcome Receive( void* outBytes, USize inCount, const XWaiter& inWaiter );
    WConnection::Outcome Peek( void* outBytes, USize inCount, const XWaiter& inWaiter );
    /// Waits until more than `inCount` bytes are there (count 1) or nothing more will come (count 0).
    WConnection::Outcome WaitForMore( USize inCount, const XWaiter& inWaiter );
    std::uint32_t CountWaiting();

    /// Tells the peer that nothing more will be sent, as far as that goes without waiting.
    void End();

private:
    enum XState
    {
        kShaking,
        kAwaitingConfirmation,
        kOpen
    };

    class XTurn;
    class XUnlocked;

    // Under the mutex, which they give up while they wait:
    WConnection::Outcome Shake( const XWaiter& inWaiter );
    WConnection::Outcome FillAhead( USize inCount, const XWaiter& inWaiter );
    WConnection::Outcome FetchAfter( const WTLSSession::Outcome& inRead, const XWaiter& inWaiter );
    WConnection::Outcome Fetch( const XWaiter& inWaiter );
    WConnection::Outcome Flush( const XWaiter& inWaiter );
    WConnection::Outcome SendOutput( const XWaiter& inWaiter );
    WConnection::Outcome AwaitOther( const XWaiter& inWaiter );

    // Under the mutex:
    WTLSSession::Outcome MoveHandshake();
    void FlushWithoutWaiting();
    bool HasOutput() const;
    std::span<const std::uint8_t> TakeOutput();
    static bool HasMore( const WConnection::Outcome& inOutcome );
    [[noreturn]] void Fail( std::uint32_t inError );

    const WConnectionPtr itsConnection;
    XMutex itsMutex;
    XConditionVariable itsHasMoved; // somebody has sent or received
    const bool itsIsServer;
    // Guarded by itsMutex, but while a thread receives or sends, the buffer for that is its own:
    WTLSSession itsSession;
    XState itsState = kShaking;
    bool itsIsReceiving = false;
    bool itsIsSending = false;
    std::vector<std::uint8_t> itsOutgoing; // taken from the session
    USize itsSent = 0;                     // of those
    XByteQueue itsAhead;                   // decrypted and not received yet
};
