#pragma once

#include "Core/Storables/XRefCountable.h"
#include "Network/XNetEndpoint.h"
#include "RemoteCalls/XRPCBridgeBase.h"
#include "RemoteCalls/XRPCCipher.h"
#include "Threads/XThread.h"

#include <functional>

class WDeadline;
class WTLSContext;
class XRetryPause;

/// A bridge over TCP connections. Applications derive from it, declare their methods (XREMOTE_METHOD) and
/// give the class its own version, by which a server selects the bridge that answers (XServeBridge).
///
/// A client connects; a server's responders create its bridges (XRPCResponder). A bidirectional client
/// receives calls over a second connection, a receive-only client over its only one, on the bridge's own
/// thread.
///
/// Reconnection: a receiving client with auto-reconnect reconnects when it loses the connection on which it
/// receives, with randomised pauses growing from 100 ms to 10 s, until it is disconnected. Calls retry for
/// the time-out of `Connect`, with pauses of at most a second.
///
/// Security: a conversation by itself does not protect against eavesdroppers. Use TLS between machines
/// (`UseTLS`).
///
/// Ownership: shared (XRefPtr); a server's responder shares it during the connection. Callers hold a
/// reference. The destructor of a derived class that receives calls must begin with `StopBridge`, while the
/// members that its methods use still exist; bridges of servers do not need this, because the responder holds
/// a reference while methods run. A method must not destroy the bridge that runs it.
class KORVALE_API XRPCBridge : public XRPCBridgeBase, public XRefCountable, private XThread
{
public:
    static constexpr USize64 kDefaultBufferSize = 4096;

    /// The time-out of each step of the handshake, and of sending later, in milliseconds.
    static constexpr std::uint32_t kHandshakeTimeoutMS = 10'000;

    /// The lifetime of a bidirectional session number, in milliseconds.
    static constexpr std::uint32_t kSessionTimeoutMS = 10'000;

    /// `inBufferSize`: the buffer of each stream, in bytes; TEA streams have none.
    explicit XRPCBridge(
        XBridgeType inType, const XRPCCipher& inCipher = XRPCCipher(),
        USize64 inBufferSize = kDefaultBufferSize );
    ~XRPCBridge() override;

    // ---- Clients

    /// Sets the TLS context of the next connections; null for none.
    void UseTLS( const std::shared_ptr<const WTLSContext>& inContext );

    /// Closes any existing conversation, connects as `XNetEndpoint::Connect` does (optionally with progress)
    /// and opens a conversation. Errors: those of `XNetEndpoint::Connect`; 3092, 3093, 3094 if the server
    /// rejects the client; 3094, 3100 or 3105 with a wrong key. An internal error on a server's bridge.
    void Connect(
        const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters = true,
        bool inShowProgress = false, bool inUseAutoReconnect = false );

    // ---- Both ends

    /// Sets the time-out for the next bytes of a return, effective from the next connection; initially none.
    /// A time-out closes the connection: the call fails with 3105, or is repeated if the client reconnects.
    void SetReturnTimeout( std::uint32_t inTimeoutMS ) { itsReturnTimeoutMS = inTimeoutMS; }

    /// Waits up to the time-out for the call being sent, closes all connections and waits for the end of the
    /// receiving thread.
    void Disconnect( std::uint32_t inTimeoutMS = 1000 );

    void ForceDisconnect() override;

    /// The addresses of the connection on which calls are sent, else of that on which they arrive; empty
    /// without a connection.
    XNetAddress GetLocalAddress() const;
    XNetAddress GetRemoteAddress() const;

    // ---- Servers

    /// Serves an accepted connection on the calling thread until the peer closes it; calls `inAuthenticated`
    /// once the peer has authenticated. For responders. Throws 1013 while the bridge serves another
    /// connection.
    void Serve( const XNetEndpoint& inEndpoint, const std::function<void()>& inAuthenticated );

    /// Opens a conversation on a connection and sends calls on it from now on. Throws the error of the
    /// handshake. Takes ownership of the endpoint in any case.
    void AcquireSenderEndpoint( XNetEndpoint* inEndpoint );

