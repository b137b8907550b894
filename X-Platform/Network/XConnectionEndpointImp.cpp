#include "Network/XConnectionEndpointImp.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/WLastErrorException.h"
#include "Ground/XErrorNumbers.h"
#include "Network/Internal/XWaitWithCheckpoints.h"
#include "Threads/XThreadLock.h"
#include "Time/WClock.h"

#include <algorithm>
#include <utility>

// Who may use the connection. itsConnection is guarded by itsMutex, which is never held in a wait: an
// operation copies the shared pointer (GetConnected) and works with the copy. Ending the connection from
// another thread therefore never waits: it takes the pointer out (TakeConnection), interrupts the connection,
// which wakes every wait on it, and gives its own share up. Threads that still use the connection keep it
// open until they have left, so its descriptor is not reused under them.
//
// Disconnect is the orderly end. It moves the connection to itsClosing, where ForceDisconnect can still
// interrupt it, tells the peer that no more will be sent, and then discards what arrives until the peer has
// closed (Drain). A thread that receives at the same time may be given some of these bytes by the system; it
// cannot know what Drain has discarded before them, so it fails instead (IsEnding).
//
// The errors of connections have Windows socket codes on every system (WConnection); ToErrorNumber gives the
// library's numbers to those that callers are to distinguish, and the rest becomes a WLastErrorException.

using XState = XNetEndpoint::XState;

namespace
{

/// Large sends let the system move the bytes while the peer reads them, with few calls.
constexpr std::uint32_t kMostBytesPerSend = 1024 * 1024;

/// The library's number for an error of a connection; 0 where it has none.
std::uint32_t ToErrorNumber( std::uint32_t inError )
{
    switch ( inError )
    {
    case 10009: // WSAEBADF
    case WConnection::kErrorInterrupted:
    case WConnection::kErrorNotASocket:
    case WConnection::kErrorAborted:
    case WConnection::kErrorReset:
        return kErrorDisconnected;
    case WConnection::kErrorTimedOut:
        return kErrorConnectionTimedOut;
    case WConnection::kErrorRefused:
    case WConnection::kErrorAccess:
        return kErrorConnectionRefused;
    default:
        return 0;
    }
}

} // namespace

XConnectionEndpointImp::XConnectionEndpointImp()
{
    itsState = XNetEndpoint::kStateClosed;
}

XConnectionEndpointImp::~XConnectionEndpointImp()
{
    XSwallowErrors( [this] { EndUse( XNetEndpoint::kStateDisconnected ); } );
}

// ---- Beginning

void XConnectionEndpointImp::Use( const WConnectionPtr& inConnection )
{
    const XThreadLock lock( itsMutex );
    if ( itsConnection )
        // The text appears in logs and is kept as it has always been.
        XAssertionFailed( "itsSocket == (SOCKET)(~0)", __FILE__, __LINE__ );
    ResetStatistics();
    itsConnection = inConnection;
}

/// Makes the connection this endpoint's, unless it has been ended meanwhile.
void XConnectionEndpointImp::TakeOver( const WConnectionPtr& inConnection, XState inNewState )
{
    const XThreadLock lock( itsMutex );
    if ( itsConnection != inConnection )
        XThrow( kErrorDisconnected );
    itsState = inNewState;
}

void XConnectionEndpointImp::SetConnected( const WConnectionPtr& inConnection )
{
    itsConnection = inConnection;
    itsState = XNetEndpoint::kStateConnected;
}

// ---- Listening

XNetEndpoint* XConnectionEndpointImp::Listen()
{
    WConnectionPtr connection;
    {
        const XThreadLock lock( itsMutex );
        const XState state = itsState;
        XAssert( state == XNetEndpoint::kStateDisconnected );
        if ( !itsConnection )
            XThrow( kErrorDisconnected );
        connection = itsConnection;
        // In one step with the copy: an Unbind from now on finds the state to change.
        itsState = XNetEndpoint::kStateAccepting;
    }
    return MakeEndpoint( AcceptConnection( connection ) );
}

