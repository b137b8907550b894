#include "RemoteCalls/XRPCBridge.h"

#include "Core/Times/XTimer.h"

#include <utility>

// How a client opens a conversation: connects, authenticates, agrees on the order of bytes, and gets a connection for calls
// to itself where it receives any.

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

/// Other numbers are those of a peer with another key, or none.
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
        SetSenderIsAvailable( true );
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
    CheckIsWanted(); // a disconnection before the endpoint had a connection has not ended it
    PreInitialiseRPCProtocolForSender( *endpoint );
    InitialiseRPCProtocolForSender( *endpoint );
}

void XRPCBridge::PreInitialiseRPCProtocolForSender( XNetEndpoint& ioEndpoint )
{
    if ( GetVersion().GetClassID() != kClassRPCBridge )
        SendBigEndian( ioEndpoint, { GetVersion() }, kHandshakeTimeoutMS );
}

/// A receive-only client's stream is read no further than its answers: what follows them is for the other stream.
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
    itsSenderStream->SetRecvTimeout( itsReturnTimeoutMS );
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

/// A call on a stream that is not open for others yet.
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
    return inHasResult ? itsSenderStream->Read32() : 0;
}

void XRPCBridge::OpenReverseConnection( std::uint32_t inTimeoutMS )
{
    const std::uint32_t session = CallToOpen( kRequestBidirectionalSession, {} );
    const XEndpointPtr endpoint = ConnectReverseEndpoint( inTimeoutMS );
    SendBigEndian( *endpoint, { XVersion( kClassBidirectionalSession, 0 ), session }, kHandshakeTimeoutMS );
    StartReceiving( endpoint );
}

/// Other threads can end the attempt.
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

/// From here on the server sends calls on this connection, with streams that begin anew.
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

/// The thread itself, which connects again, goes on with the endpoint by itself.
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

void XRPCBridge::WaitForServer()
{
    const XTimer timer( kHandshakeTimeoutMS );
    const XThreadLock lock( GetMutex() );
    while ( !CanRecv() )
    {
        CheckIsWanted();
        if ( itsHasEndedReceiving || timer.HasExpired() )
            XThrow( kErrorConnectionTimedOut );
        GetStateChanged().Sleep( GetMutex(), timer.GetRemainingMS(), true );
    }
}
