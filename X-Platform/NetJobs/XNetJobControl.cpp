// Each connection has a responder, whose thread calls the methods of its bridge: those of the first connection of a peer
// pass events on to the dispatcher, that of the second one waits for events for the peer. A thread of the service calls
// Tick. All of them use the dispatcher under one mutex.

#include "NetJobs/XNetJobControl.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XErrorLog.h"
#include "Core/Times/XTimer.h"
#include "NetJobs/Internal/XNetJobDispatcher.h"
#include "NetJobs/XControlBridge.h"
#include "RemoteCalls/XRPCResponder.h"
#include "Servers/XNetServer.h"
#include "Threads/XConditionVariable.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThread.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

namespace
{

using XEvents = XVector<XNetJobEvent>;
using XTimeMS = XNetJobDispatcher::XTimeMS;

constexpr std::uint32_t kTickPeriodMS = 100;
constexpr std::uint32_t kMostWaitMS = 1000; // of Receive
constexpr XTimeMS kClockGapMS = 1000;       // between two readings of the clock: the process did not run
constexpr USize kMostReturnBytes =
    16 * 1024 * 1024; // of a return of Receive, unless a single event is longer

/// A logon of a peer. Those of the same ID have different serial numbers.
struct Logon
{
    std::uint32_t id = 0;
    std::uint64_t serial = 0;
};

/// A steady clock that stops while the process does not run.
class ServiceClock
{
public:
    XTimeMS Read()
    {
        const XTimeMS reading = GetSteadyTime();
        const XTimeMS passed = reading - itsLastReading;
        itsLastReading = reading;
        itsTime += passed < kClockGapMS ? passed : 0;
        return itsTime;
    }

private:
    static XTimeMS GetSteadyTime()
    {
        using namespace std::chrono;
        return static_cast<XTimeMS>(
            duration_cast<milliseconds>( steady_clock::now().time_since_epoch() ).count() );
    }

    XTimeMS itsLastReading = GetSteadyTime();
    XTimeMS itsTime = 0;
};

} // namespace

class XNetJobControl::XImp : private XThread
{
public:
    XImp( const XRPCCipher& inCipher, const std::shared_ptr<const WTLSContext>& inTLS );
    ~XImp() override;

    void Start( const XNetAddress& inAddress );
    void Stop();
    const XNetServer& GetServer() const { return itsServer; }

    Logon LogOnClient( const XAppVersion::XAppAndComputerInfo& inInfo, std::uint32_t inFormerID );
    Logon LogOnNode(
        const XNetJobQueueNode::XLogonInfo& inInfo, std::uint32_t inFormerID, const XEvents& inReports );
    void Send( const Logon& inLogon, const XEvents& inEvents );
    XEvents Receive( const Logon& inLogon, std::uint32_t inTimeoutMS );
    void LogOff( const Logon& inLogon );
    void ConnectionHasEnded( const Logon& inLogon );
    /// The present logon of the peer, whose events the caller receives from now on. Throws 3100 if the peer is not logged
    /// on, or if another connection receives them: a late call of an earlier connection would lose what it is given.
    Logon ClaimEvents( std::uint32_t inID );
    XNetJobStatus GetStatus();

private:
    struct Session
    {
        std::uint64_t serial = 0; // of the logon
        bool isClaimed = false;   // a connection receives its events
        std::shared_ptr<XConditionVariable> hasChanged = std::make_shared<XConditionVariable>();
    };

    std::int32_t RunThreadSelf() override;
    void Tick();
    Session* FindSession( const Logon& inLogon );
    Session& GetSession( const Logon& inLogon );
    Logon BeginSession( std::uint32_t inID );
    void EndSession( std::uint32_t inID );
    void WakeRecipients();

    XMutex itsMutex; // guards the following
    ServiceClock itsClock;
    XNetJobDispatcher itsDispatcher{ XAppVersion::GetCurrent() };
    std::map<std::uint32_t, Session> itsSessions;
    std::uint64_t itsLastSerial = 0;

    XNetServer itsServer; // the last, since its responders use the others
};

namespace
{

/// The service's end of a connection.
template<class TService>
class ServiceBridge : public XControlBridge
{
public:
    ServiceBridge( TService* inService, const XRPCCipher& inCipher )
        : XControlBridge( kServer, inCipher ), itsService( *inService )
    {
    }
    ~ServiceBridge() override { StopBridge(); }