WConnectionPtr XConnectionEndpointImp::AcceptConnection( const WConnectionPtr& inConnection )
{
    struct Accepting
    {
        XConnectionEndpointImp& itsImp;
        const WConnectionPtr& itsConnection;
        ~Accepting()
        {
            const XThreadLock lock( itsImp.itsMutex );
            if ( itsImp.itsConnection == itsConnection ) // else it may be bound again, and listening
                itsImp.itsState = XNetEndpoint::kStateDisconnected;
        }
    };
    const Accepting accepting{ *this, inConnection };
    WConnectionPtr connection;
    // Another thread ends the wait by Unbind or by stopping this one.
    const WDeadline noLimit( kNoTimeout );
    Check(
        inConnection, XWaitWithCheckpoints( [&] { return inConnection->Accept( connection, noLimit ); } ) );
    return connection;
}

// ---- The end of a connection

void XConnectionEndpointImp::Unbind()
{
    EndUse( XNetEndpoint::kStateClosed );
}

void XConnectionEndpointImp::ForceDisconnect()
{
    EndUse( XNetEndpoint::kStateDisconnected );
}

void XConnectionEndpointImp::EndUse( XState inNewState )
{
    WConnectionPtr closing;
    {
        const XThreadLock lock( itsMutex );
        closing = itsClosing;
    }
    if ( closing )
        // For a Disconnect that is waiting for the peer on another thread.
        closing->Interrupt();
    if ( const WConnectionPtr connection = TakeConnection( inNewState ) )
    {
        connection->Interrupt();
        LetGo( connection );
    }
}

void XConnectionEndpointImp::Disconnect( std::uint32_t inTimeoutMS )
{
    struct Closing
    {
        XConnectionEndpointImp& itsImp;
        const WConnectionPtr& itsConnection;
        ~Closing()
        {
            itsConnection->Interrupt(); // for a thread that still receives
            itsImp.LetGo( itsConnection );
            const XThreadLock lock( itsImp.itsMutex );
            itsImp.itsClosing.reset();
            if ( itsImp.itsState == XNetEndpoint::kStateDisconnecting )
                itsImp.itsState = XNetEndpoint::kStateDisconnected;
        }
    };
    WConnectionPtr connection;
    {
        const XThreadLock lock( itsMutex );
        if ( !itsConnection )
            return;
        connection = itsClosing = std::move( itsConnection );
        itsState = XNetEndpoint::kStateDisconnecting;
    }
    const Closing closing{ *this, connection };
    AnnounceEnd( connection );
    connection->ShutDownSending();
    Drain( *connection, std::max<std::uint32_t>( inTimeoutMS, 1 ) );
    ResetStatistics();
}

/// Reads until the peer has closed. Another thread may receive at the same time; it gets none of the bytes (IsEnding).
void XConnectionEndpointImp::Drain( WConnection& ioConnection, std::uint32_t inTimeoutMS )
{
    const WDeadline deadline( inTimeoutMS );
    const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>( kMostBytesPerTransfer );
    for ( ;; )
    {
        const WConnection::Outcome outcome = XWaitWithCheckpoints(
            [&] { return ioConnection.Receive( buffer.get(), kMostBytesPerTransfer, deadline ); } );
        // A peer that keeps sending would otherwise keep the loop going past the deadline.
        const bool isOver = outcome.status == WConnection::kTimedOut ||
            ( outcome.status == WConnection::kDone && outcome.count > 0 && deadline.HasPassed() );
        if ( isOver )
            XThrow( kErrorConnectionTimedOut );
        if ( outcome.status == WConnection::kFailed || outcome.count == 0 )
            return;
    }
}

// ---- Transfer

