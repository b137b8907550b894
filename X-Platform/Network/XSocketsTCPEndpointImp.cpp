#include "Network/XSocketsTCPEndpointImp.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/WLastErrorException.h"
#include "Ground/XErrorNumbers.h"
#include "Jobs/XProgress.h"
#include "Threads/XCheckpoint.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <utility>

using XState = XNetEndpoint::XState;

namespace
{

constexpr std::uint32_t kLoopBackAddress = 0x7F000001;

/// Does what may wait on a socket: after a checkpoint, and again after each that an alert has brought about. The first
/// is for threads that always find something to do.
template<class TOperation>
WSocket::Outcome Obediently( TOperation inOperation )
{
    for ( ;; )
    {
        XRunCheckpoint();
        const WSocket::Outcome outcome = inOperation();
        if ( outcome.status != WSocket::kAlerted )
            return outcome;
    }
}

std::uint16_t CheckedPort( std::int32_t inPort )
{
    if ( inPort < 0 || inPort > 65535 )
        XThrow( kErrorBadParameters );
    return static_cast<std::uint16_t>( inPort );
}

/// The library's number for a socket's error; 0 where it has none.
std::uint32_t ToErrorNumber( std::uint32_t inError )
{
    switch ( inError )
    {
    case 10009: // WSAEBADF
    case WSocket::kErrorInterrupted:
    case WSocket::kErrorNotASocket:
    case WSocket::kErrorAborted:
    case WSocket::kErrorReset:
        return kErrorDisconnected;
    case WSocket::kErrorTimedOut:
        return kErrorConnectionTimedOut;
    case WSocket::kErrorRefused:
    case WSocket::kErrorAccess:
        return kErrorConnectionRefused;
    default:
        return 0;
    }
}

/// Names the port that could not be had.
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

XSocketsTCPEndpointImp::XSocketsTCPEndpointImp()
{
    itsState = XNetEndpoint::kStateClosed;
}

XSocketsTCPEndpointImp::~XSocketsTCPEndpointImp()
{
    XSwallowErrors( [this] { EndUse( XNetEndpoint::kStateDisconnected ); } );
}

// ---- Connecting

void XSocketsTCPEndpointImp::Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS )
{
    ConnectWith(
        inAddress,
        [deadline = WDeadline( inTimeoutMS )]( WSocket& ioSocket )
        { return Obediently( [&] { return ioSocket.FinishConnecting( deadline ); } ); } );
}

/// Waits in slices for the sake of the progress; what ends a wait from outside ends a slice at once.
void XSocketsTCPEndpointImp::ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS )
{
    constexpr std::uint32_t kSliceMS = 100;
    constexpr std::uint32_t kDelayMS = 2000;
    XProgress progress( 1, XProgress::kProgressWait, kDelayMS );
    ConnectWith(
        inAddress,
        [&, deadline = WDeadline( inTimeoutMS )]( WSocket& ioSocket )
        {
            for ( ;; )
            {
                const WDeadline slice( std::min( deadline.GetMillisecondsLeft(), kSliceMS ) );
                const WSocket::Outcome outcome =
                    Obediently( [&] { return ioSocket.FinishConnecting( slice ); } );
                if ( outcome.status != WSocket::kTimedOut || deadline.HasPassed() )
                    return outcome;
                progress.SetProgressIndeterminate();
                progress.YieldAndCheckAbort();
            }
        } );
}

void XSocketsTCPEndpointImp::ConnectWith( const XNetAddress& inAddress, const XWaitForConnection& inWait )
{
    const WSocket::Address address{ inAddress.GetIPAddress( true ), CheckedPort( inAddress.GetPort() ) };
    const WSocketPtr socket = UseNewSocket();
    try
    {
        MakeConnection( socket, address, inWait );
    }
    catch ( ... )
    {
        DropSocket( socket, XNetEndpoint::kStateClosed );
        itsState = XNetEndpoint::kStateClosed; // also where another thread has ended the attempt
        throw;
    }
}

void XSocketsTCPEndpointImp::MakeConnection(
    const WSocketPtr& inSocket, const WSocket::Address& inAddress, const XWaitForConnection& inWait )
{
    WSocket::Outcome outcome = inSocket->StartConnecting( inAddress );
    if ( outcome.error == WSocket::kErrorWouldBlock || outcome.error == WSocket::kErrorInProgress )
        outcome = inWait( *inSocket );
    Check( inSocket, outcome );
    const WSocket::Address peer = inSocket->GetPeerAddress();
    SetRemotePlace( { XNetAddress( peer.ip, peer.port ) } );
    TakeOver( inSocket );
}

