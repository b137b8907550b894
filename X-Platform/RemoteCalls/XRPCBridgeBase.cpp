#include "RemoteCalls/XRPCBridgeBase.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "Network/XEncryptedNetStream.h"
#include "RemoteCalls/Internal/XRPCFlusher.h"
#include "RemoteCalls/Internal/XRPCTurns.h"
#include "Services/XSessionLogManager.h"
#include "System/WRandomBytes.h"

#include <utility>

std::atomic<std::uint32_t> XRPCBridgeBase::sTotalRPCCallsSent = 0;
std::atomic<std::uint32_t> XRPCBridgeBase::sTotalRPCCallsReceived = 0;

XRPCBridgeBase::XRPCBridgeBase( XBridgeType inType )
    : itsBridgeType( inType ), itsTurns( std::make_unique<XRPCTurns>() )
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
    itsHasDeferred = false; // unsent calls are lost
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

// ---- Built-in calls

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

/// A wrong answer gets no return: the connection is closed.
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

/// The answer is still written in the old order.
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

/// Holds the sender, so that no call of another thread comes between the answer and the switch.
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