    XNetJobQueue::XLogonResult
    LogOnClientSelf( XAppVersion::XAppAndComputerInfo inInfo, std::uint32_t inFormerID ) override
    {
        itsOwnLogon = itsService.LogOnClient( inInfo, inFormerID );
        return XNetJobQueue::XLogonResult( itsOwnLogon.id );
    }
    XNetJobQueue::XLogonResult
    LogOnNodeSelf( XNetJobQueueNode::XLogonInfo inInfo, std::uint32_t inFormerID, XEvents inReports ) override
    {
        itsOwnLogon = itsService.LogOnNode( inInfo, inFormerID, inReports );
        return XNetJobQueue::XLogonResult( itsOwnLogon.id );
    }
    void SendSelf( std::uint32_t inID, XEvents inEvents ) override
    {
        itsService.Send( GetOwnLogon( inID ), inEvents );
    }
    void LogOffSelf( std::uint32_t inID ) override { itsService.LogOff( GetOwnLogon( inID ) ); }
    XEvents ReceiveSelf( std::uint32_t inID, std::uint32_t inTimeoutMS ) override
    {
        if ( itsReceivingLogon.id != inID )
            itsReceivingLogon = itsService.ClaimEvents( inID );
        return itsService.Receive( itsReceivingLogon, inTimeoutMS );
    }
    XNetJobStatus GetStatusSelf() override { return itsService.GetStatus(); }

private:
    void ReceiverDisconnectedSelf() override { itsService.ConnectionHasEnded( itsOwnLogon ); }

    const Logon& GetOwnLogon( std::uint32_t inID ) const
    {
        if ( itsOwnLogon.id != inID )
            XThrow( kErrorDisconnected );
        return itsOwnLogon;
    }

    TService& itsService;
    Logon itsOwnLogon;       // of this connection
    Logon itsReceivingLogon; // whose events this connection receives
};

} // namespace

XNetJobControl::XImp::XImp( const XRPCCipher& inCipher, const std::shared_ptr<const WTLSContext>& inTLS )
    : XThread( "control service", kThreadPriorityNormal ), itsServer( "control" )
{
    XServeBridge<ServiceBridge<XImp>>( itsServer, this, inCipher );
    itsServer.UseTLS( inTLS );
}

XNetJobControl::XImp::~XImp()
{
    const XPreventThreadStop preventStop; // of the calling thread
    XSwallowErrors( [this] { Stop(); } );
}

void XNetJobControl::XImp::Start( const XNetAddress& inAddress )
{
    itsServer.Start( inAddress );
    try
    {
        StartThread();
    }
    catch ( ... )
    {
        itsServer.Stop();
        throw;
    }
}

void XNetJobControl::XImp::Stop()
{
    itsServer.Stop();
    StopThread();
}

std::int32_t XNetJobControl::XImp::RunThreadSelf()
{
    for ( ;; SleepThread( kTickPeriodMS, true ) )
        XSwallowErrors( [this] { Tick(); }, [] { XErrorLog::AddCurrentException( "control service" ); } );
}

void XNetJobControl::XImp::Tick()
{
    const XThreadLock lock( itsMutex );
    itsDispatcher.Tick( itsClock.Read() );
    WakeRecipients();
    for ( auto session = itsSessions.begin(); session != itsSessions.end(); )
    {
        const std::uint32_t id = session++->first;
        if ( !itsDispatcher.IsLoggedOn( id ) )
            EndSession( id );
    }
}

// ---- Sessions

XNetJobControl::XImp::Session* XNetJobControl::XImp::FindSession( const Logon& inLogon )
{
    const auto found = itsSessions.find( inLogon.id );
    const bool isPresent = found != itsSessions.end() && found->second.serial == inLogon.serial;
    return isPresent && inLogon.serial != 0 ? &found->second : nullptr;
}

XNetJobControl::XImp::Session& XNetJobControl::XImp::GetSession( const Logon& inLogon )
{
    Session* const session = FindSession( inLogon );
    if ( !session )
        XThrow( kErrorDisconnected );
    return *session;
}

Logon XNetJobControl::XImp::ClaimEvents( std::uint32_t inID )
{
    const XThreadLock lock( itsMutex );
    const auto found = itsSessions.find( inID );
    const Logon logon{ inID, found == itsSessions.end() ? 0 : found->second.serial };
    if ( std::exchange( GetSession( logon ).isClaimed, true ) )
        XThrow( kErrorDisconnected );
    return logon;
}

