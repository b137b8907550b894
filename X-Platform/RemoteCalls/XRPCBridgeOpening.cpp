#include "RemoteCalls/XRPCBridge.h"

#include "Core/Times/XTimer.h"

#include <utility>

// The opening handshake of a client: connects, authenticates, negotiates the byte order and, if the client
// receives calls, sets up the connection for them.

namespace
{

void SendBigEndian(
    XNetEndpoint& ioEndpoint, std::initializer_list<std::uint32_t> inNumbers, std::uint32_t inTimeoutMS )
{
    XVector<std::uint8_t> bytes;
    for ( const std::uint32_t number : inNumbers )
        for ( const int shift : { 24, 16, 8, 0 } )
            bytes.push_back( static_cast<std::uint8_t>( number >> shift ) );
    ioEndpoint.SendData( bytes.data(), static_cast<std::uint32_t>( bytes.size() ), inTimeoutMS );
}

/// Any other number is the garbage of a peer with another key or none.
bool IsErrorOfOpening( std::uint32_t inNumber )
{
    return inNumber >= kErrorUnknownRPC && inNumber <= kErrorSenderUnavailable;
}

} // namespace

void XRPCBridge::OpenConversation( std::uint32_t inTimeoutMS )
{
    try
    {
        OpenSender( inTimeoutMS );
        if ( GetBridgeType() == kReceiveOnlyClient )
            return TurnConnectionRound();
        if ( GetBridgeType() == kBidirectionalClient )
            OpenReverseConnection( inTimeoutMS );
        const XThreadLock lock( GetMutex() );
        CheckIsWanted();
        OfferSender();
    }
    catch ( ... )
    {
        CloseSender();
        throw;
    }
}

void XRPCBridge::OpenSender( std::uint32_t inTimeoutMS )
{
    CheckIsWanted();
    const XEndpointPtr endpoint = UseSenderEndpoint( MakeEndpoint() );
    ConnectEndpoint( *endpoint, itsServerAddress, inTimeoutMS );
    CheckIsWanted(); // a ForceDisconnect before the connection existed did not end it
    PreInitialiseRPCProtocolForSender( *endpoint );
    InitialiseRPCProtocolForSender( *endpoint );
}

void XRPCBridge::PreInitialiseRPCProtocolForSender( XNetEndpoint& ioEndpoint )
{
    if ( GetVersion().GetClassID() != kClassRPCBridge )
        SendBigEndian( ioEndpoint, { GetVersion() }, kHandshakeTimeoutMS );
}

/// The stream of a receive-only client reads nothing ahead: the bytes after its answers are for the other
/// stream.
void XRPCBridge::InitialiseRPCProtocolForSender( XNetEndpoint& ioEndpoint )
{
    const bool isForOpeningOnly = GetBridgeType() == kReceiveOnlyClient;
    itsSenderStream = std::make_unique<XEncryptedNetStream>(
        ioEndpoint, itsCipher.GetKey(), itsCipher.GetAlgorithm(), kHandshakeTimeoutMS, kHandshakeTimeoutMS,
        isForOpeningOnly ? 0 : itsBufferSize );
    itsSenderStream->SetByteOrder( kFirstByteOrder );
    SetSenderState( kConnected );
    Authenticate();
    const std::uint32_t order = CallToOpen( kNegotiateByteOrder, { kPlatformByteOrder } );
    if ( order > kMotorolaOrder )
        XThrow( kErrorStreamCorrupted );
    itsSenderStream->SetByteOrder( static_cast<XByteOrder>( order ) );
}

/// The conversation is open, with all that belongs to it: what is sent from now on are the calls of the user.
void XRPCBridge::OfferSender()
{
    itsSenderStream->SetRecvTimeout( itsReturnTimeoutMS );
    SetSenderIsAvailable( true );
}

