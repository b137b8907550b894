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

/// A bridge over TCP connections. Applications derive from it, declare their methods (XREMOTE_METHOD) and give the class a
/// version of its own, by which a server tells what kind of bridge answers (XServeBridge).
///
/// A client connects; a server's bridges are made by its responders (XRPCResponder). A bidirectional client receives
/// calls over a second connection, a receive-only client over its only one, on a thread of the bridge's own.
///
/// Reconnection: a client that receives and has auto-reconnect connects again when the connection on which it receives is
/// lost, with pauses that grow from 100 ms to 10 s, each cut by a random part, until it is disconnected. Calls try for
/// as long as the time-out of `Connect`, with pauses of at most a second.
///
/// A conversation has no check against an eavesdropper by itself: between machines use TLS (`UseTLS`).
///
/// Ownership: shared (XRefPtr); on a server by the responder while the connection lasts. Who calls a bridge holds a
/// reference. The destructor of a derived class that receives calls begins with `StopBridge`, while the members exist that
/// its methods use; for bridges of servers, whose responders hold them while methods run, that is not needed. A
/// bridge is not to be destroyed by a method that it runs.
class KORVALE_API XRPCBridge : public XRPCBridgeBase, public XRefCountable, private XThread
{
public:
    static constexpr USize64 kDefaultBufferSize = 4096;

    /// The milliseconds for each step of the opening of a conversation, and for what is sent later to move.
    static constexpr std::uint32_t kHandshakeTimeoutMS = 10'000;

    /// The milliseconds for which the number of a bidirectional session is valid.
    static constexpr std::uint32_t kSessionTimeoutMS = 10'000;

    /// The size of the buffer of each stream, in bytes. TEA has none, whatever the size.
    explicit XRPCBridge(
        XBridgeType inType, const XRPCCipher& inCipher = XRPCCipher(),
        USize64 inBufferSize = kDefaultBufferSize );
    ~XRPCBridge() override;

    // ---- Clients

    /// Has connections use TLS from the next one on.
    void UseTLS( const std::shared_ptr<const WTLSContext>& inContext );

    /// Connects and opens the conversation; a present one is ended first. Each step has the time-out, for the connection as
    /// in `XNetEndpoint::Connect`, with its progress where that is wanted. Errors as there, and 3092, 3093, 3094 where the
    /// server refuses; with a wrong key 3094, or the connection ends (3100), or answers come too late (3105). An internal
    /// error on a server's bridge.
    void Connect(
        const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters = true,
        bool inShowProgress = false, bool inUseAutoReconnect = false );

    // ---- Both ends

    /// How long a call waits for the next bytes of its return, from the next connection on; without limit at first. A call
    /// whose time is over ends the connection; it fails with 3105, or is repeated where a client reconnects.
    void SetReturnTimeout( std::uint32_t inTimeoutMS ) { itsReturnTimeoutMS = inTimeoutMS; }

    /// Lets the call that is being sent end, for as long as the time-out, closes all connections and waits for the thread that
    /// receives calls.
    void Disconnect( std::uint32_t inTimeoutMS = 1000 );

    void ForceDisconnect() override;

    /// The ends of the connection on which calls are sent, or else of that on which they arrive; empty addresses without one.
    XNetAddress GetLocalAddress() const;
    XNetAddress GetRemoteAddress() const;

    // ---- Servers

    /// Serves a connection that was accepted on the calling thread, and calls `inAuthenticated` when the peer has shown that
    /// it may be here. Returns when the peer has gone away. For responders. 1013 while the bridge serves another one.
    void Serve( const XNetEndpoint& inEndpoint, const std::function<void()>& inAuthenticated );

    /// Takes a connection over, opens a conversation on it and sends calls on it from now on. Throws what that fails with;
    /// the endpoint is the bridge's in any case.
    void AcquireSenderEndpoint( XNetEndpoint* inEndpoint );

    /// Gives a connection that a bidirectional client has made to the bridge that has told it the number of the session.
    /// 3097 for a number that is not valid (any more). Takes the endpoint over in any case.
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
    /// Ends all connections, waits until nothing of the bridge runs on its own thread and speaks no more messages.
    void StopBridge();

    // ---- The kind of connection. Overridden for others than TCP

    virtual XNetEndpoint MakeEndpoint() const;
    virtual void
    ConnectEndpoint( XNetEndpoint& ioEndpoint, const XNetAddress& inAddress, std::uint32_t inTimeoutMS );

    // ---- The opening of a conversation

    /// Sends the preamble: the version of the class, unless that is XRPCBridge itself.
    void PreInitialiseRPCProtocolForSender( XNetEndpoint& ioEndpoint );
    /// Makes the stream and opens the conversation on it.
    void InitialiseRPCProtocolForSender( XNetEndpoint& ioEndpoint );

private:
    using XEndpointPtr = std::shared_ptr<XNetEndpoint>;

    /// The order of bytes until one has been negotiated.
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
    XEndpointPtr itsReverseEndpoint; // of a client: which connects, to receive on
    XEndpointPtr itsRemoteEndpoint;  // on which calls arrive; replaced by the receiving thread
    XEndpointPtr itsPendingEndpoint; // of a client: which the thread is to receive on next
    XNetAddress itsServerAddress;
    std::uint32_t itsConnectTimeoutMS = 0;
    bool itsTriesAdapters = true;
    bool itsShowsProgress = false; // of the thread that has the sender mutex
    bool itsHasBeenConnected = false;
    bool itsIsDisconnected = true; // by the user, or not connected yet
    bool itsHasEndedReceiving = false;
    bool itsIsServing = false;
    std::function<void()> itsAuthenticated;

    bool itsIsReceiveOnlyWanted = false; // the receiving thread's
};