Logon XNetJobControl::XImp::BeginSession( std::uint32_t inID )
{
    EndSession( inID );
    const Logon logon{ inID, ++itsLastSerial };
    itsSessions[inID].serial = logon.serial;
    WakeRecipients();
    return logon;
}

/// Lets calls that wait for its events fail.
void XNetJobControl::XImp::EndSession( std::uint32_t inID )
{
    const auto found = itsSessions.find( inID );
    if ( found == itsSessions.end() )
        return;
    const std::shared_ptr<XConditionVariable> hasChanged = found->second.hasChanged;
    itsSessions.erase( found );
    hasChanged->Broadcast();
}

void XNetJobControl::XImp::WakeRecipients()
{
    for ( const std::uint32_t id : itsDispatcher.TakeRecipients() )
        if ( const auto session = itsSessions.find( id ); session != itsSessions.end() )
            session->second.hasChanged->Broadcast();
}

// ---- Calls

Logon XNetJobControl::XImp::LogOnClient(
    const XAppVersion::XAppAndComputerInfo& inInfo, std::uint32_t inFormerID )
{
    const XThreadLock lock( itsMutex );
    return BeginSession( itsDispatcher.LogOnClient( itsClock.Read(), inInfo, inFormerID ) );
}

Logon XNetJobControl::XImp::LogOnNode(
    const XNetJobQueueNode::XLogonInfo& inInfo, std::uint32_t inFormerID, const XEvents& inReports )
{
    const XThreadLock lock( itsMutex );
    return BeginSession( itsDispatcher.LogOnNode( itsClock.Read(), inInfo, inFormerID, inReports ) );
}

void XNetJobControl::XImp::Send( const Logon& inLogon, const XEvents& inEvents )
{
    const XThreadLock lock( itsMutex );
    GetSession( inLogon );
    itsDispatcher.Receive( itsClock.Read(), inLogon.id, inEvents );
    WakeRecipients();
}

XEvents XNetJobControl::XImp::Receive( const Logon& inLogon, std::uint32_t inTimeoutMS )
{
    const XTimer timer( std::min( inTimeoutMS, kMostWaitMS ) );
    const XThreadLock lock( itsMutex );
    GetSession( inLogon );
    itsDispatcher.HasShownLife( itsClock.Read(), inLogon.id );
    for ( ;; )
    {
        const std::shared_ptr<XConditionVariable> hasChanged = GetSession( inLogon ).hasChanged;
        XEvents events = itsDispatcher.TakeEvents( inLogon.id, kMostReturnBytes );
        if ( !events.empty() || timer.HasExpired() )
            return events;
        hasChanged->Sleep( itsMutex, timer.GetRemainingMS(), true );
    }
}

void XNetJobControl::XImp::LogOff( const Logon& inLogon )
{
    const XThreadLock lock( itsMutex );
    GetSession( inLogon );
    itsDispatcher.LogOff( itsClock.Read(), inLogon.id );
    EndSession( inLogon.id );
    WakeRecipients();
}

void XNetJobControl::XImp::ConnectionHasEnded( const Logon& inLogon )
{
    const XThreadLock lock( itsMutex );
    if ( !FindSession( inLogon ) )
        return;
    itsDispatcher.ConnectionHasEnded( itsClock.Read(), inLogon.id );
    EndSession( inLogon.id );
}

XNetJobStatus XNetJobControl::XImp::GetStatus()
{
    const XThreadLock lock( itsMutex );
    return itsDispatcher.GetStatus( itsClock.Read() );
}

// ---- The interface

XNetJobControl::XNetJobControl( const XRPCCipher& inCipher, const std::shared_ptr<const WTLSContext>& inTLS )
    : itsImp( std::make_unique<XImp>( inCipher, inTLS ) )
{
}

XNetJobControl::~XNetJobControl() = default;

void XNetJobControl::Start( const XNetAddress& inAddress )
{
    itsImp->Start( inAddress );
}

void XNetJobControl::Stop()
{
    itsImp->Stop();
}

std::int32_t XNetJobControl::GetPort() const
{
    return itsImp->GetServer().GetPort();
}

USize XNetJobControl::GetConnectionCount() const
{
    return itsImp->GetServer().GetResponderCount();
}

XNetJobStatus XNetJobControl::GetStatus() const
{
    return itsImp->GetStatus();
}