    /// Passes the second connection of a bidirectional client to the bridge that issued the session number.
    /// Throws 3097 for an invalid or expired number. Takes ownership of the endpoint in any case.
    static void ConnectBidirectionalSession( std::uint32_t inSessionID, XNetEndpoint* inEndpoint );

    std::uint32_t RequestBidirectionalSessionSelf() override;
    void RequestReceiveOnlySessionSelf() override;

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    /// Closes all connections, waits for the end of the bridge's threads and speaks no more messages.
    void StopBridge();

    // ---- The connection. Overridden for connections other than TCP

    virtual XNetEndpoint MakeEndpoint() const;
    virtual void
    ConnectEndpoint( XNetEndpoint& ioEndpoint, const XNetAddress& inAddress, std::uint32_t inTimeoutMS );

    // ---- The opening handshake

    /// Sends the preamble, which is the class version; none for XRPCBridge itself.
    void PreInitialiseRPCProtocolForSender( XNetEndpoint& ioEndpoint );
    /// Creates the sender stream and opens the conversation on it.
    void InitialiseRPCProtocolForSender( XNetEndpoint& ioEndpoint );

private:
    using XEndpointPtr = std::shared_ptr<XNetEndpoint>;

    /// The byte order until one has been negotiated.
    static constexpr XByteOrder kFirstByteOrder = kMotorolaOrder;

    void ReconnectSender() override;
    void InitialiseRPCProtocolForReceiver() override;
    void DropSender() override;
    void DropReceiver( bool inWaitsForPeer ) override;
    void NoteReceiverAuthenticated() override;
    XString DescribeReceiver() const override;
    bool HasLostConnection() const override;

    std::int32_t RunThreadSelf() override;

    void OpenConversation( std::uint32_t inTimeoutMS );
    void OpenSender( std::uint32_t inTimeoutMS );
    void OpenReverseConnection( std::uint32_t inTimeoutMS );
    XEndpointPtr ConnectReverseEndpoint( std::uint32_t inTimeoutMS );
    void TurnConnectionRound();
    void StartReceiving( const XEndpointPtr& inEndpoint );
    void WaitForServer();
    void CloseSender();
    void EndSender( std::uint32_t inTimeoutMS );
    XEndpointPtr UseSenderEndpoint( const XNetEndpoint& inEndpoint );
    void CheckIsWanted() const;
    void Authenticate();
    std::uint32_t CallToOpen(
        std::uint32_t inCode, std::initializer_list<std::uint32_t> inArguments, bool inHasResult = true );

    bool TakePendingEndpoint();
    bool ReconnectReceiver();
    bool TryToReconnectReceiver( XRetryPause& ioPause );
    void Pause( std::uint32_t inTimeMS );
    void ServeReceiveOnlyClient();
    void AwaitEndOfSender();
    void WithdrawSession();

    XEndpointPtr GetEndpoint( const XEndpointPtr& inEndpoint ) const;
    XEndpointPtr GetAnyEndpoint() const;

    const XRPCCipher itsCipher;
    const USize64 itsBufferSize;
    std::atomic<std::uint32_t> itsReturnTimeoutMS = kNoTimeout;

    // Guarded by the bridge's mutex:
    std::shared_ptr<const WTLSContext> itsTLSContext;
    XEndpointPtr itsSenderEndpoint;  // replaced under the sender mutex
    XEndpointPtr itsReverseEndpoint; // of a client: the second connection while it connects
    XEndpointPtr itsRemoteEndpoint;  // on which calls arrive; replaced by the receiving thread
    XEndpointPtr itsPendingEndpoint; // of a client: the connection to receive on next
    XNetAddress itsServerAddress;
    std::uint32_t itsConnectTimeoutMS = 0;
    bool itsTriesAdapters = true;
    bool itsShowsProgress = false; // guarded by the sender mutex
    bool itsHasBeenConnected = false;
    bool itsIsDisconnected = true; // by the user, or not connected yet
    bool itsHasEndedReceiving = false;
    bool itsIsServing = false;
    std::function<void()> itsAuthenticated;

    bool itsIsReceiveOnlyWanted = false; // the receiving thread's
};
