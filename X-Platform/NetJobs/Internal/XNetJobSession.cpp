// The sending thread alone logs on: it connects twice, the receiving bridge first, and publishes both in one step. Either
// thread may find that its connection has ended; it then takes both bridges away (Disconnect), which ends the call of the other
// thread, and the sending thread logs on again after a pause. The receiving thread waits for the next bridge. It
// disconnects only while its own bridge is the present one, so that its late failure does not end a newer logon.
//
// The hooks are called without the mutex: their owner's mutex is taken before it.

#include "NetJobs/Internal/XNetJobSession.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XErrorLog.h"
#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "Threads/XPreventThreadStop.h"

#include <algorithm>
#include <optional>
#include <random>
#include <utility>

namespace
{

constexpr std::uint32_t kTimeoutMS = 10'000; // of connecting, and of each call
constexpr std::uint32_t kHeartbeatMS = 1000;
constexpr std::uint32_t kFirstPauseMS = 100;
constexpr std::uint32_t kMostPauseMS = 10'000;

/// Whether another attempt to connect may succeed without a change of the deployment.
bool MayPass( std::uint32_t inError )
{
    switch ( inError )
    {
    case kErrorClientTooNew:
    case kErrorClientTooOld:
    case kErrorAuthenticationFailed:
    case kErrorBadParameters:
    case kErrorCallNotSupported:
    case kErrorKeysExposed:
        return false;
    default:
        return inError < kErrorTLSUnavailable || inError > kErrorTLSRejected;
    }
}

/// Pauses that double, each shortened by a random part.
class Pauses
{
public:
    std::uint32_t TakeNext()
    {
        const std::uint32_t longest = itsNextMS;
        itsNextMS = std::min( 2 * itsNextMS, kMostPauseMS );
        return std::uniform_int_distribution<std::uint32_t>( longest / 2, longest )( itsRandom );
    }

private:
    std::uint32_t itsNextMS = kFirstPauseMS;
    std::minstd_rand itsRandom{ std::random_device()() };
};

} // namespace

XNetJobSession::XLoop::XLoop( const XString& inName, std::function<void()> inBody )
    : XThread( inName, kThreadPriorityNormal ), itsBody( std::move( inBody ) )
{
}

XNetJobSession::XLoop::~XLoop()
{
    XSwallowErrors( [this] { StopThread(); } );
}

std::int32_t XNetJobSession::XLoop::RunThreadSelf()
{
    itsBody();
    return 0;
}

XNetJobSession::XNetJobSession( const XNetJobDeployment& inDeployment, XHooks inHooks )
    : itsDeployment( inDeployment ), itsHooks( std::move( inHooks ) ),
      itsSendingThread( "network job sender", [this] { SendLoop(); } ),
      itsReceivingThread( "network job receiver", [this] { ReceiveLoop(); } )
{
}

XNetJobSession::~XNetJobSession()
{
    const XPreventThreadStop preventStop; // of the calling thread
    XSwallowErrors( [this] { Stop( 0 ); } );
}

void XNetJobSession::Start()
{
    {
        const XThreadLock lock( itsMutex );
        itsIsStopping = itsHasLoggedOff = false;
    }
    try
    {
        LogOn();
    }
    catch ( const XException& error )
    {
        NoteFailure( error );
        if ( !MayPass( error.GetErrorNumber() ) )
            throw;
    }
    itsSendingThread.StartThread();
    itsReceivingThread.StartThread();
}

void XNetJobSession::Wake()
{
    const XThreadLock lock( itsMutex );
    itsHasWork = true;
    itsHasChanged.Broadcast();
}

bool XNetJobSession::IsConnected() const
{
    const XThreadLock lock( itsMutex );
    return static_cast<bool>( itsSender );
}

std::uint32_t XNetJobSession::GetConnectionError() const
{
    const XThreadLock lock( itsMutex );
    return itsConnectionError;
}

void XNetJobSession::Stop( std::uint32_t inTimeoutMS )
{
    {
        const XTimer timer( inTimeoutMS );
        const XThreadLock lock( itsMutex );
        itsIsStopping = true;
        itsHasChanged.Broadcast();
        while ( itsSender && !itsHasLoggedOff && !timer.HasExpired() && itsSendingThread.IsThreadRunning() )
            itsHasChanged.Sleep( itsMutex, timer.GetRemainingMS() );
    }
    Disconnect();
    itsSendingThread.StopThread();
    itsReceivingThread.StopThread();
    Disconnect(); // a logon that succeeded meanwhile
}

// ---- Connections

XNetJobSession::XBridgePtr XNetJobSession::Connect() const
{
    auto bridge = XMakeRef<XControlBridge>( XRPCBridge::kClient, itsDeployment.cipher );
    bridge->UseTLS( itsDeployment.tls );
    bridge->SetReturnTimeout( kTimeoutMS );
    bridge->Connect( itsDeployment.control, kTimeoutMS );
    return bridge;
}

void XNetJobSession::LogOn()
{
    std::uint32_t id = 0;
    {
        const XThreadLock lock( itsMutex );
        id = itsID;
    }
    // The second connection is made first, so that nothing is assigned to a peer that cannot receive.
    const XBridgePtr receiver = Connect();
    const XBridgePtr sender = Connect();
    id = itsHooks.logOn( *sender, id );
    const XThreadLock lock( itsMutex );
    itsID = id;
    itsSender = sender;
    itsReceiver = receiver;
    itsConnectionError = 0;
    itsHasWork = true;
    itsHasChanged.Broadcast();
}