/// The socket's connection is this endpoint's, unless somebody has ended it meanwhile.
void XSocketsTCPEndpointImp::TakeOver( const WSocketPtr& inSocket )
{
    const XThreadLock lock( itsMutex );
    if ( itsSocket != inSocket )
        XThrow( kErrorDisconnected );
    itsState = XNetEndpoint::kStateConnected;
}

// ---- Listening

void XSocketsTCPEndpointImp::Bind( std::int32_t inPort, std::uint32_t inBacklog )
{
    const std::uint16_t port = CheckedPort( inPort );
    const WSocketPtr socket = UseNewSocket();
    try
    {
        BindSocket( socket, port, inBacklog );
    }
    catch ( ... )
    {
        DropSocket( socket, XNetEndpoint::kStateClosed );
        throw;
    }
}

void XSocketsTCPEndpointImp::BindSocket(
    const WSocketPtr& inSocket, std::uint16_t inPort, std::uint32_t inBacklog )
{
    constexpr std::uint32_t kSystemMaximum = 0x7FFFFFFF;
    SetLocalPlace( { XNetAddress( 0, inPort ) } );
    WSocket::Outcome outcome = inSocket->Bind( inPort );
    if ( outcome.status == WSocket::kDone ) // another socket may have the port, and listen or not
        outcome = inSocket->Listen( inBacklog == XNetEndpoint::kMostBacklog ? kSystemMaximum : inBacklog );
    if ( outcome.error == WSocket::kErrorAddressInUse )
        throw PortInUseException( inPort );
    Check( inSocket, outcome );
    SetLocalPlace( { XNetAddress( 0, inSocket->GetLocalAddress().port ), true } );
    const XThreadLock lock( itsMutex );
    if ( itsSocket != inSocket )
        XThrow( kErrorDisconnected );
    itsState = XNetEndpoint::kStateDisconnected;
}

XNetEndpoint* XSocketsTCPEndpointImp::Listen()
{
    WSocketPtr socket;
    {
        const XThreadLock lock( itsMutex );
        const XState state = itsState;
        XAssert( state == XNetEndpoint::kStateDisconnected );
        if ( !itsSocket )
            XThrow( kErrorDisconnected );
        socket = itsSocket;
        itsState = XNetEndpoint::kStateAccepting;
    }
    return MakeEndpoint( AcceptConnection( socket ) );
}

WSocketPtr XSocketsTCPEndpointImp::AcceptConnection( const WSocketPtr& inSocket )
{
    struct Accepting
    {
        XSocketsTCPEndpointImp& itsImp;
        ~Accepting()
        {
            const XThreadLock lock( itsImp.itsMutex );
            if ( itsImp.itsState == XNetEndpoint::kStateAccepting )
                itsImp.itsState = XNetEndpoint::kStateDisconnected;
        }
    };
    const Accepting accepting{ *this };
    WSocketPtr connection;
    const WDeadline noLimit( kNoTimeout );
    Check( inSocket, Obediently( [&] { return inSocket->Accept( connection, noLimit ); } ) );
    return connection;
}

XNetEndpoint* XSocketsTCPEndpointImp::MakeEndpoint( const WSocketPtr& inSocket )
{
    auto imp = std::make_unique<XSocketsTCPEndpointImp>();
    const WSocket::Address peer = inSocket->GetPeerAddress();
    imp->SetLocalPlace( { XNetAddress( 0, inSocket->GetLocalAddress().port ), true } );
    imp->SetRemotePlace( { XNetAddress( peer.ip, peer.port ), peer.ip == kLoopBackAddress } );
    imp->itsSocket = inSocket;
    imp->itsState = XNetEndpoint::kStateConnected;
    return new XNetEndpoint( std::move( imp ) );
}

// ---- The end of a connection

void XSocketsTCPEndpointImp::Unbind()
{
    EndUse( XNetEndpoint::kStateClosed );
}

void XSocketsTCPEndpointImp::ForceDisconnect()
{
    EndUse( XNetEndpoint::kStateDisconnected );
}

void XSocketsTCPEndpointImp::EndUse( XState inNewState )
{
    WSocketPtr closing;
    {
        const XThreadLock lock( itsMutex );
        closing = itsClosingSocket;
    }
    if ( closing )
        closing->Interrupt();
    if ( const WSocketPtr socket = TakeSocket( inNewState ) )
        socket->Interrupt();
}