void XConnectionEndpointImp::SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    if ( length == 0 )
        return;
    XAssert( buffer );
    const WConnectionPtr connection = GetConnected();
    const auto* bytes = static_cast<const std::uint8_t*>( buffer );
    // Equal parts: a small rest would be a segment of its own.
    const std::uint32_t parts = ( length - 1 ) / kMostBytesPerSend + 1;
    std::uint32_t chunk = ( length - 1 ) / parts + 1;
    while ( length > 0 )
    {
        const std::int64_t start = WClock::GetMicroSeconds();
        const WConnection::Outcome outcome = XWaitWithCheckpoints(
            [&] { return SendSome( connection, bytes, std::min( chunk, length ), inTimeoutMS ); } );
        // The system lacks kernel memory for the transfer; a smaller one may still succeed.
        if ( outcome.error == WConnection::kErrorNoBuffers && chunk >= 2 )
        {
            chunk /= 2;
            continue;
        }
        Check( connection, outcome );
        itsBytesWritten.Add( outcome.count, WClock::GetMicroSeconds() - start );
        bytes += outcome.count;
        length -= static_cast<std::uint32_t>( outcome.count );
    }
}

std::uint32_t
XConnectionEndpointImp::ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    const std::int64_t start = WClock::GetMicroSeconds();
    const WDeadline deadline( inTimeoutMS );
    const std::uint32_t received = ReceiveOrPeek(
        std::min( length, kMostBytesPerTransfer ),
        [&]( const WConnectionPtr& inConnection, std::uint32_t inChunk )
        { return ReceiveSome( inConnection, buffer, inChunk, deadline ); } );
    if ( received > 0 )
        itsBytesRead.Add( received, WClock::GetMicroSeconds() - start );
    return received;
}

std::uint32_t
XConnectionEndpointImp::PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    const WDeadline deadline( inTimeoutMS );
    return ReceiveOrPeek(
        length,
        [&]( const WConnectionPtr& inConnection, std::uint32_t inChunk )
        { return PeekSome( inConnection, buffer, inChunk, deadline ); } );
}

template<class TTransfer>
std::uint32_t XConnectionEndpointImp::ReceiveOrPeek( std::uint32_t inLength, TTransfer inTransfer )
{
    if ( inLength == 0 )
        return 0;
    const WConnectionPtr connection = GetConnected();
    for ( std::uint32_t chunk = inLength;; )
    {
        const WConnection::Outcome outcome =
            XWaitWithCheckpoints( [&] { return inTransfer( connection, chunk ); } );
        if ( outcome.error == WConnection::kErrorNoBuffers && chunk >= 2 )
        {
            chunk /= 2;
            continue;
        }
        Check( connection, outcome );
        if ( outcome.count == 0 )
            FailDisconnected( connection );
        // Drain on another thread may have discarded bytes before these.
        if ( IsEnding( *connection ) )
            XThrow( kErrorDisconnected );
        return static_cast<std::uint32_t>( outcome.count );
    }
}

void XConnectionEndpointImp::WaitForMoreData( std::uint32_t inCount, std::uint32_t inTimeoutMS )
{
    const WConnectionPtr connection = GetConnected();
    const WDeadline deadline( inTimeoutMS );
    const WConnection::Outcome outcome =
        XWaitWithCheckpoints( [&] { return WaitForMore( connection, inCount, deadline ); } );
    Check( connection, outcome );
    // The peer has closed its side.
    if ( outcome.count == 0 )
        FailDisconnected( connection );
}

std::uint32_t XConnectionEndpointImp::GetWaitingBytes()
{
    return CountWaiting( GetConnected() );
}

// ---- No protocol

WConnection::Outcome XConnectionEndpointImp::SendSome(
    const WConnectionPtr& inConnection, const void* inBytes, std::uint32_t inCount,
    std::uint32_t inTimeoutMS )
{
    return inConnection->Send( inBytes, inCount, WDeadline( inTimeoutMS ) );
}

WConnection::Outcome XConnectionEndpointImp::ReceiveSome(
    const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount, const WDeadline& inDeadline )
{
    return inConnection->Receive( outBytes, inCount, inDeadline );
}

WConnection::Outcome XConnectionEndpointImp::PeekSome(
    const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount, const WDeadline& inDeadline )
{
    return inConnection->Peek( outBytes, inCount, inDeadline );
}

