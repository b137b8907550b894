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

/// Whether a call may be sent again when the connection was lost before its return was there.
enum class XRPCRepeat : std::uint32_t
{
    kMayRepeat,
    kOnce,
};

/// One end of a conversation of remote calls: the protocol, the table of slots and the book-keeping of calls, without a
/// connection (XRPCBridge). docs/remote-calls.md tells how applications declare methods and serve them.
///
/// Ends: a bridge sends calls, one at a time, and may receive calls, one at a time, on a thread. Each call of another thread
/// waits for the one that is being sent. A method that runs here may call the peer where this end sends at all, unless
/// a thread of the peer waits for it with the bridge in use.
///
/// Reconnection: where a client has auto-reconnect, a call that loses its connection connects again, for as long as the
/// connect time-out lasts, and is sent again as a whole. So it may have run twice on the peer, the first time without
/// anybody hearing of the result; a method that was declared to run once fails with 3100 instead. A call whose form is
/// `_NoWaitForReturn` may be lost without notice, as may those before it that wait in the system's buffers.
///
/// Calls whose form is `_NoWaitForReturn` are sent together where they follow each other closely: one waits for others for
/// about 200 µs at most, unless a buffer is full, a call is made that waits, or the bridge is disconnected (`Disconnect`)
/// before.
///
/// Messages: `SpeakRemoteMessage` hands a message to the bridge at the other end, which speaks it as its own; ordinary
/// listeners there hear it on the main thread, coalesced by its rule.
///
/// Threads: every operation may be called from any thread. A bridge is not destroyed while another thread is in one of its
/// operations.
/// Errors of calls: the number with which the method failed on the peer (3090 for what is no XException), as an
/// XException with that number; 3091 when the peer does not know the call; 3095 when an object is not of the declared class;
/// 3098 when the call was aborted; 3099 for a server that cannot send, 3100 for a client that is not connected, and when the
/// connection is lost; 1003, 1004, 1005 and 1015 for results that cannot be read; what the arguments throw when they are
/// written. A call that fails in any way but by a number of the peer's, 3091 and 3095 ends the connection.
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

    /// Of one direction of a conversation.
    enum XRPCConnectionState : std::uint32_t
    {
        kNotConnected = 0,
        kConnected = 1,
        kInitiated = 2,     ///< the version of the protocol was accepted
        kAuthenticated = 3, ///< the security sentinel was answered correctly
    };

    /// The calls that every bridge knows.
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

    /// Marks the code of a call that does not wait for a return.
    static constexpr std::uint32_t kAsynchronousCall = 0x80000000;

    XRPCBridgeBase( const XRPCBridgeBase& ) = delete;
    XRPCBridgeBase& operator=( const XRPCBridgeBase& ) = delete;
    ~XRPCBridgeBase() override;

    // ---- The conversation

    XBridgeType GetBridgeType() const { return itsBridgeType; }
    bool IsClient() const { return GetBridgeType() < kServer; }
    bool IsServer() const { return !IsClient(); }

    /// The state of the direction in which the conversation was opened: calls of the client to the server, but for
    /// receive-only ends.
    XRPCConnectionState GetState() const;
    XRPCConnectionState GetSenderState() const { return itsSenderState; }
    XRPCConnectionState GetReceiverState() const { return itsReceiverState; }

    /// Whether calls can be sent, and are received, at this moment.
    bool CanSend() const { return itsSenderIsAvailable; }
    bool CanRecv() const { return itsReceiverState == kAuthenticated; }

    /// Whether a lost connection is made again. For clients.
    void SetUseAutoReconnect( bool inUseAutoReconnect ) { itsUsesAutoReconnect = inUseAutoReconnect; }
    bool CanAutoReconnect() const { return itsUsesAutoReconnect && IsClient(); }

    static constexpr USize64 kDefaultMostCallBytes = 1024 * 1024 * 1024;

    /// The most bytes that a call may have with its arguments where it is received, and a return with its result. More of
    /// them are 1005, and end the connection: so they do not fill the memory.
    void SetMostCallBytes( USize64 inBytes ) { itsMostCallBytes = inBytes; }

    /// Waits until calls can be sent: on a server, until a bidirectional or receive-only client receives them. 3105 when
    /// the time is over.
    void WaitForReceiverToConnect( std::uint32_t inTimeoutMS );

    /// Ends all connections at once, and the calls that use them (3100). Nothing connects again until `Connect`.
    virtual void ForceDisconnect() = 0;

    // ---- Aborting calls

    /// Has the next call with this code that is begun fail with 3098, unless one with another code comes first. One that is
    /// being sent fails at once; its connection is ended and made again where this is a client.
    void AbortSenderRPCCall( std::uint32_t inCode );
    /// Has the next call with this code that arrives fail with 3098, on its sender.
    void AbortReceiverRPCCall( std::uint32_t inCode );
    void ResetSenderAbortRPCCall();
    void ResetReceiverAbortRPCCall();

    /// Lets other threads send before the scope of this thread's call ends (XMakeRPCCall): for those who have their return.
    void ReleaseSenderEarly( std::uint32_t inCode );

    // ---- Calls of the process, since its beginning, modulo 2^32

    static std::uint32_t GetTotalRPCCallsSent() { return sTotalRPCCallsSent; }
    static std::uint32_t GetTotalRPCCallsReceived() { return sTotalRPCCallsReceived; }

    // ---- The calls that every bridge knows. The first two and the session requests are for the opening of a conversation,
    // which makes them by itself.

    /// Version of the protocol and type of the client; returns the sentinel. 3092, 3093 for other versions and types.
    XREMOTE_METHOD_FORMS(
        kInitiateConversation, XRPCRepeat::kOnce, std::uint32_t, InitiateConversation, std::uint32_t,
        std::uint32_t )
    /// Answer to the sentinel and challenge; returns the answer to the challenge. A wrong answer ends the connection.
    XREMOTE_METHOD_FORMS(
        kAuthenticateConversation, XRPCRepeat::kOnce, std::uint32_t, AuthenticateConversation, std::uint32_t,
        std::uint32_t )
    /// Has both ends use an order (XByteOrder) from the next call on; returns it. 1005 for others than 0 and 1.
    std::uint32_t NegotiateByteOrder( std::uint32_t inOrder );
    void NegotiateByteOrder_NoWaitForReturn( std::uint32_t inOrder );
    std::optional<std::uint32_t> NegotiateByteOrder_NoThrow( std::uint32_t inOrder ) noexcept;
    void RegisterNegotiateByteOrder();
    /// Whether the peer has a slot for the code.
    XREMOTE_METHOD_FORMS(
        kIsRPCCallSupported, XRPCRepeat::kMayRepeat, bool, IsRPCCallSupported, std::uint32_t )
    XREMOTE_METHOD_FORMS(
        kRequestBidirectionalSession, XRPCRepeat::kOnce, std::uint32_t, RequestBidirectionalSession )
    /// Does nothing; that it returns proves that the peer is alive.
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

    /// What proves that both ends speak the protocol with the same key: one and a half times the number, truncated.
    static std::uint32_t TransformSentinel( std::uint32_t inSentinel );

    // ---- Storage: a bridge is stored by its class alone. Copies of it make no sense (1013).

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    XStorable* Clone() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    explicit XRPCBridgeBase( XBridgeType inType );

    // ---- Methods of derived classes: what XREMOTE_METHOD makes its forms of

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

    /// The slot for a code; null when there is none.
    XRPCSlotBase* GetRPCCallSlot( std::uint32_t inCode ) const;

    // ---- Sending a call. Between `BeginRPCCall` and `EndRPCCall` the calling thread has the sender to itself.

    friend class XMakeRPCCall;

    void BeginRPCCall( std::uint32_t inCode, bool inWaitForReturn );
    void EndRPCCall();
    /// The stream for the arguments, behind the call word.
    XStream& PrepareSenderParameterBuffer( std::uint32_t inCode );
    /// Sends the call, or leaves that to a moment later where it does not wait for a return and follows another.
    void FlushSenderParameterBuffer();
    /// Waits for the return and reads its status word; the stream is at the result then. Without `inWaitForReturn` 0.
    std::uint32_t PrepareSenderReturnBuffer( bool inWaitForReturn );

    /// The call that is being sent has failed to. Returns where it is to be sent again, else throws what it ends with. Within
    /// the handler of the error.
    void HandleRPCCallError( const XException& inError, bool inMayRepeat );
    void HandleRPCCallUnknownError();

    // ---- Receiving calls

    /// Serves calls until the peer has gone away, or `EndConversation` was called. Other errors are thrown. For servers, and
    /// clients that receive.
    void RunConversation();
    /// Serves one call. The word is its code, with or without `kAsynchronousCall`.
    void HandleRPCCall( std::uint32_t inCallWord );
    /// The stream at the arguments.
    XStream& PrepareReceiverParameterBuffer();
    /// The stream for the result, behind the status word.
    XStream& PrepareReceiverReturnBuffer( std::uint32_t inStatus );
    void FlushReceiverReturnBuffer();
    /// The call that is being served is the last.
    void EndConversation() { itsHasToEndConversation = true; }

    /// Before and after each call that is served. What they throw ends the conversation.
    virtual void PreHandleRPCCall( XRPCConnectionState inState, std::uint32_t inCode );
    virtual void PostHandleRPCCall( XRPCConnectionState inState, std::uint32_t inCode );

    // ---- Hooks, which must neither throw nor call the peer

    /// The connection of a call has failed. True: the bridge does nothing more about it, and the call fails with the error.
    virtual bool HandleRPCCallErrorSelf( const XException& ) { return false; }
    /// Calls cannot be sent any more; none are received any more.
    virtual void SenderDisconnectedSelf() {}
    virtual void ReceiverDisconnectedSelf() {}
    /// A peer that calls this end has authenticated.
    virtual void ReceiverAuthenticatedSelf() {}

    // ---- What a bridge with a connection provides

    /// Connects again and opens the conversation, or throws. On the thread that has the sender.
    virtual void ReconnectSender() = 0;
    /// Makes `itsReceiverStream` for the connection on which calls arrive.
    virtual void InitialiseRPCProtocolForReceiver() = 0;
    /// End the connection on which calls are sent, on which they arrive, at once. From any thread. The second may give the
    /// peer a moment to read what was sent before.
    virtual void DropSender() = 0;
    virtual void DropReceiver( bool inWaitsForPeer ) = 0;
    /// The peer that calls this end has authenticated; before the hook.
    virtual void NoteReceiverAuthenticated() = 0;
    /// The peer that calls, for the log. May take long.
    virtual XString DescribeReceiver() const = 0;
    /// Whether this is a client that sends calls, has been connected, and has not been disconnected by its user.
    virtual bool HasLostConnection() const = 0;

    // ---- For derived bridges

    /// Guards the fields of the bridge. Not held in waits.
    XMutex& GetMutex() const { return itsMutex; }
    /// Held from the beginning of each call that is sent to its end.
    XMutex& GetSenderMutex() const { return itsSenderMutex; }
    /// Signalled when a state changes, and when the sender does.
    XConditionVariable& GetStateChanged() const { return itsStateChanged; }

    void SetBridgeType( XBridgeType inType ) { itsBridgeType = inType; }
    void SetSenderState( XRPCConnectionState inState );
    void SetReceiverState( XRPCConnectionState inState );
    void SetSenderIsAvailable( bool inIsAvailable );
    /// The sender has been lost; returns whether it had been available.
    bool LoseSender();
    /// Whether the call that is being sent has been aborted.
    bool IsSenderCallAborted() const;

    /// A random number that nobody can guess, and not 0: a sentinel, a challenge, the number of a session.
    virtual std::uint32_t DrawRandomNumber();
    /// Ends what sends calls later. Once connections have been ended, and before the sender's endpoint is destroyed.
    void StopFlusher();
    static void CountSentCall() { sTotalRPCCallsSent.fetch_add( 1, std::memory_order_relaxed ); }

    std::atomic<XBridgeType> itsBridgeType;
    std::unique_ptr<XEncryptedNetStream> itsSenderStream;   // of the thread that has the sender mutex
    std::unique_ptr<XEncryptedNetStream> itsReceiverStream; // of the thread that receives

private:
    void AddSlot( std::unique_ptr<XRPCSlotBase> inSlot );
    void MakeCall( std::uint32_t inCode, bool inWaits, XRPCRepeat inRepeat, XRPCOutgoingCallBase& ioCall );
    std::uint32_t SendCall( std::uint32_t inCode, bool inWaits, XRPCOutgoingCallBase& ioCall );
    void NoteCall( std::uint32_t inCode, bool inWaitForReturn );
    void ForgetCall();
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
    void ServeCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous );
    std::uint32_t ReadAndRun( XRPCSlotBase& ioSlot, bool inIsAsynchronous );
    std::uint32_t RunCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous );
    void CheckState( std::uint32_t inCode, bool inIsAsynchronous );
    bool TakeReceiverAbort( std::uint32_t inCode );
    void Refuse( std::uint32_t inStatus, bool inIsAsynchronous );
    void SwitchReceiverByteOrder();

    static std::atomic<std::uint32_t> sTotalRPCCallsSent;
    static std::atomic<std::uint32_t> sTotalRPCCallsReceived;

    mutable XMutex itsMutex;
    mutable XMutex itsSenderMutex;
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