void XSocketsTCPEndpointImp::Disconnect( std::uint32_t inTimeoutMS )
{
    struct Closing
    {
        XSocketsTCPEndpointImp& itsImp;
        ~Closing()
        {
            const XThreadLock lock( itsImp.itsMutex );
            itsImp.itsClosingSocket.reset();
            if ( itsImp.itsState == XNetEndpoint::kStateDisconnecting )
                itsImp.itsState = XNetEndpoint::kStateDisconnected;
        }
    };
    WSocketPtr socket;
    {
        const XThreadLock lock( itsMutex );
        if ( !itsSocket )
            return;
        socket = itsClosingSocket = std::move( itsSocket );
        itsState = XNetEndpoint::kStateDisconnecting;
    }
    const Closing closing{ *this };
    socket->ShutDownSending();
    Drain( *socket, std::max<std::uint32_t>( inTimeoutMS, 1 ) );
    ResetStatistics();
}

/// Reads until the peer has closed. Another thread may receive at the same time: what matters is the end.
void XSocketsTCPEndpointImp::Drain( WSocket& ioSocket, std::uint32_t inTimeoutMS )
{
    const WDeadline deadline( inTimeoutMS );
    const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>( kMostBytesPerTransfer );
    for ( ;; )
    {
        const WSocket::Outcome outcome =
            Obediently( [&] { return ioSocket.Receive( buffer.get(), kMostBytesPerTransfer, deadline ); } );
        const bool isOver = outcome.status == WSocket::kTimedOut ||
            ( outcome.status == WSocket::kDone && outcome.count > 0 && deadline.HasPassed() );
        if ( isOver )
        {
            ioSocket.Interrupt(); // for a thread that still receives
            XThrow( kErrorConnectionTimedOut );
        }
        if ( outcome.status == WSocket::kFailed || outcome.count == 0 )
            return ioSocket.Interrupt();
    }
}

// ---- Transfer

void XSocketsTCPEndpointImp::SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    if ( length == 0 )
        return;
    XAssert( buffer );
    const WSocketPtr socket = GetSocket();
    const auto* bytes = static_cast<const std::uint8_t*>( buffer );
    // Equal parts: a small rest would be a segment of its own.
    const std::uint32_t parts = ( length - 1 ) / kMostBytesPerTransfer + 1;
    std::uint32_t chunk = ( length - 1 ) / parts + 1;
    while ( length > 0 )
    {
        const std::int64_t start = WClock::GetMicroSeconds();
        const WDeadline deadline( inTimeoutMS );
        const WSocket::Outcome outcome =
            Obediently( [&] { return socket->Send( bytes, std::min( chunk, length ), deadline ); } );
        if ( outcome.error == WSocket::kErrorNoBuffers && chunk >= 2 )
        {
            chunk /= 2;
            continue;
        }
        Check( socket, outcome );
        itsBytesWritten.Add( outcome.count, WClock::GetMicroSeconds() - start );
        bytes += outcome.count;
        length -= static_cast<std::uint32_t>( outcome.count );
    }
}

std::uint32_t
XSocketsTCPEndpointImp::ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    const std::int64_t start = WClock::GetMicroSeconds();
    const WDeadline deadline( inTimeoutMS );
    const std::uint32_t received = ReceiveOrPeek(
        length,
        [&]( WSocket& ioSocket, std::uint32_t inChunk )
        { return ioSocket.Receive( buffer, inChunk, deadline ); } );
    if ( received > 0 )
        itsBytesRead.Add( received, WClock::GetMicroSeconds() - start );
    return received;
}

std::uint32_t
XSocketsTCPEndpointImp::PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    const WDeadline deadline( inTimeoutMS );
    return ReceiveOrPeek(
        length,
        [&]( WSocket& ioSocket, std::uint32_t inChunk )
        { return ioSocket.Peek( buffer, inChunk, deadline ); } );
}

template<class TTransfer>
std::uint32_t XSocketsTCPEndpointImp::ReceiveOrPeek( std::uint32_t inLength, TTransfer inTransfer )
{
    if ( inLength == 0 )
        return 0;
    const WSocketPtr socket = GetSocket();
    std::uint32_t chunk = std::min( inLength, kMostBytesPerTransfer );
    for ( ;; )
    {
        const WSocket::Outcome outcome = Obediently( [&] { return inTransfer( *socket, chunk ); } );
        if ( outcome.error == WSocket::kErrorNoBuffers && chunk >= 2 )
        {
            chunk /= 2;
            continue;
        }
        Check( socket, outcome );
        if ( outcome.count == 0 )
            FailDisconnected( socket );
        return static_cast<std::uint32_t>( outcome.count );
    }
}

