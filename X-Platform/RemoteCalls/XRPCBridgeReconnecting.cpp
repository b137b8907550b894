#include "RemoteCalls/XRPCBridge.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "RemoteCalls/Internal/XRetryPause.h"
#include "Services/XSessionLogManager.h"

#include <algorithm>
#include <utility>

// Reconnection of a client: for a call on the calling thread, for receiving calls on the bridge's own thread.

namespace
{

constexpr std::uint32_t kMostCallPauseMS = 1000;
constexpr std::uint32_t kMostReceiverPauseMS = 10'000;

/// The server rejects this client, so another attempt is useless.
bool IsRefusal( const XException& inError )
{
    const std::uint32_t number = inError.GetErrorNumber();
    return number == kErrorClientTooNew || number == kErrorClientTooOld ||
        number == kErrorAuthenticationFailed;
}

} // namespace

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

/// Sleeps. Throws 3100 if the bridge is disconnected meanwhile, 3098 if the call being sent is aborted.
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

/// The thread of a client: receives calls on one connection after the other.
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

/// Retries until there is a connection to receive on; false if there will be none.
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

/// A call may have reconnected during the pause. Otherwise the whole conversation is opened again, even if
/// the connection for sending still works: the server has one bridge per conversation.
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
