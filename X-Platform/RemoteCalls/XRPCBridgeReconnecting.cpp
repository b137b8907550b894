#include "RemoteCalls/XRPCBridge.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "RemoteCalls/Internal/XRetryPause.h"
#include "Services/XSessionLogManager.h"

#include <algorithm>
#include <utility>

// How a client connects again: for a call, on the thread that makes it; for receiving calls, on the thread of the bridge.

namespace
{

constexpr std::uint32_t kMostCallPauseMS = 1000;
constexpr std::uint32_t kMostReceiverPauseMS = 10'000;

/// The server refuses: it will do so again.
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
