#include "RemoteCalls/XRPCBridge.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Ground/WDeadline.h"
#include "Network/XTLSEndpointImp.h"
#include "RemoteCalls/Internal/XRPCSessions.h"
#include "RemoteCalls/Internal/XRetryPause.h"
#include "Services/XSessionLogManager.h"
#include "Threads/XPreventThreadStop.h"

#include <utility>

namespace
{

/// The order of bytes until one has been negotiated.
constexpr XByteOrder kFirstByteOrder = kMotorolaOrder;

constexpr std::uint32_t kMostCallPauseMS = 1000;
constexpr std::uint32_t kMostReceiverPauseMS = 10'000;

/// For which a peer may read what was sent before a connection is closed.
constexpr std::uint32_t kLastWordsMS = 1000;

/// After which a receive-only client that has gone away is noticed.
constexpr std::uint32_t kWatchPeriodMS = 1000;

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

/// The server refuses: it will do so again.
bool IsRefusal( const XException& inError )
{
    const std::uint32_t number = inError.GetErrorNumber();
    return number == kErrorClientTooNew || number == kErrorClientTooOld ||
        number == kErrorAuthenticationFailed;
}

} // namespace

XRPCBridge::XRPCBridge( XBridgeType inType, const XRPCCipher& inCipher, USize64 inBufferSize )
    : XRPCBridgeBase( inType ), XThread( "bridge", kThreadPriorityNormal ), itsCipher( inCipher ),
      itsBufferSize( inCipher.GetAlgorithm() == XEncryptedNetStream::kAlgorithmTEA ? 0 : inBufferSize )
{
}

XRPCBridge::~XRPCBridge()
{
    XSwallowErrors( [this] { StopBridge(); } );
}

void XRPCBridge::StopBridge()
{
    const XPreventThreadStop preventStop; // of the calling thread: this has to be done to the end
    ForceDisconnect();
    StopThread();
    StopFlusher();
    StopSpeaking();
}

// ---- Endpoints. Each is used through a pointer of the user's own, so that it can be replaced meanwhile.

XRPCBridge::XEndpointPtr XRPCBridge::GetEndpoint( const XEndpointPtr& inEndpoint ) const
{
    const XThreadLock lock( GetMutex() );
    return inEndpoint;
}

XRPCBridge::XEndpointPtr XRPCBridge::GetAnyEndpoint() const
{
    const XThreadLock lock( GetMutex() );
    return itsSenderEndpoint ? itsSenderEndpoint : itsRemoteEndpoint;
}

XNetAddress XRPCBridge::GetLocalAddress() const
{
    const XEndpointPtr endpoint = GetAnyEndpoint();
    return endpoint ? endpoint->GetLocalAddress() : XNetAddress();
}

XNetAddress XRPCBridge::GetRemoteAddress() const
{
    const XEndpointPtr endpoint = GetAnyEndpoint();
    return endpoint ? endpoint->GetRemoteAddress() : XNetAddress();
}

XString XRPCBridge::DescribeReceiver() const
{
    const XEndpointPtr endpoint = GetEndpoint( itsRemoteEndpoint );
    return endpoint ? endpoint->GetRemoteAddress().GetDescription( true ) : XString();
}

/// An attempt to connect for the other direction belongs to the opening of this one.
void XRPCBridge::DropSender()
{
    for ( const XEndpointPtr& endpoint :
          { GetEndpoint( itsSenderEndpoint ), GetEndpoint( itsReverseEndpoint ) } )
        if ( endpoint )
            endpoint->ForceDisconnect();
}

void XRPCBridge::DropReceiver( bool inWaitsForPeer )
{
    const XEndpointPtr endpoint = GetEndpoint( itsRemoteEndpoint );
    if ( endpoint && inWaitsForPeer )
        XSwallowErrors( [&] { endpoint->Disconnect( kLastWordsMS ); } );
    if ( endpoint )
        endpoint->ForceDisconnect();
}

XNetEndpoint XRPCBridge::MakeEndpoint() const
{
    const XThreadLock lock( GetMutex() );
    return itsTLSContext ? XNetEndpoint( std::make_unique<XTLSEndpointImp>( itsTLSContext ) )
                         : XNetEndpoint();
}

void XRPCBridge::UseTLS( const std::shared_ptr<const WTLSContext>& inContext )
{
    const XThreadLock lock( GetMutex() );
    itsTLSContext = inContext;
}

