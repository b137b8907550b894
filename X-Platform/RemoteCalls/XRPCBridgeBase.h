#pragma once

#include "Core/Storables/XStorable.h"
#include "Messaging/XRemoteMessage.h"
#include "Messaging/XSpeaker.h"
#include "RemoteCalls/XMakeRPCCall.h"
#include "RemoteCalls/XRPCOutgoingCall.h"
#include "RemoteCalls/XRPCSlot.h"
#include "RemoteCalls/XRemoteMethod.h"
#include "Threads/XConditionVariable.h"

#include <atomic>
#include <map>
#include <memory>

class XEncryptedNetStream;
class XException;
class XRPCFlusher;
class XRPCTurns;

/// Whether a call may be sent again if the connection is lost before its return has arrived.
enum class XRPCRepeat : std::uint32_t
{
    kMayRepeat,
    kOnce,
};

/// One end of a conversation of remote calls: protocol, slot table and call state, without a connection
/// (XRPCBridge). docs/remote-calls.md describes how applications declare and serve methods.
///
/// Calls: a bridge sends one call at a time, and may receive one call at a time on a thread. The calls of
/// other threads wait for the call being sent. A method that runs here may call the peer if this end can
/// send, unless the peer's thread that waits for the method holds its own sender meanwhile.
///
/// Reconnection: if a client has auto-reconnect, a call that loses its connection reconnects, for at most the
/// connect time-out, and is sent again as a whole. It may therefore run twice on the peer, with the first
/// result lost; a method declared to run once fails with 3100 instead. A `_NoWaitForReturn` call can be lost
/// without an error, as can earlier ones that are still in the system's buffers.
///
/// Batching: `_NoWaitForReturn` calls in quick succession are sent together. A call waits for others for
/// about 200 µs at most; a full buffer, a call that waits for its return, and `Disconnect` send it earlier.
///
/// Messages: `SpeakRemoteMessage` passes a message to the bridge at the other end, which speaks it as its
/// own; ordinary listeners there receive it on the main thread, coalesced by its rule.
///
/// Threads: any thread may call any operation. A bridge must not be destroyed while another thread is in one
/// of its operations.
///
/// Errors of calls, as an XException with the number: the number with which the method failed on the peer
/// (3090 if it threw something other than an XException); 3091 if the peer does not support the call; 3095 if
/// an object is not of the declared class; 3098 if the call was aborted; 3099 for a server that cannot send;
/// 3100 for a client without a connection, and if the connection is lost; 1003, 1004, 1005 and 1015 if the
/// result cannot be read; 1005 also if the peer has sent more than the returns of earlier calls, since its
/// bytes could be taken for the return of this one; and what writing the arguments throws. Every failure
/// except a number of the peer's, 3091 and 3095 closes the connection.
class KORVALE_API XRPCBridgeBase : public XStorable, public XSpeaker
{
public:
    enum XBridgeType : std::uint32_t
    {
        kClient = 0,                ///< sends calls only
        kBidirectionalClient = 1,   ///< sends calls, and receives calls over a second connection
        kReceiveOnlyClient = 2,     ///< receives calls only
        kServer = 100,              ///< the other end of a `kClient`
        kBidirectionalServer = 101, ///< the other end of a `kBidirectionalClient`
        kReceiveOnlyServer = 102,   ///< the other end of a `kReceiveOnlyClient`
    };

    /// The state of one direction of a conversation.
    enum XRPCConnectionState : std::uint32_t
    {
        kNotConnected = 0,
        kConnected = 1,
        kInitiated = 2,     ///< the version of the protocol was accepted
        kAuthenticated = 3, ///< the security sentinel was answered correctly
    };

    /// The built-in calls of every bridge.
    enum XCallCode : std::uint32_t
    {
        kNoCall = 0,
        kInitiateConversation = 1000,
        kAuthenticateConversation = 1001,
        kNegotiateByteOrder = 1002,
        kIsRPCCallSupported = 1003,
        kRequestBidirectionalSession = 1004,
        kCheckAlive = 1005,
        kSpeakRemoteMessage = 1006,
        kRequestReceiveOnlySession = 1007,
    };