void XSocketsTCPEndpointImp::WaitForMoreData( std::uint32_t inCount, std::uint32_t inTimeoutMS )
{
    const WSocketPtr socket = GetSocket();
    const WDeadline deadline( inTimeoutMS );
    const WSocket::Outcome outcome = Obediently( [&] { return socket->WaitForMore( inCount, deadline ); } );
    Check( socket, outcome );
    if ( outcome.count == 0 )
        FailDisconnected( socket );
}

std::uint32_t XSocketsTCPEndpointImp::GetWaitingBytes()
{
    return GetSocket()->GetWaitingBytes();
}

// ---- Properties

std::uint32_t XSocketsTCPEndpointImp::GetKeepAliveTimeMS()
{
    const XThreadLock lock( itsMutex );
    return itsKeepAliveTimeMS;
}

void XSocketsTCPEndpointImp::SetKeepAliveTimeMS( std::uint32_t inTimeMS )
{
    if ( GetKeepAliveTimeMS() == inTimeMS )
        return;
    const WSocketPtr socket = GetSocket();
    Check( socket, socket->SetKeepAlive( inTimeMS ) );
    const XThreadLock lock( itsMutex );
    if ( itsSocket == socket )
        itsKeepAliveTimeMS = inTimeMS;
}

std::uint64_t XSocketsTCPEndpointImp::GetTotalBytesRead()
{
    return itsBytesRead.GetTotalBytes();
}

std::uint64_t XSocketsTCPEndpointImp::GetTotalBytesWritten()
{
    return itsBytesWritten.GetTotalBytes();
}

std::uint64_t XSocketsTCPEndpointImp::GetAvgBytesReadPerSec()
{
    return itsBytesRead.GetAverageBytesPerSecond();
}

std::uint64_t XSocketsTCPEndpointImp::GetAvgBytesWrittenPerSec()
{
    return itsBytesWritten.GetAverageBytesPerSecond();
}

void XSocketsTCPEndpointImp::ResetStatistics()
{
    itsBytesRead.Reset();
    itsBytesWritten.Reset();
}

// ---- The socket

WSocketPtr XSocketsTCPEndpointImp::GetSocket() const
{
    const XThreadLock lock( itsMutex );
    if ( !itsSocket )
        XThrow( kErrorDisconnected );
    return itsSocket;
}

WSocketPtr XSocketsTCPEndpointImp::UseNewSocket()
{
    const auto socket = std::make_shared<WSocket>();
    const XThreadLock lock( itsMutex );
    if ( itsSocket )
        XAssertionFailed( "itsSocket == (SOCKET)(~0)", __FILE__, __LINE__ );
    ResetStatistics();
    itsKeepAliveTimeMS = kNoTimeout;
    return itsSocket = socket;
}

/// Null when there is none; then the state stays.
WSocketPtr XSocketsTCPEndpointImp::TakeSocket( XState inNewState )
{
    const XThreadLock lock( itsMutex );
    if ( !itsSocket )
        return nullptr;
    itsState = inNewState;
    ResetStatistics();
    return std::move( itsSocket );
}

/// Ends the use of this very socket, unless somebody else has done so.
void XSocketsTCPEndpointImp::DropSocket( const WSocketPtr& inSocket, XState inNewState )
{
    {
        const XThreadLock lock( itsMutex );
        if ( itsSocket != inSocket )
            return;
        itsState = inNewState;
        ResetStatistics();
        itsSocket.reset();
    }
    inSocket->Interrupt();
}

// ---- Errors

void XSocketsTCPEndpointImp::Check( const WSocketPtr& inSocket, const WSocket::Outcome& inOutcome )
{
    if ( inOutcome.status == WSocket::kTimedOut )
        XThrow( kErrorConnectionTimedOut );
    if ( inOutcome.status == WSocket::kFailed )
        Fail( inSocket, inOutcome.error );
}

void XSocketsTCPEndpointImp::Fail( const WSocketPtr& inSocket, std::uint32_t inError )
{
    const std::uint32_t number = ToErrorNumber( inError );
    if ( number == kErrorDisconnected )
        FailDisconnected( inSocket );
    if ( number != 0 )
        XThrow( number );
    throw WLastErrorException( inError );
}

void XSocketsTCPEndpointImp::FailDisconnected( const WSocketPtr& inSocket )
{
    DropSocket( inSocket, XNetEndpoint::kStateDisconnected );
    XThrow( kErrorDisconnected );
}
