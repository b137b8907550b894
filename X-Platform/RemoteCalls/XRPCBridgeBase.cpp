#include "RemoteCalls/XRPCBridgeBase.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "Network/XEncryptedNetStream.h"
#include "RemoteCalls/Internal/XRPCFlusher.h"
#include "Services/XSessionLogManager.h"
#include "System/WRandomBytes.h"
#include "Threads/XThread.h"
#include "Time/WClock.h"

#include <utility>

std::atomic<std::uint32_t> XRPCBridgeBase::sTotalRPCCallsSent = 0;
std::atomic<std::uint32_t> XRPCBridgeBase::sTotalRPCCallsReceived = 0;

namespace
{

/// A peer that fails each time at the same call would have it repeated for ever.
constexpr unsigned kMostRepeats = 4;

bool IsLostConnection( const XException& inError )
{
    const std::uint32_t number = inError.GetErrorNumber();
    return number == kErrorDisconnected || number == kErrorConnectionTimedOut;
}

} // namespace

XRPCBridgeBase::XRPCBridgeBase( XBridgeType inType ) : itsBridgeType( inType )
{
    RegisterInitiateConversation();
    RegisterAuthenticateConversation();
    RegisterNegotiateByteOrder();
    RegisterIsRPCCallSupported();
    RegisterRequestBidirectionalSession();
    RegisterCheckAlive();
    RegisterSpeakRemoteMessage();
    RegisterRequestReceiveOnlySession();
}

XRPCBridgeBase::~XRPCBridgeBase() = default;

// ---- State

XRPCBridgeBase::XRPCConnectionState XRPCBridgeBase::GetState() const
{
    const bool isSender =
        IsClient() != ( itsBridgeType == kReceiveOnlyClient || itsBridgeType == kReceiveOnlyServer );
    return isSender ? itsSenderState : itsReceiverState;
}

void XRPCBridgeBase::SetSenderState( XRPCConnectionState inState )
{
    const XThreadLock lock( itsMutex );
    itsSenderState = inState;
    itsStateChanged.Broadcast();
}

void XRPCBridgeBase::SetReceiverState( XRPCConnectionState inState )
{
    const XThreadLock lock( itsMutex );
    itsReceiverState = inState;
    itsStateChanged.Broadcast();
}

void XRPCBridgeBase::SetSenderIsAvailable( bool inIsAvailable )
{
    const XThreadLock lock( itsMutex );
    itsSenderIsAvailable = inIsAvailable;
    itsSenderIsDropped = false;
    itsStateChanged.Broadcast();
}

bool XRPCBridgeBase::LoseSender()
{
    const XThreadLock lock( itsMutex );
    itsSenderState = kNotConnected;
    itsStateChanged.Broadcast();
    return itsSenderIsAvailable.exchange( false );
}

void XRPCBridgeBase::WaitForReceiverToConnect( std::uint32_t inTimeoutMS )
{
    const XTimer timer( inTimeoutMS );
    const XThreadLock lock( itsMutex );
    while ( !itsSenderIsAvailable )
        if ( itsStateChanged.Sleep( itsMutex, timer.GetRemainingMS(), true ) && !itsSenderIsAvailable )
            XThrow( kErrorConnectionTimedOut );
}

std::uint32_t XRPCBridgeBase::TransformSentinel( std::uint32_t inSentinel )
{
    return static_cast<std::uint32_t>( static_cast<std::uint64_t>( inSentinel * 1.5 ) );
}

std::uint32_t XRPCBridgeBase::DrawRandomNumber()
{
    std::uint32_t number = 0;
    while ( number == 0 )
        if ( WRandomBytes::Fill( &number, sizeof( number ) ) != 0 )
            XThrowLastSystemError();
    return number;
}

// ---- Slots

void XRPCBridgeBase::AddSlot( std::unique_ptr<XRPCSlotBase> inSlot )
{
    const XThreadLock lock( itsMutex );
    const auto found = itsSlots.find( inSlot->GetCallCode() );
    const bool isNewCode = found == itsSlots.end();
    if ( isNewCode )
        itsSlots.emplace( inSlot->GetCallCode(), std::move( inSlot ) );
    else
        XAssert( found->second->RunsSameMethod( *inSlot ) );
}

XRPCSlotBase* XRPCBridgeBase::GetRPCCallSlot( std::uint32_t inCode ) const
{
    const XThreadLock lock( itsMutex );
    const auto found = itsSlots.find( inCode );
    return found == itsSlots.end() ? nullptr : found->second.get();
}