    static constexpr std::uint32_t kProtocolVersion = 1000;

    /// Marks the code of a call without a return.
    static constexpr std::uint32_t kAsynchronousCall = 0x80000000;

    XRPCBridgeBase( const XRPCBridgeBase& ) = delete;
    XRPCBridgeBase& operator=( const XRPCBridgeBase& ) = delete;
    ~XRPCBridgeBase() override;

    // ---- The conversation

    XBridgeType GetBridgeType() const { return itsBridgeType; }
    bool IsClient() const { return GetBridgeType() < kServer; }
    bool IsServer() const { return !IsClient(); }

    /// The state of the direction from client to server, for receive-only ends of that from server to client.
    XRPCConnectionState GetState() const;
    XRPCConnectionState GetSenderState() const { return itsSenderState; }
    XRPCConnectionState GetReceiverState() const { return itsReceiverState; }

    /// Whether calls can be sent, and whether they are received, at present.
    bool CanSend() const { return itsSenderIsAvailable; }
    bool CanRecv() const { return itsReceiverState == kAuthenticated; }

    /// Whether a client reconnects when the connection is lost.
    void SetUseAutoReconnect( bool inUseAutoReconnect ) { itsUsesAutoReconnect = inUseAutoReconnect; }
    bool CanAutoReconnect() const { return itsUsesAutoReconnect && IsClient(); }

    static constexpr USize64 kDefaultMostCallBytes = 1024 * 1024 * 1024;

    /// Limits the bytes of a received call with its arguments and of a return with its result, to protect the
    /// memory. A longer one is error 1005 and closes the connection.
    void SetMostCallBytes( USize64 inBytes ) { itsMostCallBytes = inBytes; }

    /// Waits until calls can be sent: on a server, until a bidirectional or receive-only client receives
    /// them. Throws 3105 on a time-out.
    void WaitForReceiverToConnect( std::uint32_t inTimeoutMS );

    /// Closes all connections at once; calls that use them fail with 3100. No reconnection until `Connect`.
    virtual void ForceDisconnect() = 0;

    // ---- Aborting calls

    /// Makes the next call with this code fail with 3098, unless a call with another code begins first. A
    /// call with this code that is being sent fails at once: its connection is closed, and a client
    /// reconnects.
    void AbortSenderRPCCall( std::uint32_t inCode );
    /// Makes the next call received with this code fail with 3098 at its sender.
    void AbortReceiverRPCCall( std::uint32_t inCode );
    void ResetSenderAbortRPCCall();
    void ResetReceiverAbortRPCCall();

    /// Releases the sender before the scope of this thread's call (XMakeRPCCall) ends; for use once the
    /// return has been read.
    void ReleaseSenderEarly( std::uint32_t inCode );

    // ---- Calls of the process since its start, modulo 2^32

    static std::uint32_t GetTotalRPCCallsSent() { return sTotalRPCCallsSent; }
    static std::uint32_t GetTotalRPCCallsReceived() { return sTotalRPCCallsReceived; }

    // ---- Built-in calls. Connect itself makes the first two and the session requests.

