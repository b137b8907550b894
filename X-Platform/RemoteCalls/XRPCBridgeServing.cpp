#include "RemoteCalls/XRPCBridge.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "RemoteCalls/Internal/XRPCSessions.h"

// Serving: receiving calls on a connection, and calls from a server to clients that receive them.

namespace
{

/// How often a server checks that a receive-only client is still connected.
constexpr std::uint32_t kWatchPeriodMS = 1000;

} // namespace

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

/// From now on this end sends calls on the connection, with new streams.
void XRPCBridge::ServeReceiveOnlyClient()
{
    const XEndpointPtr endpoint = GetEndpoint( itsRemoteEndpoint );
    AcquireSenderEndpoint( new XNetEndpoint( *endpoint ) );
    AwaitEndOfSender();
}

/// Only returns arrive on the connection: bytes between calls, like its end, close it.
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
            continue; // a call is being sent, which will notice
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
    DropSender(); // ends calls to a former peer
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
