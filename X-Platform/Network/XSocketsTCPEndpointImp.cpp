#include "Network/XSocketsTCPEndpointImp.h"

#include "Core/Errors/WLastErrorException.h"
#include "Ground/XErrorNumbers.h"
#include "Jobs/XProgress.h"
#include "Network/Internal/XWaitWithCheckpoints.h"

#include <algorithm>
#include <utility>

// The state machine of a connection is in XConnectionEndpointImp; here are the ways into it over TCP.
// Connecting does not block: it is started, and the wait for its end is left to an XWaiter, which either
// waits until the deadline or in slices, with a progress between them. In both cases what ends the wait from
// outside, such as Close on another thread or a stop, takes effect at once.

namespace
{

std::uint16_t CheckedPort( std::int32_t inPort )
{
    if ( inPort < 0 || inPort > 65535 )
        XThrow( kErrorBadParameters );
    return static_cast<std::uint16_t>( inPort );
}

/// Names the port that is in use.
class PortInUseException : public WLastErrorException
{
public:
    explicit PortInUseException( std::uint16_t inPort )
        : WLastErrorException( WSocket::kErrorAddressInUse ), itsPort( inPort )
    {
    }
    XString GetRawErrorMessage() const override
    {
        return XString( "port " ) + itsPort + ": " + WLastErrorException::GetRawErrorMessage();
    }

private:
    std::uint16_t itsPort;
};

} // namespace

XSocketsTCPEndpointImp::XSocketsTCPEndpointImp() = default;
XSocketsTCPEndpointImp::~XSocketsTCPEndpointImp() = default;

// ---- Connecting

void XSocketsTCPEndpointImp::Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS )
{
    ConnectWith(
        inAddress,
        [deadline = WDeadline( inTimeoutMS )]( const XWaiting& inWaiting )
        { return XWaitWithCheckpoints( [&] { return inWaiting( deadline ); } ); } );
}

/// Waits in slices for the sake of the progress; what ends a wait from outside ends a slice at once.
void XSocketsTCPEndpointImp::ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS )
{
    constexpr std::uint32_t kSliceMS = 100;
    constexpr std::uint32_t kDelayMS = 2000;
    XProgress progress( 1, XProgress::kProgressWait, kDelayMS );
    ConnectWith(
        inAddress,
        [&, deadline = WDeadline( inTimeoutMS )]( const XWaiting& inWaiting )
        {
            for ( ;; )
            {
                const WDeadline slice( std::min( deadline.GetMillisecondsLeft(), kSliceMS ) );
                const WSocket::Outcome outcome = XWaitWithCheckpoints( [&] { return inWaiting( slice ); } );
                if ( outcome.status != WSocket::kTimedOut || deadline.HasPassed() )
                    return outcome;
                progress.SetProgressIndeterminate();
                progress.YieldAndCheckAbort();
            }
        } );
}

void XSocketsTCPEndpointImp::ConnectWith( const XNetAddress& inAddress, const XWaiter& inWaiter )
{
    const WSocket::Address address{ inAddress.GetIPAddress( true ), CheckedPort( inAddress.GetPort() ) };
    const WSocketPtr socket = UseNewSocket();
    try
    {
        MakeConnection( socket, address, inWaiter );
    }
    catch ( ... )
    {
        Drop( socket, XNetEndpoint::kStateClosed );
        itsState = XNetEndpoint::kStateClosed; // also where another thread has ended the attempt
        throw;
    }
}

void XSocketsTCPEndpointImp::MakeConnection(
    const WSocketPtr& inSocket, const WSocket::Address& inAddress, const XWaiter& inWaiter )
{
    WSocket::Outcome outcome = inSocket->StartConnecting( inAddress );
    // The usual case: the connection is being established, and the wait tells the result.
    if ( outcome.error == WSocket::kErrorWouldBlock || outcome.error == WSocket::kErrorInProgress )
        outcome = inWaiter( [&]( const WDeadline& inDeadline )
                            { return inSocket->FinishConnecting( inDeadline ); } );
    Check( inSocket, outcome );
    const WSocket::Address peer = inSocket->GetPeerAddress();
    if ( peer == inSocket->GetLocalAddress() ) // by chance the system took the port on which nobody listens
        XThrow( kErrorConnectionRefused );
    SetRemotePlace( { XNetAddress( peer.ip, peer.port ) } );
    Check( inSocket, BeginConnection( inSocket, inWaiter ) );
    TakeOver( inSocket, XNetEndpoint::kStateConnected );
}