// ---- Sending

void XRPCBridgeBase::MakeCall(
    std::uint32_t inCode, bool inWaits, XRPCRepeat inRepeat, XRPCOutgoingCallBase& ioCall )
{
    const XMakeRPCCall call( *this, inCode, inWaits );
    std::uint32_t status = 0;
    for ( unsigned repeats = 0;; ++repeats )
    {
        try
        {
            status = SendCall( inCode, inWaits, ioCall );
            break;
        }
        catch ( const XException& error )
        {
            HandleRPCCallError( error, inRepeat == XRPCRepeat::kMayRepeat && repeats < kMostRepeats );
        }
        catch ( ... )
        {
            HandleRPCCallUnknownError();
            throw;
        }
    }
    if ( status != 0 )
        XThrow( status );
}

/// Returns the status of the return.
std::uint32_t XRPCBridgeBase::SendCall( std::uint32_t inCode, bool inWaits, XRPCOutgoingCallBase& ioCall )
{
    ioCall.WriteArguments( PrepareSenderParameterBuffer( inCode ) );
    FlushSenderParameterBuffer();
    const std::uint32_t status = PrepareSenderReturnBuffer( inWaits );
    if ( status != 0 || !inWaits )
        return status;
    return ioCall.ReadResult( *itsSenderStream ) ? 0 : std::uint32_t( kErrorWrongStorable );
}

void XRPCBridgeBase::BeginRPCCall( std::uint32_t inCode, bool inWaitForReturn )
{
    CheckSender();
    itsSenderMutex.Lock( kNoTimeout, true );
    try
    {
        NoteCall( inCode, inWaitForReturn );
    }
    catch ( ... )
    {
        itsSenderMutex.Unlock();
        throw;
    }
    try
    {
        EnsureSender();
        CountSentCall();
    }
    catch ( ... )
    {
        EndRPCCall();
        throw;
    }
}

void XRPCBridgeBase::EndRPCCall()
{
    if ( !itsSenderMutex.IsLockedByCurrentThread() )
        return; // released early
    ForgetCall();
    itsSenderMutex.Unlock();
}

void XRPCBridgeBase::ReleaseSenderEarly( std::uint32_t inCode )
{
    if ( !itsSenderMutex.IsLockedByCurrentThread() )
        return;
    const XThreadLock lock( itsMutex );
    if ( itsCallCode == inCode )
        EndRPCCall();
}

/// Fails when the call has been aborted before.
void XRPCBridgeBase::NoteCall( std::uint32_t inCode, bool inWaitForReturn )
{
    const XThreadLock lock( itsMutex );
    XAssert( itsCallCode == kNoCall ); // arguments and hooks make no calls of their own
    if ( std::exchange( itsSenderAbortCode, std::uint32_t( kNoCall ) ) == inCode )
        XThrow( kErrorCallAborted );
    itsCallCode = inCode;
    itsWaitsForReturn = inWaitForReturn;
}

/// An abort that has come too late for the call does not meet the next one, for which the connection is made again.
void XRPCBridgeBase::ForgetCall()
{
    const XThreadLock lock( itsMutex );
    if ( itsSenderIsDropped )
    {
        itsSenderAbortCode = kNoCall;
        itsSenderIsAvailable = false;
    }
    itsCallCode = kNoCall;
    itsWaitsForReturn = true;
}

/// What can be told without waiting for calls of other threads.
void XRPCBridgeBase::CheckSender() const
{
    if ( itsSenderIsAvailable || itsSenderMutex.GetOwner() != 0 )
        return;
    if ( IsServer() )
        XThrow( kErrorSenderUnavailable );
    if ( !MayReconnect() )
        XThrow( kErrorDisconnected );
}

/// Under the sender mutex. A client that may connect again does so.
void XRPCBridgeBase::EnsureSender()
{
    if ( itsSenderIsAvailable )
        return;
    if ( IsServer() )
        XThrow( kErrorSenderUnavailable );
    if ( !MayReconnect() )
        XThrow( kErrorDisconnected );
    ReconnectOrFail();
    if ( IsSenderCallAborted() )
        FailAborted();
}

bool XRPCBridgeBase::MayReconnect() const
{
    const XThreadLock lock( itsMutex );
    return ( CanAutoReconnect() || itsSenderIsDropped ) && HasLostConnection();
}