void XRPCBridge::ConnectEndpoint(
    XNetEndpoint& ioEndpoint, const XNetAddress& inAddress, std::uint32_t inTimeoutMS )
{
    if ( itsShowsProgress )
        ioEndpoint.ConnectWithProgress( inAddress, inTimeoutMS, itsTriesAdapters );
    else
        ioEndpoint.Connect( inAddress, inTimeoutMS, itsTriesAdapters );
}

/// 3100 once the user has disconnected the bridge.
void XRPCBridge::CheckIsWanted() const
{
    const XThreadLock lock( GetMutex() );
    if ( itsIsDisconnected && IsClient() )
        XThrow( kErrorDisconnected );
}

bool XRPCBridge::HasLostConnection() const
{
    const XThreadLock lock( GetMutex() );
    return IsClient() && GetBridgeType() != kReceiveOnlyClient && itsHasBeenConnected && !itsIsDisconnected;
}

// ---- Connecting and disconnecting

void XRPCBridge::Connect(
    const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters, bool inShowProgress,
    bool inUseAutoReconnect )
{
    XAssert( IsClient() );
    ForceDisconnect();
    StopThread();
    const XThreadLock sender( GetSenderMutex(), kNoTimeout, true );
    {
        const XThreadLock lock( GetMutex() );
        itsServerAddress = inAddress;
        itsConnectTimeoutMS = inTimeoutMS;
        itsTriesAdapters = inTryAdapters;
        itsShowsProgress = inShowProgress;
        itsHasBeenConnected = true;
        itsIsDisconnected = false;
    }
    SetUseAutoReconnect( inUseAutoReconnect );
    try
    {
        OpenConversation( inTimeoutMS );
    }
    catch ( ... )
    {
        ForceDisconnect();
        XSwallowErrors( [this] { StopThread(); } );
        throw;
    }
    itsShowsProgress = false; // not for those that happen by themselves
}

void XRPCBridge::Disconnect( std::uint32_t inTimeoutMS )
{
    const XTimer timer( inTimeoutMS );
    {
        const XThreadLock lock( GetMutex() );
        itsIsDisconnected = true;
        GetStateChanged().Broadcast();
    }
    if ( GetSenderMutex().TryLock( inTimeoutMS ) )
    {
        XSwallowErrors( [&] { EndSender( timer.GetRemainingMS() ); } );
        GetSenderMutex().Unlock();
    }
    ForceDisconnect();
    if ( GetCurrentThread() != this )
        StopThread();
}

void XRPCBridge::ForceDisconnect()
{
    XEndpointPtr pending;
    {
        const XThreadLock lock( GetMutex() );
        itsIsDisconnected = true;
        itsHasBeenConnected = false;
        SetSenderIsAvailable( false );
        LoseSender();
        pending = std::exchange( itsPendingEndpoint, nullptr );
        GetStateChanged().Broadcast();
    }
    WithdrawSession();
    if ( pending )
        pending->ForceDisconnect();
    DropSender();
    DropReceiver( false );
}

/// Under the sender mutex, as what follows. What was sent arrives before the connection ends.
void XRPCBridge::EndSender( std::uint32_t inTimeoutMS )
{
    const XEndpointPtr endpoint = GetEndpoint( itsSenderEndpoint );
    SetSenderIsAvailable( false );
    if ( itsSenderStream && endpoint )
    {
        itsSenderStream->Flush();
        endpoint->Disconnect( inTimeoutMS );
    }
}

void XRPCBridge::CloseSender()
{
    LoseSender();
    DropSender();
    itsSenderStream.reset();
    const XThreadLock lock( GetMutex() );
    itsSenderEndpoint.reset();
}

XRPCBridge::XEndpointPtr XRPCBridge::UseSenderEndpoint( const XNetEndpoint& inEndpoint )
{
    CloseSender();
    auto endpoint = std::make_shared<XNetEndpoint>( inEndpoint );
    const XThreadLock lock( GetMutex() );
    itsSenderEndpoint = endpoint;
    return endpoint;
}

// ---- Opening a conversation as a client

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

// ---- Connecting again