WConnection::Outcome XSocketsTCPEndpointImp::BeginConnection( const WConnectionPtr&, const XWaiter& )
{
    return {};
}

// ---- Listening

void XSocketsTCPEndpointImp::Bind( std::int32_t inPort, std::uint32_t inBacklog )
{
    BindTo( { 0, CheckedPort( inPort ) }, inBacklog );
}

void XSocketsTCPEndpointImp::BindToAddress( const XNetAddress& inAddress, std::uint32_t inBacklog )
{
    const std::uint16_t port = CheckedPort( inAddress.GetPort() );
    XNetAddress address = inAddress;
    if ( address.GetIPAddress( false ) == 0 && !address.GetHostName( false ).IsEmpty() )
        address.LookupIPAddress(); // throws, where the query would give 0, which means all adapters
    BindTo( { address.GetIPAddress( false ), port }, inBacklog );
}

void XSocketsTCPEndpointImp::BindTo( const WSocket::Address& inAddress, std::uint32_t inBacklog )
{
    const WSocketPtr socket = UseNewSocket();
    try
    {
        BindSocket( socket, inAddress, inBacklog );
    }
    catch ( ... )
    {
        Drop( socket, XNetEndpoint::kStateClosed );
        throw;
    }
}

void XSocketsTCPEndpointImp::BindSocket(
    const WSocketPtr& inSocket, const WSocket::Address& inAddress, std::uint32_t inBacklog )
{
    constexpr std::uint32_t kSystemMaximum = 0x7FFFFFFF;
    SetLocalPlace( { XNetAddress( inAddress.ip, inAddress.port ) } );
    WSocket::Outcome outcome = inSocket->Bind( inAddress );
    if ( outcome.status == WSocket::kDone ) // another socket may have the port, and listen or not
        // Both calls may report that the port is in use.
        outcome = inSocket->Listen( inBacklog == XNetEndpoint::kMostBacklog ? kSystemMaximum : inBacklog );
    if ( outcome.error == WSocket::kErrorAddressInUse )
        throw PortInUseException( inAddress.port );
    Check( inSocket, outcome );
    SetLocalPlace( { XNetAddress( inAddress.ip, inSocket->GetLocalAddress().port ), inAddress.ip == 0 } );
    TakeOver( inSocket, XNetEndpoint::kStateDisconnected );
}

XNetEndpoint* XSocketsTCPEndpointImp::MakeEndpoint( const WConnectionPtr& inConnection )
{
    const auto socket = std::static_pointer_cast<WSocket>( inConnection );
    auto imp = MakeAccepted( inConnection );
    const WSocket::Address peer = socket->GetPeerAddress();
    imp->SetLocalPlace( { XNetAddress( 0, socket->GetLocalAddress().port ), true } );
    imp->SetRemotePlace( { XNetAddress( peer.ip, peer.port ), peer.ip == XNetAddress::kLoopBackIP } );
    imp->itsKeepAliveTimeMS = itsKeepAliveTimeMS.load(); // as the system's socket has it
    imp->SetConnected( socket );
    return new XNetEndpoint( std::move( imp ) );
}

std::unique_ptr<XSocketsTCPEndpointImp> XSocketsTCPEndpointImp::MakeAccepted( const WConnectionPtr& )
{
    return std::make_unique<XSocketsTCPEndpointImp>();
}

// ---- The socket

WSocketPtr XSocketsTCPEndpointImp::UseNewSocket()
{
    const auto socket = std::make_shared<WSocket>();
    Use( socket );
    itsKeepAliveTimeMS = kNoTimeout;
    return socket;
}

std::uint32_t XSocketsTCPEndpointImp::GetKeepAliveTimeMS()
{
    return itsKeepAliveTimeMS;
}

void XSocketsTCPEndpointImp::SetKeepAliveTimeMS( std::uint32_t inTimeMS )
{
    if ( itsKeepAliveTimeMS == inTimeMS )
        return;
    const auto socket = std::static_pointer_cast<WSocket>( GetConnection() );
    Check( socket, socket->SetKeepAlive( inTimeMS ) );
    itsKeepAliveTimeMS = inTimeMS;
}