WConnection::Outcome XConnectionEndpointImp::WaitForMore(
    const WConnectionPtr& inConnection, std::uint32_t inCount, const WDeadline& inDeadline )
{
    return inConnection->WaitForMore( inCount, inDeadline );
}

std::uint32_t XConnectionEndpointImp::CountWaiting( const WConnectionPtr& inConnection )
{
    return inConnection->GetWaitingBytes();
}

void XConnectionEndpointImp::AnnounceEnd( const WConnectionPtr& ) {}

void XConnectionEndpointImp::LetGo( const WConnectionPtr& ) {}

// ---- Properties

std::uint64_t XConnectionEndpointImp::GetTotalBytesRead()
{
    return itsBytesRead.GetTotalBytes();
}

std::uint64_t XConnectionEndpointImp::GetTotalBytesWritten()
{
    return itsBytesWritten.GetTotalBytes();
}

std::uint64_t XConnectionEndpointImp::GetAvgBytesReadPerSec()
{
    return itsBytesRead.GetAverageBytesPerSecond();
}

std::uint64_t XConnectionEndpointImp::GetAvgBytesWrittenPerSec()
{
    return itsBytesWritten.GetAverageBytesPerSecond();
}

void XConnectionEndpointImp::ResetStatistics()
{
    itsBytesRead.Reset();
    itsBytesWritten.Reset();
}

// ---- The connection in use

WConnectionPtr XConnectionEndpointImp::GetConnection() const
{
    const XThreadLock lock( itsMutex );
    if ( !itsConnection )
        XThrow( kErrorDisconnected );
    return itsConnection;
}

WConnectionPtr XConnectionEndpointImp::GetConnected() const
{
    const XThreadLock lock( itsMutex );
    if ( !itsConnection || itsState != XNetEndpoint::kStateConnected )
        XThrow( kErrorDisconnected );
    return itsConnection;
}

bool XConnectionEndpointImp::IsEnding( const WConnection& inConnection ) const
{
    return itsState == XNetEndpoint::kStateDisconnecting || inConnection.IsInterrupted();
}

/// Null if there is none; the state is then unchanged.
WConnectionPtr XConnectionEndpointImp::TakeConnection( XState inNewState )
{
    const XThreadLock lock( itsMutex );
    if ( !itsConnection )
        return nullptr;
    itsState = inNewState;
    ResetStatistics();
    // Moved out under the mutex: of several threads that end the use, only one gets the connection.
    return std::move( itsConnection );
}

/// Ends the use of this connection, unless this has been done.
void XConnectionEndpointImp::Drop( const WConnectionPtr& inConnection, XState inNewState )
{
    bool isInUse = false;
    {
        const XThreadLock lock( itsMutex );
        // The endpoint may have been ended and used again for another connection meanwhile.
        isInUse = itsConnection == inConnection;
        if ( isInUse )
        {
            itsState = inNewState;
            ResetStatistics();
            itsConnection.reset();
        }
    }
    if ( isInUse )
        inConnection->Interrupt();
    LetGo( inConnection );
}

// ---- Errors

void XConnectionEndpointImp::Check(
    const WConnectionPtr& inConnection, const WConnection::Outcome& inOutcome )
{
    if ( inOutcome.status == WConnection::kTimedOut )
        XThrow( kErrorConnectionTimedOut );
    if ( inOutcome.status == WConnection::kFailed )
        Fail( inConnection, inOutcome.error );
}

void XConnectionEndpointImp::Fail( const WConnectionPtr& inConnection, std::uint32_t inError )
{
    const std::uint32_t number = ToErrorNumber( inError );
    if ( number == kErrorDisconnected )
        FailDisconnected( inConnection );
    if ( number != 0 )
        XThrow( number );
    throw WLastErrorException( inError );
}

void XConnectionEndpointImp::FailDisconnected( const WConnectionPtr& inConnection )
{
    Drop( inConnection, XNetEndpoint::kStateDisconnected );
    XThrow( kErrorDisconnected );
}