/// With the number that the call ends with.
void XRPCBridgeBase::ReconnectOrFail()
{
    try
    {
        ReconnectSender();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& )
    {
        const bool isAborted = IsSenderCallAborted();
        const XThreadLock lock( itsMutex );
        itsSenderIsDropped = false;
        itsSenderAbortCode = kNoCall;
        XThrow( isAborted ? kErrorCallAborted : kErrorDisconnected );
    }
}

XStream& XRPCBridgeBase::PrepareSenderParameterBuffer( std::uint32_t inCode )
{
    if ( !itsSenderStream )
        XThrow( kErrorDisconnected );
    itsSenderStream->Write32( itsWaitsForReturn ? inCode : inCode | kAsynchronousCall );
    return *itsSenderStream;
}

void XRPCBridgeBase::FlushSenderParameterBuffer()
{
    if ( !DeferFlush() )
        FlushSender();
}

/// Calls without a return that follow each other closely are sent together. The first is sent at once, so that one by itself
/// is not late. TEA has no buffer to leave them in.
bool XRPCBridgeBase::DeferFlush()
{
    if ( itsWaitsForReturn || itsSenderStream->GetAlgorithm() == XEncryptedNetStream::kAlgorithmTEA ||
         WClock::GetMicroSeconds() - itsLastFlushUS >= XRPCFlusher::kDelayUS )
        return false;
    if ( itsHasDeferred )
        return true;
    try
    {
        if ( !itsFlusher )
            itsFlusher = std::make_unique<XRPCFlusher>( [this] { return FlushDeferred(); } );
        itsFlusher->Arm();
    }
    catch ( const XException& )
    {
        return false; // there is no thread to be had
    }
    itsHasDeferred = true;
    return true;
}

/// After a failure the next call tries by itself, and meets it.
void XRPCBridgeBase::FlushSender()
{
    itsHasDeferred = false;
    itsLastFlushUS = 0;
    itsSenderStream->Flush();
    if ( !itsWaitsForReturn )
        itsLastFlushUS = WClock::GetMicroSeconds();
}

/// On the flusher's thread. False while another thread has the sender, unless that has sent everything.
bool XRPCBridgeBase::FlushDeferred()
{
    if ( !itsHasDeferred )
        return true;
    if ( !itsSenderMutex.TryLock() )
        return false;
    const XThreadLock lock( itsSenderMutex ); // whatever is thrown
    itsSenderMutex.Unlock();
    if ( !itsHasDeferred.exchange( false ) || !itsSenderStream )
        return true;
    itsLastFlushUS = 0;
    try
    {
        itsSenderStream->Flush();
        itsLastFlushUS = WClock::GetMicroSeconds();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... ) // the next call meets it
    {
    }
    return true;
}

void XRPCBridgeBase::StopFlusher()
{
    itsFlusher.reset();
}

std::uint32_t XRPCBridgeBase::PrepareSenderReturnBuffer( bool inWaitForReturn )
{
    return inWaitForReturn ? itsSenderStream->Read32() : 0;
}

void XRPCBridgeBase::HandleRPCCallError( const XException& inError, bool inMayRepeat )
{
    DropSender(); // what is left of this call must not be taken for the next one's
    const bool wasAvailable = LoseSender();
    if ( dynamic_cast<const XStopThreadException*>( &inError ) )
    {
        NotifySenderDisconnected();
        throw;
    }
    if ( HandleRPCCallErrorSelf( inError ) )
        throw;
    if ( IsClient() && wasAvailable && MayReconnect() )
    {
        const bool wasAborted = IsSenderCallAborted();
        ReconnectOrFail();
        if ( wasAborted || IsSenderCallAborted() )
            FailAborted();
        if ( !IsLostConnection( inError ) )
            throw;
        if ( !inMayRepeat )
            XThrow( kErrorDisconnected );
        return;
    }
    NotifySenderDisconnected();
    if ( IsSenderCallAborted() )
        FailAborted();
    throw;
}

void XRPCBridgeBase::FailAborted()
{
    const XThreadLock lock( itsMutex );
    itsSenderAbortCode = kNoCall;
    XThrow( kErrorCallAborted );
}

void XRPCBridgeBase::HandleRPCCallUnknownError()
{
    DropSender();
    LoseSender();
    const XThreadLock lock( itsMutex );
    NotifySenderDisconnected();
}

void XRPCBridgeBase::NotifySenderDisconnected()
{
    XSwallowErrors( [this] { SenderDisconnectedSelf(); } );
}