void XRPCBridge::Authenticate()
{
    const std::uint32_t sentinel = CallToOpen( kInitiateConversation, { kProtocolVersion, GetBridgeType() } );
    SetSenderState( kInitiated );
    const std::uint32_t challenge = DrawRandomNumber();
    const std::uint32_t answer =
        CallToOpen( kAuthenticateConversation, { TransformSentinel( sentinel ), challenge } );
    if ( answer != TransformSentinel( challenge ) )
        XThrow( kErrorAuthenticationFailed );
    SetSenderState( kAuthenticated );
}

/// Makes a call during the handshake, when other threads cannot send yet.
std::uint32_t XRPCBridge::CallToOpen(
    std::uint32_t inCode, std::initializer_list<std::uint32_t> inArguments, bool inHasResult )
{
    CountSentCall();
    itsSenderStream->Write32( inCode );
    for ( const std::uint32_t argument : inArguments )
        itsSenderStream->Write32( argument );
    itsSenderStream->Flush();
    if ( const std::uint32_t status = itsSenderStream->Read32() )
        XThrow( IsErrorOfOpening( status ) ? status : std::uint32_t( kErrorAuthenticationFailed ) );
    const std::uint32_t result = inHasResult ? itsSenderStream->Read32() : 0;
    CheckReturnIsComplete();
    return result;
}

void XRPCBridge::OpenReverseConnection( std::uint32_t inTimeoutMS )
{
    const std::uint32_t session = CallToOpen( kRequestBidirectionalSession, {} );
    const XEndpointPtr endpoint = ConnectReverseEndpoint( inTimeoutMS );
    SendBigEndian( *endpoint, { XVersion( kClassBidirectionalSession, 0 ), session }, kHandshakeTimeoutMS );
    StartReceiving( endpoint );
}

/// DropSender of another thread ends the attempt.
XRPCBridge::XEndpointPtr XRPCBridge::ConnectReverseEndpoint( std::uint32_t inTimeoutMS )
{
    const auto endpoint = std::make_shared<XNetEndpoint>( MakeEndpoint() );
    {
        const XThreadLock lock( GetMutex() );
        CheckIsWanted();
        itsReverseEndpoint = endpoint;
    }
    const auto forget = [this]
    {
        const XThreadLock lock( GetMutex() );
        itsReverseEndpoint.reset();
    };
    try
    {
        ConnectEndpoint( *endpoint, itsServerAddress, inTimeoutMS );
    }
    catch ( ... )
    {
        forget();
        throw;
    }
    forget();
    return endpoint;
}

/// From now on the server sends calls on this connection, with new streams.
void XRPCBridge::TurnConnectionRound()
{
    CallToOpen( kRequestReceiveOnlySession, {}, false );
    itsSenderStream.reset();
    LoseSender();
    XEndpointPtr endpoint;
    {
        const XThreadLock lock( GetMutex() );
        endpoint = std::exchange( itsSenderEndpoint, nullptr );
    }
    StartReceiving( endpoint );
}

/// If the bridge's own thread reconnects, it takes the pending endpoint itself.
void XRPCBridge::StartReceiving( const XEndpointPtr& inEndpoint )
{
    const bool isOwnThread = GetCurrentThread() == this;
    if ( !isOwnThread )
        StopThread();
    {
        const XThreadLock lock( GetMutex() );
        CheckIsWanted();
        itsPendingEndpoint = inEndpoint;
        itsHasEndedReceiving = false;
    }
    if ( isOwnThread )
        return DropReceiver( false );
    StartThread();
    WaitForServer();
}

/// Ends at once if another thread drops the sender, for instance to abort the call that reconnects. The sender
/// of a receive-only client has become the receiver.
void XRPCBridge::WaitForServer()
{
    const XTimer timer( kHandshakeTimeoutMS );
    const XThreadLock lock( GetMutex() );
    while ( !CanRecv() )
    {
        CheckIsWanted();
        if ( itsSenderEndpoint && itsSenderEndpoint->GetState() != XNetEndpoint::kStateConnected )
            XThrow( kErrorDisconnected );
        if ( itsHasEndedReceiving || timer.HasExpired() )
            XThrow( kErrorConnectionTimedOut );
        GetStateChanged().Sleep( GetMutex(), timer.GetRemainingMS(), true );
    }
}