    /// Takes the protocol version and the client type, returns the sentinel. 3092 or 3093 for other versions
    /// and types.
    XREMOTE_METHOD_FORMS(
        kInitiateConversation, XRPCRepeat::kOnce, std::uint32_t, InitiateConversation, std::uint32_t,
        std::uint32_t )
    /// Takes the answer to the sentinel and a challenge, returns the answer to the challenge. A wrong answer
    /// closes the connection.
    XREMOTE_METHOD_FORMS(
        kAuthenticateConversation, XRPCRepeat::kOnce, std::uint32_t, AuthenticateConversation, std::uint32_t,
        std::uint32_t )
    /// Switches both ends to a byte order (XByteOrder) from the next call on; returns it. 1005 if it is
    /// neither 0 nor 1.
    std::uint32_t NegotiateByteOrder( std::uint32_t inOrder );
    void NegotiateByteOrder_NoWaitForReturn( std::uint32_t inOrder );
    std::optional<std::uint32_t> NegotiateByteOrder_NoThrow( std::uint32_t inOrder ) noexcept;
    void RegisterNegotiateByteOrder();
    /// Whether the peer has a slot for the code.
    XREMOTE_METHOD_FORMS(
        kIsRPCCallSupported, XRPCRepeat::kMayRepeat, bool, IsRPCCallSupported, std::uint32_t )
    XREMOTE_METHOD_FORMS(
        kRequestBidirectionalSession, XRPCRepeat::kOnce, std::uint32_t, RequestBidirectionalSession )
    /// Does nothing; its return proves that the peer is alive.
    XREMOTE_METHOD_FORMS( kCheckAlive, XRPCRepeat::kMayRepeat, void, CheckAlive )
    XREMOTE_METHOD_FORMS(
        kSpeakRemoteMessage, XRPCRepeat::kMayRepeat, void, SpeakRemoteMessage,
        std::unique_ptr<XRemoteMessage> )
    void SpeakRemoteMessage( const XRemoteMessage& inMessage );
    void SpeakRemoteMessage_NoWaitForReturn( const XRemoteMessage& inMessage );
    XREMOTE_METHOD_FORMS( kRequestReceiveOnlySession, XRPCRepeat::kOnce, void, RequestReceiveOnlySession )

    virtual std::uint32_t InitiateConversationSelf( std::uint32_t inVersion, std::uint32_t inClientType );
    virtual std::uint32_t AuthenticateConversationSelf( std::uint32_t inAnswer, std::uint32_t inChallenge );
    virtual std::uint32_t NegotiateByteOrderSelf( std::uint32_t inOrder );
    virtual bool IsRPCCallSupportedSelf( std::uint32_t inCode );
    virtual std::uint32_t RequestBidirectionalSessionSelf();
    virtual void CheckAliveSelf() {}
    virtual void SpeakRemoteMessageSelf( std::unique_ptr<XRemoteMessage> inMessage );
    virtual void RequestReceiveOnlySessionSelf();

    /// The expected answer to a sentinel or challenge: 1.5 times the number, truncated.
    static std::uint32_t TransformSentinel( std::uint32_t inSentinel );

    // ---- Storage: only the class versions of a bridge are stored. Clone throws 1013.

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XStorable* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    explicit XRPCBridgeBase( XBridgeType inType );

    // ---- Methods of derived classes: used by XREMOTE_METHOD

    template<class TBridge, class TResult, class... TArguments>
    void RegisterSlot(
        std::uint32_t inCode, TBridge* rpcReceiver, TResult ( TBridge::*rpcFuncPtr )( TArguments... ) )
    {
        AddSlot(
            std::make_unique<XRPCSlot<TBridge, TResult, TArguments...>>( inCode, rpcReceiver, rpcFuncPtr ) );
    }

    template<class TResult, class... TArguments>
    TResult CallRemotely( std::uint32_t inCode, XRPCRepeat inRepeat, const TArguments&... inArguments )
    {
        XRPCOutgoingCall<TResult, TArguments...> call( inArguments... );
        MakeCall( inCode, true, inRepeat, call );
        return call.TakeResult();
    }

    template<class TResult, class... TArguments>
    void CallWithoutReturn( std::uint32_t inCode, XRPCRepeat inRepeat, const TArguments&... inArguments )
    {
        XRPCOutgoingCall<void, TArguments...> call( inArguments... );
        MakeCall( inCode, false, inRepeat, call );
    }

    template<class TResult, class... TArguments>
    XRPCOutcome<TResult>
    CallQuietly( std::uint32_t inCode, XRPCRepeat inRepeat, const TArguments&... inArguments ) noexcept
    {
        try
        {
            if constexpr ( !std::is_void_v<TResult> )
                return CallRemotely<TResult, TArguments...>( inCode, inRepeat, inArguments... );
            else
            {
                CallRemotely<void, TArguments...>( inCode, inRepeat, inArguments... );
                return true;
            }
        }
        catch ( ... )
        {
            return XRPCOutcome<TResult>();
        }
    }

    /// The slot for a code; null if there is none.
    XRPCSlotBase* GetRPCCallSlot( std::uint32_t inCode ) const;