// ---- Aborts

void XRPCBridgeBase::AbortSenderRPCCall( std::uint32_t inCode )
{
    const XThreadLock lock( itsMutex );
    itsSenderAbortCode = inCode;
    if ( itsCallCode != inCode || inCode == kNoCall )
        return;
    itsSenderIsDropped = true;
    itsStateChanged.Broadcast();
    DropSender();
}

void XRPCBridgeBase::AbortReceiverRPCCall( std::uint32_t inCode )
{
    itsReceiverAbortCode = inCode;
}

/// An abort that has begun to end a call is not taken back.
void XRPCBridgeBase::ResetSenderAbortRPCCall()
{
    const XThreadLock lock( itsMutex );
    if ( !itsSenderIsDropped )
        itsSenderAbortCode = kNoCall;
}

void XRPCBridgeBase::ResetReceiverAbortRPCCall()
{
    itsReceiverAbortCode = kNoCall;
}

bool XRPCBridgeBase::IsSenderCallAborted() const
{
    const XThreadLock lock( itsMutex );
    return itsCallCode != kNoCall && itsSenderAbortCode == itsCallCode;
}

bool XRPCBridgeBase::TakeReceiverAbort( std::uint32_t inCode )
{
    return itsReceiverAbortCode.compare_exchange_strong( inCode, kNoCall );
}

// ---- Receiving

void XRPCBridgeBase::RunConversation()
{
    XAssert(
        IsServer() || ( itsBridgeType == kBidirectionalClient ) || ( itsBridgeType == kReceiveOnlyClient ) );
    InitialiseRPCProtocolForReceiver();
    itsHasToEndConversation = false;
    SetReceiverState( kConnected );
    try
    {
        ServeCalls();
    }
    catch ( ... )
    {
        DropReceiver( false );
        itsReceiverStream.reset();
        SetReceiverState( kNotConnected );
        throw;
    }
    itsReceiverStream.reset();
    SetReceiverState( kNotConnected );
}

/// Returns when the peer has gone away; what it takes the place of ends with the connection.
void XRPCBridgeBase::ServeCalls()
{
    try
    {
        while ( !itsHasToEndConversation )
        {
            XAssert( itsReceiverStream );
            HandleRPCCall( itsReceiverStream->Read32() );
            XThread::TestCancelCurrentThread();
        }
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorDisconnected )
            throw;
        DropReceiver( false );
    }
}

void XRPCBridgeBase::HandleRPCCall( std::uint32_t inCallWord )
{
    const bool isAsynchronous = ( inCallWord & kAsynchronousCall ) != 0;
    const std::uint32_t code = inCallWord & ~kAsynchronousCall;
    CheckState( code, isAsynchronous );
    XRPCSlotBase* const slot = GetRPCCallSlot( code );
    if ( !slot )
    {
        const char* const text = isAsynchronous
            ? "An RPC sender tried to make an unknown asynchronous RPC call with code: "
            : "An RPC sender tried to make an unknown RPC call with code: ";
        XSessionLogManager::Log( kLogWarning, XString( text ) + XString( code ) );
        Refuse( kErrorCallNotSupported, isAsynchronous );
        XThrow( kErrorDisconnected );
    }
    const XRPCConnectionState state = itsReceiverState;
    sTotalRPCCallsReceived.fetch_add( 1, std::memory_order_relaxed );
    PreHandleRPCCall( state, code );
    ServeCall( *slot, isAsynchronous );
    SwitchReceiverByteOrder();
    PostHandleRPCCall( state, code );
}

/// Before the peer has authenticated, it may do nothing else.
void XRPCBridgeBase::CheckState( std::uint32_t inCode, bool inIsAsynchronous )
{
    const XRPCConnectionState state = itsReceiverState;
    if ( state == kAuthenticated || inCode == kInitiateConversation ||
         ( state == kInitiated && inCode == kAuthenticateConversation ) )
        return;
    Refuse( kErrorAuthenticationFailed, inIsAsynchronous );
    XThrow( kErrorDisconnected );
}

/// Answers a call whose arguments cannot be read, and ends the connection: nothing can follow them.
void XRPCBridgeBase::Refuse( std::uint32_t inStatus, bool inIsAsynchronous )
{
    if ( !inIsAsynchronous )
        XSwallowErrors(
            [&]
            {
                PrepareReceiverReturnBuffer( inStatus );
                FlushReceiverReturnBuffer();
            } );
    DropReceiver( !inIsAsynchronous );
}