void XRPCBridge::ReconnectSender()
{
    XAssert( ( itsBridgeType == kClient ) || ( itsBridgeType == kBidirectionalClient ) );
    const XTimer timer( itsConnectTimeoutMS );
    XRetryPause pause( kMostCallPauseMS );
    for ( ;; )
    {
        try
        {
            return OpenConversation( timer.GetRemainingMS() );
        }
        catch ( const XStopThreadException& )
        {
            throw;
        }
        catch ( const XException& error )
        {
            if ( IsRefusal( error ) || timer.HasExpired() || !CanAutoReconnect() )
                throw;
        }
        Pause( std::min( pause.TakeNext( DrawRandomNumber() ), timer.GetRemainingMS() ) );
    }
}

/// Until the time is over; 3100 when the bridge is disconnected, 3098 when the call that is being sent is aborted meanwhile.
void XRPCBridge::Pause( std::uint32_t inTimeMS )
{
    const XTimer timer( inTimeMS );
    const XThreadLock lock( GetMutex() );
    while ( !timer.HasExpired() )
    {
        CheckIsWanted();
        if ( IsSenderCallAborted() )
            XThrow( kErrorCallAborted );
        GetStateChanged().Sleep( GetMutex(), timer.GetRemainingMS(), true );
    }
}

/// What the thread of a client does: receives calls on one connection after the other.
std::int32_t XRPCBridge::RunThreadSelf()
{
    while ( TakePendingEndpoint() || ReconnectReceiver() )
    {
        try
        {
            RunConversation();
        }
        catch ( const XStopThreadException& )
        {
            throw;
        }
        catch ( const XException& error )
        {
            XSessionLogManager* const log = XSessionLogManager::GetManager();
            if ( log && error.ShouldLogError() )
                log->AddException( error, kLogWarning, GetDebugName() );
        }
        {
            const XThreadLock lock( GetMutex() );
            itsHasEndedReceiving = !itsPendingEndpoint;
            GetStateChanged().Broadcast();
        }
        XSwallowErrors( [this] { ReceiverDisconnectedSelf(); } );
    }
    return 0;
}

bool XRPCBridge::TakePendingEndpoint()
{
    const XThreadLock lock( GetMutex() );
    if ( !itsPendingEndpoint )
        return false;
    itsRemoteEndpoint = std::exchange( itsPendingEndpoint, nullptr );
    return true;
}

/// Returns whether there is a connection to receive on.
bool XRPCBridge::ReconnectReceiver()
{
    XRetryPause pause( kMostReceiverPauseMS );
    for ( ;; )
    {
        {
            const XThreadLock lock( GetMutex() );
            if ( itsIsDisconnected || !CanAutoReconnect() || !itsHasBeenConnected )
                return false;
        }
        if ( TryToReconnectReceiver( pause ) )
            return true;
    }
}

