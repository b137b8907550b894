#pragma once

#include "Network/Internal/XByteQueue.h"
#include "Sockets/WConnection.h"
#include "Sockets/WTLSSession.h"
#include "Threads/XConditionVariable.h"

#include <functional>

/// A TLS session on a socket. Internal to XTLSEndpointImp.
///
/// The mutex guards the session and is held only while bytes are encrypted or decrypted, never in a wait. At
/// any time one thread may receive for the session and one may send; other threads that need to do the same
/// wait for them.
///
/// The server confirms with a byte that it has accepted the client's certificate, so that a rejected client
/// finds out when it connects.
///
/// Operations that cannot be completed return the outcome of the wait on the socket; calling them again
/// continues. Protocol errors of the peer are thrown as errors 3121 to 3127, after an alert has been sent to
/// the peer.
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

    /// Performs the handshake. The other operations do so first if it has not been done.
    WConnection::Outcome Begin( const XWaiter& inWaiter );

    /// Sends all bytes. They count as sent once they are encrypted: after a time-out the rest is sent before
    /// the next bytes.
    WConnection::Outcome Send( const void* inBytes, USize inCount, const XWaiter& inWaiter );

    /// Returns a count of 0 if the peer has closed the connection.
    WConnection::Outcome Receive( void* outBytes, USize inCount, const XWaiter& inWaiter );
    WConnection::Outcome Peek( void* outBytes, USize inCount, const XWaiter& inWaiter );
    /// Waits until more than `inCount` bytes are available (count 1) or no more will arrive (count 0).
    WConnection::Outcome WaitForMore( USize inCount, const XWaiter& inWaiter );
    std::uint32_t CountWaiting();

    /// Sends the end of the session to the peer, as far as possible without waiting.
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

    // Called under the mutex, which they release while they wait:
    WConnection::Outcome Shake( const XWaiter& inWaiter );
    WConnection::Outcome FillAhead( USize inCount, const XWaiter& inWaiter );
    WConnection::Outcome FetchAfter( const WTLSSession::Outcome& inRead, const XWaiter& inWaiter );
    WConnection::Outcome Fetch( const XWaiter& inWaiter );
    WConnection::Outcome Flush( const XWaiter& inWaiter );
    WConnection::Outcome SendOutput( const XWaiter& inWaiter );
    WConnection::Outcome AwaitOther( const XWaiter& inWaiter );

    // Called under the mutex:
    WTLSSession::Outcome MoveHandshake();
    void FlushWithoutWaiting();
    bool HasOutput() const;
    std::span<const std::uint8_t> TakeOutput();
    static bool HasMore( const WConnection::Outcome& inOutcome );
    [[noreturn]] void Fail( std::uint32_t inError );

    const WConnectionPtr itsConnection;
    XMutex itsMutex;
    XConditionVariable itsHasMoved; // signalled when a thread has sent or received
    const bool itsIsServer;
    // Guarded by itsMutex; while a thread receives or sends, the corresponding buffer is its own:
    WTLSSession itsSession;
    XState itsState = kShaking;
    bool itsIsReceiving = false;
    bool itsIsSending = false;
    std::vector<std::uint8_t> itsOutgoing; // taken from the session
    USize itsSent = 0;                     // of itsOutgoing
    XByteQueue itsAhead;                   // decrypted but not received yet
};