void XRPCBridgeBase::ServeCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous )
{
    class XCleanUp
    {
    public:
        explicit XCleanUp( XRPCSlotBase& ioCleaned ) : itsSlot( ioCleaned ) {}
        XCleanUp( const XCleanUp& ) = delete;
        XCleanUp& operator=( const XCleanUp& ) = delete;
        ~XCleanUp()
        {
            XSwallowErrors( [this] { itsSlot.CleanUp(); } );
        }

    private:
        XRPCSlotBase& itsSlot;
    };
    const XCleanUp cleanUp( ioSlot );
    const std::uint32_t status = ReadAndRun( ioSlot, inIsAsynchronous );
    if ( inIsAsynchronous )
        return;
    XStream& stream = PrepareReceiverReturnBuffer( status );
    if ( status == 0 )
        ioSlot.WriteResult( stream );
    FlushReceiverReturnBuffer();
}

/// Returns the status of the return.
std::uint32_t XRPCBridgeBase::ReadAndRun( XRPCSlotBase& ioSlot, bool inIsAsynchronous )
{
    bool areOfTheirClass = false;
    try
    {
        areOfTheirClass = ioSlot.ReadArguments( PrepareReceiverParameterBuffer() );
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorDisconnected )
            Refuse( error.GetErrorNumber(), inIsAsynchronous );
        throw;
    }
    catch ( ... )
    {
        Refuse( kErrorUnknownRPC, inIsAsynchronous );
        throw;
    }
    if ( TakeReceiverAbort( ioSlot.GetCallCode() ) )
        return kErrorCallAborted;
    return areOfTheirClass ? RunCall( ioSlot, inIsAsynchronous ) : std::uint32_t( kErrorWrongStorable );
}

/// Of a call that nobody waits for, the log alone tells what went wrong.
std::uint32_t XRPCBridgeBase::RunCall( XRPCSlotBase& ioSlot, bool inIsAsynchronous )
{
    try
    {
        ioSlot.RunCall();
        return 0;
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& error )
    {
        XSessionLogManager* const log = XSessionLogManager::GetManager();
        if ( inIsAsynchronous && log && error.ShouldLogError() )
            log->AddException( error, kLogWarning, "remote call " + XString( ioSlot.GetCallCode() ) );
        return error.GetErrorNumber() != 0 ? error.GetErrorNumber() : std::uint32_t( kErrorUnknownRPC );
    }
    catch ( ... )
    {
        return kErrorUnknownRPC;
    }
}

XStream& XRPCBridgeBase::PrepareReceiverParameterBuffer()
{
    XAssert( itsReceiverStream );
    return *itsReceiverStream;
}

XStream& XRPCBridgeBase::PrepareReceiverReturnBuffer( std::uint32_t inStatus )
{
    XAssert( itsReceiverStream );
    itsReceiverStream->Write32( inStatus );
    return *itsReceiverStream;
}

void XRPCBridgeBase::FlushReceiverReturnBuffer()
{
    itsReceiverStream->Flush();
}

void XRPCBridgeBase::PreHandleRPCCall( XRPCConnectionState, std::uint32_t ) {}

void XRPCBridgeBase::PostHandleRPCCall( XRPCConnectionState, std::uint32_t ) {}

// ---- The calls that every bridge knows

void XRPCBridgeBase::SpeakRemoteMessage( const XRemoteMessage& inMessage )
{
    SpeakRemoteMessage( std::unique_ptr<XRemoteMessage>( inMessage.Clone() ) );
}

void XRPCBridgeBase::SpeakRemoteMessage_NoWaitForReturn( const XRemoteMessage& inMessage )
{
    SpeakRemoteMessage_NoWaitForReturn( std::unique_ptr<XRemoteMessage>( inMessage.Clone() ) );
}

std::uint32_t XRPCBridgeBase::InitiateConversationSelf( std::uint32_t inVersion, std::uint32_t inClientType )
{
    if ( inVersion != kProtocolVersion )
        XThrow( inVersion > kProtocolVersion ? kErrorClientTooNew : kErrorClientTooOld );
    if ( IsServer() )
    {
        if ( inClientType > kReceiveOnlyClient )
            XThrow( kErrorClientTooNew );
        SetBridgeType( static_cast<XBridgeType>( kServer + inClientType ) );
    }
    itsSentinel = DrawRandomNumber();
    SetReceiverState( kInitiated );
    return itsSentinel;
}