    // ---- Sending a call. The calling thread owns the sender from `BeginRPCCall` to `EndRPCCall`.

    friend class XMakeRPCCall;

    void BeginRPCCall( std::uint32_t inCode, bool inWaitForReturn );
    void EndRPCCall();
    /// Writes the call word and returns the stream for the arguments.
    XStream& PrepareSenderParameterBuffer( std::uint32_t inCode );
    /// Sends the call; one without a return in quick succession may be deferred (see Batching).
    void FlushSenderParameterBuffer();
    /// Waits for the return and reads its status word; the result follows in the stream. 0 if
    /// `inWaitForReturn` is false.
    std::uint32_t PrepareSenderReturnBuffer( bool inWaitForReturn );

    /// Handles the failure to send a call, within the handler of the error. Returns if the call is to be sent
    /// again, otherwise throws the error of the call.
    void HandleRPCCallError( const XException& inError, bool inMayRepeat );
    void HandleRPCCallUnknownError();

    // ---- Receiving calls

    /// Serves calls until the peer closes the connection or `EndConversation` is called; other errors are
    /// thrown. For servers, and clients that receive.
    void RunConversation();
    /// Serves one call. The call word is its code with or without `kAsynchronousCall`.
    void HandleRPCCall( std::uint32_t inCallWord );
    /// The stream to read the arguments from.
    XStream& PrepareReceiverParameterBuffer();
    /// Writes the status word and returns the stream for the result.
    XStream& PrepareReceiverReturnBuffer( std::uint32_t inStatus );
    void FlushReceiverReturnBuffer();
    /// Makes the call being served the last of the conversation.
    void EndConversation() { itsHasToEndConversation = true; }

    /// Called before and after each served call. An exception ends the conversation.
    virtual void PreHandleRPCCall( XRPCConnectionState inState, std::uint32_t inCode );
    virtual void PostHandleRPCCall( XRPCConnectionState inState, std::uint32_t inCode );

    // ---- Hooks; they must neither throw nor call the peer

    /// The connection of a call has failed. True: the call fails with the error, without a reconnection.
    virtual bool HandleRPCCallErrorSelf( const XException& ) { return false; }
    /// The connection for sending or for receiving calls has been lost.
    virtual void SenderDisconnectedSelf() {}
    virtual void ReceiverDisconnectedSelf() {}
    /// A peer that calls this end has authenticated.
    virtual void ReceiverAuthenticatedSelf() {}

    // ---- Implemented by a bridge with a connection

    /// Reconnects and opens the conversation, or throws. On the thread that owns the sender.
    virtual void ReconnectSender() = 0;
    /// Creates `itsReceiverStream` for the connection on which calls arrive.
    virtual void InitialiseRPCProtocolForReceiver() = 0;
    /// Close the connection on which calls are sent, and that on which they arrive, at once. From any thread.
    /// With `inWaitsForPeer` the peer has a moment to read what has been sent.
    virtual void DropSender() = 0;
    virtual void DropReceiver( bool inWaitsForPeer ) = 0;
    /// The peer that calls this end has authenticated. Called before the hook.
    virtual void NoteReceiverAuthenticated() = 0;
    /// The calling peer, for the log. May take seconds (name look-up).
    virtual XString DescribeReceiver() const = 0;
    /// Whether this is a sending client that was connected and has not been disconnected by its user.
    virtual bool HasLostConnection() const = 0;

    // ---- For derived bridges

    /// Guards the fields of the bridge. Not held during waits for the network.
    XMutex& GetMutex() const { return itsMutex; }
    /// Held during the whole of each call that is sent.
    XMutex& GetSenderMutex() const { return itsSenderMutex; }
    /// Signalled when a state or the sender changes.
    XConditionVariable& GetStateChanged() const { return itsStateChanged; }

    void SetBridgeType( XBridgeType inType ) { itsBridgeType = inType; }
    void SetSenderState( XRPCConnectionState inState );
    void SetReceiverState( XRPCConnectionState inState );
    void SetSenderIsAvailable( bool inIsAvailable );
    /// Marks the sender unavailable; returns whether it was available.
    bool LoseSender();
    /// Whether the call being sent has been aborted.
    bool IsSenderCallAborted() const;