/// Logs an error unless the attempt before failed with the same one.
void XNetJobSession::NoteFailure( const XException& inError )
{
    {
        const XThreadLock lock( itsMutex );
        if ( std::exchange( itsConnectionError, inError.GetErrorNumber() ) == inError.GetErrorNumber() )
            return;
    }
    XErrorLog::AddCurrentException( "control service" );
}

void XNetJobSession::Disconnect()
{
    XBridgePtr sender;
    XBridgePtr receiver;
    {
        const XThreadLock lock( itsMutex );
        std::swap( sender, itsSender );
        std::swap( receiver, itsReceiver );
        itsHasChanged.Broadcast();
    }
    for ( const XBridgePtr& bridge : { sender, receiver } )
        if ( bridge )
            bridge->ForceDisconnect();
}

// ---- Sending

void XNetJobSession::SendLoop()
{
    constexpr std::uint32_t kLastingMS = 1000; // a shorter connection counts as a failure
    for ( std::optional<Pauses> pauses( std::in_place );; )
    {
        const XTimer timer( kLastingMS );
        if ( IsConnected() || TryToLogOn() )
            SendBatches();
        {
            const XThreadLock lock( itsMutex );
            if ( itsIsStopping )
                return;
        }
        if ( timer.HasExpired() )
            pauses.emplace();
        Pause( pauses->TakeNext() );
    }
}

void XNetJobSession::Pause( std::uint32_t inTimeMS )
{
    const XTimer timer( inTimeMS );
    const XThreadLock lock( itsMutex );
    while ( !timer.HasExpired() && !itsIsStopping )
        itsHasChanged.Sleep( itsMutex, timer.GetRemainingMS(), true );
}

bool XNetJobSession::TryToLogOn()
{
    try
    {
        LogOn();
        return true;
    }
    catch ( const XException& error )
    {
        NoteFailure( error );
    }
    catch ( const std::exception& )
    {
        XErrorLog::AddCurrentException( "control service" );
    }
    return false;
}

/// Sends until the connection is lost or the session has logged off.
void XNetJobSession::SendBatches()
{
    try
    {
        while ( AwaitWork() && SendOnce() )
            ;
    }
    catch ( const std::exception& )
    {
        NoteLoss();
        Disconnect();
    }
}

/// Logs why a connection ends, unless the session ends it.
void XNetJobSession::NoteLoss() const
{
    {
        const XThreadLock lock( itsMutex );
        if ( itsIsStopping || !itsSender )
            return; // or the other thread has logged it
    }
    XErrorLog::AddCurrentException( "control service" );
}

/// Waits for events to send or until a heartbeat is due. Returns whether the session is connected.
bool XNetJobSession::AwaitWork()
{
    const XTimer timer( kHeartbeatMS );
    const XThreadLock lock( itsMutex );
    while ( itsSender && !itsHasWork && !itsIsStopping && !timer.HasExpired() )
        itsHasChanged.Sleep( itsMutex, timer.GetRemainingMS(), true );
    return static_cast<bool>( itsSender );
}

/// Returns false when the connection has ended: logs off when the session stops and nothing is left to send.
bool XNetJobSession::SendOnce()
{
    XBridgePtr sender;
    std::uint32_t id = 0;
    bool isStopping = false;
    {
        const XThreadLock lock( itsMutex );
        sender = itsSender;
        id = itsID;
        itsHasWork = false;
        isStopping = itsIsStopping;
    }
    if ( !sender )
        return false;
    const XEvents events = itsHooks.takeEvents();
    sender->Send( id, events );
    if ( events.empty() && isStopping )
    {
        FinishSending( *sender, id );
        return false;
    }
    const XThreadLock lock( itsMutex );
    itsHasWork |= !events.empty(); // there may be more
    return true;
}

void XNetJobSession::FinishSending( XControlBridge& ioSender, std::uint32_t inID )
{
    ioSender.LogOff_NoThrow( inID );
    const XThreadLock lock( itsMutex );
    itsHasLoggedOff = true;
    itsHasChanged.Broadcast();
}

// ---- Receiving

void XNetJobSession::ReceiveLoop()
{
    std::uint32_t id = 0;
    while ( const XBridgePtr receiver = AwaitReceiver( id ) )
    {
        const auto receive = [&]
        {
            for ( ;; )
                if ( const XEvents events = receiver->Receive( id, kHeartbeatMS ); !events.empty() )
                    itsHooks.handleEvents( events );
        };
        XSwallowErrors( receive, [this] { NoteLoss(); } );
        bool isPresent = false;
        {
            const XThreadLock lock( itsMutex );
            isPresent = itsReceiver == receiver;
        }
        if ( isPresent ) // only the other thread replaces it, after a Disconnect
            Disconnect();
    }
}

/// Null when the session stops.
XNetJobSession::XBridgePtr XNetJobSession::AwaitReceiver( std::uint32_t& outID )
{
    const XThreadLock lock( itsMutex );
    while ( !itsReceiver && !itsIsStopping )
        itsHasChanged.Sleep( itsMutex, kNoTimeout, true );
    outID = itsID;
    return itsReceiver;
}
