#include "RemoteCalls/XRPCBridge.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "Network/XTLSEndpointImp.h"
#include "RemoteCalls/Internal/XRPCSessions.h"
#include "Threads/XPreventThreadStop.h"

#include <utility>

namespace
{

/// How long a peer may read the last bytes sent before its connection is closed.
constexpr std::uint32_t kLastWordsMS = 1000;

} // namespace

XRPCBridge::XRPCBridge( XBridgeType inType, const XRPCCipher& inCipher, USize64 inBufferSize )
    : XRPCBridgeBase( inType ), XThread( "bridge", kThreadPriorityNormal ), itsCipher( inCipher ),
      itsBufferSize( inCipher.GetAlgorithm() == XEncryptedNetStream::kAlgorithmTEA ? 0 : inBufferSize )
{
}

XRPCBridge::~XRPCBridge()
{
    XSwallowErrors( [this] { StopBridge(); } );
    itsSenderStream
        .reset(); // its destructor tries to send deferred calls on the endpoint, which must still exist
}

void XRPCBridge::StopBridge()
{
    const XPreventThreadStop preventStop; // of the calling thread: the bridge must be stopped completely
    ForceDisconnect();
    StopThread();
    StopFlusher();
    StopSpeaking();
}

// ---- Endpoints. Every user copies the shared pointer, so that another thread can replace it meanwhile.

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

/// The second connection of a bidirectional client is made during the opening of the first, so it is dropped
/// too.
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

/// Throws 3100 once the user has disconnected the bridge.
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
    itsShowsProgress = false; // not in reconnections
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

/// Under the sender mutex, like the functions below. Sends the deferred calls and waits until the peer has
/// them.
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