/// Meanwhile a call may have connected again. A connection that still sends is given up with the one that receives: the
/// server begins a conversation as a whole.
bool XRPCBridge::TryToReconnectReceiver( XRetryPause& ioPause )
{
    try
    {
        const XTimer timer( ioPause.TakeNext( DrawRandomNumber() ) );
        {
            const XThreadLock lock( GetMutex() );
            while ( !timer.HasExpired() && !itsIsDisconnected && !itsPendingEndpoint )
                GetStateChanged().Sleep( GetMutex(), timer.GetRemainingMS(), true );
        }
        const XThreadLock sender( GetSenderMutex(), kNoTimeout, true );
        if ( !GetEndpoint( itsPendingEndpoint ) )
            OpenConversation( itsConnectTimeoutMS );
        return TakePendingEndpoint();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( const XException& )
    {
        return false;
    }
}

// ---- Receiving

void XRPCBridge::InitialiseRPCProtocolForReceiver()
{
    const XEndpointPtr remoteEndpoint = GetEndpoint( itsRemoteEndpoint );
    XAssert( remoteEndpoint );
    itsReceiverStream = std::make_unique<XEncryptedNetStream>(
        *remoteEndpoint, itsCipher.GetKey(), itsCipher.GetAlgorithm(), kHandshakeTimeoutMS, kNoTimeout,
        itsBufferSize );
    itsReceiverStream->SetByteOrder( kFirstByteOrder );
}

void XRPCBridge::NoteReceiverAuthenticated()
{
    if ( itsAuthenticated )
        itsAuthenticated();
}

void XRPCBridge::Serve( const XNetEndpoint& inEndpoint, const std::function<void()>& inAuthenticated )
{
    XAssert( IsServer() );
    {
        const XThreadLock lock( GetMutex() );
        if ( itsIsServing )
            XThrow( kErrorBadParameters );
        itsIsServing = true;
        itsRemoteEndpoint = std::make_shared<XNetEndpoint>( inEndpoint );
        itsAuthenticated = inAuthenticated;
        itsIsDisconnected = false;
    }
    const auto end = [this]
    {
        ForceDisconnect();
        XSwallowErrors( [this] { ReceiverDisconnectedSelf(); } );
        const XThreadLock lock( GetMutex() );
        itsIsServing = false;
    };
    try
    {
        RunConversation();
        if ( itsIsReceiveOnlyWanted )
            ServeReceiveOnlyClient();
    }
    catch ( ... )
    {
        end();
        throw;
    }
    end();
}

void XRPCBridge::RequestReceiveOnlySessionSelf()
{
    if ( GetBridgeType() != kReceiveOnlyServer )
        XThrow( kErrorCallNotSupported );
    itsIsReceiveOnlyWanted = true;
    EndConversation();
}

/// From here on this side sends calls on the connection, with streams that begin anew.
void XRPCBridge::ServeReceiveOnlyClient()
{
    const XEndpointPtr endpoint = GetEndpoint( itsRemoteEndpoint );
    AcquireSenderEndpoint( new XNetEndpoint( *endpoint ) );
    AwaitEndOfSender();
}

/// Nothing arrives on the connection but returns, so that bytes between calls, and its end, are to end it.
void XRPCBridge::AwaitEndOfSender()
{
    for ( ;; )
    {
        {
            const XTimer timer( kWatchPeriodMS );
            const XThreadLock lock( GetMutex() );
            while ( CanSend() && !timer.HasExpired() )
                GetStateChanged().Sleep( GetMutex(), timer.GetRemainingMS(), true );
            if ( !CanSend() )
                return;
        }
        if ( !GetSenderMutex().TryLock() )
            continue; // a call will notice by itself
        const XEndpointPtr endpoint = GetEndpoint( itsSenderEndpoint );
        char byte = 0;
        bool isQuiet = false;
        try
        {
            endpoint->PeekAnyData( &byte, 1, 0 );
        }
        catch ( const XException& error )
        {
            isQuiet = error.GetErrorNumber() == kErrorConnectionTimedOut;
        }
        if ( !isQuiet )
            LoseSender();
        GetSenderMutex().Unlock();
    }
}

// ---- Sending from a server

std::uint32_t XRPCBridge::RequestBidirectionalSessionSelf()
{
    if ( !IsServer() )
        XThrow( kErrorCallNotSupported );
    return XRPCSessions::Get().Request( *this, kSessionTimeoutMS, [this] { return DrawRandomNumber(); } );
}

void XRPCBridge::WithdrawSession()
{
    XRPCSessions::Get().Withdraw( *this );
}

void XRPCBridge::AcquireSenderEndpoint( XNetEndpoint* inEndpoint )
{
    const std::unique_ptr<XNetEndpoint> acquired( inEndpoint );
    DropSender(); // calls that wait for a former peer
    const XThreadLock sender( GetSenderMutex(), kNoTimeout, true );
    const XEndpointPtr endpoint = UseSenderEndpoint( *acquired );
    try
    {
        InitialiseRPCProtocolForSender( *endpoint );
        const XThreadLock lock( GetMutex() );
        if ( itsIsDisconnected )
            XThrow( kErrorDisconnected );
        SetSenderIsAvailable( true );
    }
    catch ( ... )
    {
        CloseSender();
        throw;
    }
}

void XRPCBridge::ConnectBidirectionalSession( std::uint32_t inSessionID, XNetEndpoint* inEndpoint )
{
    std::unique_ptr<XNetEndpoint> endpoint( inEndpoint );
    const XRefPtr<XRPCBridge> bridge = XRPCSessions::Get().Take( inSessionID );
    bridge->AcquireSenderEndpoint( endpoint.release() );
}

// ---- Storage

XVersion XRPCBridge::GetClassVersion()
{
    return XVersion( kClassRPCBridge, 0 );
}

XVersion XRPCBridge::GetSuperClassVersion()
{
    return XRPCBridgeBase::GetClassVersion();
}

XVersion XRPCBridge::GetVersion() const
{
    return GetClassVersion();
}

USize64 XRPCBridge::GetStreamUsage() const
{
    return XRPCBridgeBase::GetStreamUsage() + sizeof( std::uint32_t );
}

void XRPCBridge::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XRPCBridgeBase::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
}

void XRPCBridge::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XRPCBridgeBase::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
}