/// A peer that does not know the answer gets no other one.
std::uint32_t
XRPCBridgeBase::AuthenticateConversationSelf( std::uint32_t inAnswer, std::uint32_t inChallenge )
{
    if ( itsReceiverState != kInitiated || inAnswer != TransformSentinel( itsSentinel ) )
    {
        DropReceiver( false );
        XSessionLogManager::Log(
            kLogWarning,
            "The RPC sender at " + DescribeReceiver() +
                " was disconnected due to an incorrect security sentinel." );
        XThrow( kErrorDisconnected );
    }
    SetReceiverState( kAuthenticated );
    NoteReceiverAuthenticated();
    XSwallowErrors( [this] { ReceiverAuthenticatedSelf(); } );
    return TransformSentinel( inChallenge );
}

/// The answer still goes in the old order.
std::uint32_t XRPCBridgeBase::NegotiateByteOrderSelf( std::uint32_t inOrder )
{
    if ( inOrder > kMotorolaOrder )
        XThrow( kErrorStreamCorrupted );
    itsNextReceiverOrder = static_cast<XByteOrder>( inOrder );
    return inOrder;
}

void XRPCBridgeBase::SwitchReceiverByteOrder()
{
    if ( itsNextReceiverOrder )
        itsReceiverStream->SetByteOrder( *itsNextReceiverOrder );
    itsNextReceiverOrder.reset();
}

void XRPCBridgeBase::RegisterNegotiateByteOrder()
{
    RegisterSlot( kNegotiateByteOrder, this, &XRPCBridgeBase::NegotiateByteOrderSelf );
}

/// No other thread's call may come between the answer and the switch.
std::uint32_t XRPCBridgeBase::NegotiateByteOrder( std::uint32_t inOrder )
{
    const XThreadLock lock( itsSenderMutex, kNoTimeout, true );
    const auto order =
        CallRemotely<std::uint32_t, std::uint32_t>( kNegotiateByteOrder, XRPCRepeat::kOnce, inOrder );
    itsSenderStream->SetByteOrder( static_cast<XByteOrder>( inOrder ) );
    return order;
}

void XRPCBridgeBase::NegotiateByteOrder_NoWaitForReturn( std::uint32_t inOrder )
{
    if ( inOrder > kMotorolaOrder )
        XThrow( kErrorStreamCorrupted );
    const XThreadLock lock( itsSenderMutex, kNoTimeout, true );
    CallWithoutReturn<std::uint32_t, std::uint32_t>( kNegotiateByteOrder, XRPCRepeat::kOnce, inOrder );
    itsSenderStream->SetByteOrder( static_cast<XByteOrder>( inOrder ) );
}

std::optional<std::uint32_t> XRPCBridgeBase::NegotiateByteOrder_NoThrow( std::uint32_t inOrder ) noexcept
{
    try
    {
        return NegotiateByteOrder( inOrder );
    }
    catch ( ... )
    {
        return {};
    }
}

bool XRPCBridgeBase::IsRPCCallSupportedSelf( std::uint32_t inCode )
{
    return GetRPCCallSlot( inCode ) != nullptr;
}

std::uint32_t XRPCBridgeBase::RequestBidirectionalSessionSelf()
{
    XThrow( kErrorCallNotSupported );
}

void XRPCBridgeBase::RequestReceiveOnlySessionSelf()
{
    XThrow( kErrorCallNotSupported );
}

void XRPCBridgeBase::SpeakRemoteMessageSelf( std::unique_ptr<XRemoteMessage> inMessage )
{
    if ( !inMessage )
        XThrow( kErrorWrongStorable );
    inMessage->SetSpeaker( this );
    SpeakMessage( *inMessage );
}

// ---- Storage

XVersion XRPCBridgeBase::GetClassVersion()
{
    return XVersion( kClassRPCBridgeBase, 0 );
}

XVersion XRPCBridgeBase::GetSuperClassVersion()
{
    return XVersion( kClassNone );
}

XVersion XRPCBridgeBase::GetVersion() const
{
    return GetClassVersion();
}

XStorable* XRPCBridgeBase::Clone() const
{
    XThrow( kErrorBadParameters );
}

USize64 XRPCBridgeBase::GetStreamUsage() const
{
    return sizeof( std::uint32_t );
}

void XRPCBridgeBase::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
}

void XRPCBridgeBase::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
}