    /// An unguessable random number other than 0: a sentinel, a challenge, a session number.
    virtual std::uint32_t DrawRandomNumber();
    /// Ends the thread that sends deferred calls. Call it after the connections have been closed and before
    /// the sender's endpoint is destroyed.
    void StopFlusher();
    /// Throws 1005 if the peer has sent more than the return that was read last.
    void CheckReturnIsComplete() const;
    static void CountSentCall() { sTotalRPCCallsSent.fetch_add( 1, std::memory_order_relaxed ); }

    std::atomic<XBridgeType> itsBridgeType;
    std::unique_ptr<XEncryptedNetStream> itsSenderStream;   // guarded by the sender mutex
    std::unique_ptr<XEncryptedNetStream> itsReceiverStream; // the receiving thread's

private:
    void AddSlot( std::unique_ptr<XRPCSlotBase> inSlot );
    void MakeCall( std::uint32_t inCode, bool inWaits, XRPCRepeat inRepeat, XRPCOutgoingCallBase& ioCall );
    std::uint32_t SendCall( std::uint32_t inCode, bool inWaits, XRPCOutgoingCallBase& ioCall );
    void CheckNothingHasArrived() const;
    void LockSender( bool inWaitForReturn );
    void UnlockSender();
    void NoteCall( std::uint32_t inCode, bool inWaitForReturn );
    bool ForgetCall();
    bool DeferFlush();
    void FlushSender();
    bool FlushDeferred();
    void EnsureSender();
    void CheckSender() const;
    void NotifySenderDisconnected();
    bool MayReconnect() const;
    void ReconnectOrFail();
    [[noreturn]] void FailAborted();

    void ServeCalls();
    void ServeCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous, bool inIsAborted );
    std::uint32_t ReadAndRun( XRPCSlotBase& ioSlot, bool inIsAsynchronous, bool inIsAborted );
    std::uint32_t RunCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous );
    void CheckState( std::uint32_t inCode, bool inIsAsynchronous );
    bool TakeReceiverAbort( std::uint32_t inCode );
    void Refuse( std::uint32_t inStatus, bool inIsAsynchronous );
    void SwitchReceiverByteOrder();

    static std::atomic<std::uint32_t> sTotalRPCCallsSent;
    static std::atomic<std::uint32_t> sTotalRPCCallsReceived;

    mutable XMutex itsMutex;
    mutable XMutex itsSenderMutex;
    const std::unique_ptr<XRPCTurns> itsTurns; // of the threads that want itsSenderMutex
    mutable XConditionVariable itsStateChanged;

    // Changed under itsMutex:
    std::atomic<XRPCConnectionState> itsSenderState = kNotConnected;
    std::atomic<XRPCConnectionState> itsReceiverState = kNotConnected;
    std::atomic<bool> itsSenderIsAvailable = false;
    std::atomic<bool> itsUsesAutoReconnect = false;
    std::atomic<std::uint32_t> itsReceiverAbortCode = kNoCall;
    std::atomic<USize64> itsMostCallBytes = kDefaultMostCallBytes;
    // Guarded by itsMutex:
    std::map<std::uint32_t, std::unique_ptr<XRPCSlotBase>> itsSlots;
    std::uint32_t itsCallCode = kNoCall;
    bool itsWaitsForReturn = true;
    std::uint32_t itsSenderAbortCode = kNoCall;
    bool itsSenderIsDropped = false; // by an abort

    // Set under itsSenderMutex: calls are in the buffer, and the flusher is armed or about to be
    std::atomic<bool> itsHasDeferred = false;
    // Guarded by itsSenderMutex:
    std::int64_t itsLastFlushUS = 0; // of a call without a return
    std::unique_ptr<XRPCFlusher> itsFlusher;

    // The receiving thread's:
    std::uint32_t itsSentinel = 0;
    std::optional<XByteOrder> itsNextReceiverOrder;
    bool itsHasToEndConversation = false;
};
