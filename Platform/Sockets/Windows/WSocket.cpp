#include "Sockets/WSocket.h"

#include "Sockets/Internal/WSocketHeaders.h"
#include "Sockets/WSocketAlert.h"
#include "Sockets/WSystemAddress.h"
#include "Sockets/Windows/WEventObject.h"

#include "Ground/XFail.h"
#include "System/WSystemError.h"

#include <algorithm>
#include <climits>
#include <mutex>
#include <utility>

#include <mstcpip.h>
#include <windows.h>

#include "WNoSystemMacros.h" // needs to be behind the headers above

namespace
{

/// A socket that is closed at the end of its life.
class OwnSocket
{
public:
    explicit OwnSocket( SOCKET inSocket ) : itsSocket( inSocket ) {}
    OwnSocket( OwnSocket&& inOther ) noexcept
        : itsSocket( std::exchange( inOther.itsSocket, INVALID_SOCKET ) )
    {
    }
    OwnSocket& operator=( OwnSocket&& ) = delete;
    ~OwnSocket()
    {
        if ( itsSocket != INVALID_SOCKET )
            closesocket( itsSocket );
    }
    operator SOCKET() const { return itsSocket; }

private:
    SOCKET itsSocket;
};

} // namespace

// The system has one event per socket for all network events, but one thread may wait to receive and another
// to send. The thread that sees that event first records the network events and sets the event of each
// direction.

struct WSocket::System
{
    explicit System( OwnSocket inSocket ) : socket( std::move( inSocket ) ) {}
    System( System&& ) noexcept = default;

    /// Makes the system signal `happened` for network events. Also makes the socket non-blocking.
    bool Watch() const
    {
        return WSAEventSelect( socket, happened, FD_READ | FD_WRITE | FD_ACCEPT | FD_CONNECT | FD_CLOSE ) ==
            0;
    }

    void RecordEvents() const
    {
        WSANETWORKEVENTS events{};
        if ( WSAEnumNetworkEvents( socket, happened, &events ) != 0 )
            return;
        if ( events.lNetworkEvents & ( FD_READ | FD_ACCEPT ) )
            ready[kForReading].Set();
        if ( events.lNetworkEvents & ( FD_WRITE | FD_CONNECT ) )
            ready[kForWriting].Set();
        if ( !( events.lNetworkEvents & FD_CLOSE ) )
            return;
        ended[kForReading].Set();
        // A reset ends both directions; an orderly close only says that nothing more will arrive.
        if ( events.iErrorCode[FD_CLOSE_BIT] != 0 ) // else the peer may still receive
            ended[kForWriting].Set();
    }

    OwnSocket socket;
    WEventObject happened{ true };
    WEventObject ready[2]{ WEventObject( false ), WEventObject( false ) }; // each lets one wait end
    WEventObject ended[2]{
        WEventObject( true ), WEventObject( true ) }; // no operation of the direction waits any more
};

namespace
{

std::uint32_t TakeSocketError()
{
    const int error = WSAGetLastError();
    WSASetLastError( 0 );
    return static_cast<std::uint32_t>( error );
}

WSocket::Outcome ToOutcome( int inResult )
{
    if ( inResult < 0 )
        return { WSocket::kFailed, 0, TakeSocketError() };
    return { WSocket::kDone, static_cast<USize>( inResult ) };
}

sockaddr_in ToSystem( const WSocket::Address& inAddress )
{
    sockaddr_in address;
    WSystemAddress::Set( address, inAddress.ip, inAddress.port );
    return address;
}

template<class TCall>
WSocket::Address AskAddress( SOCKET inSocket, TCall inCall )
{
    sockaddr_in address{};
    int size = sizeof( address );
    if ( inCall( inSocket, reinterpret_cast<sockaddr*>( &address ), &size ) != 0 )
        return {};
    return { WSystemAddress::GetIP( address ), WSystemAddress::GetPort( address ) };
}

void SetFlag( SOCKET inSocket, int inLevel, int inName )
{
    const BOOL isOn = TRUE;
    setsockopt( inSocket, inLevel, inName, reinterpret_cast<const char*>( &isOn ), sizeof( isOn ) );
}

SOCKET OpenSocket()
{
    WStartSockets();
    const SOCKET opened =
        WSASocketW( AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_NO_HANDLE_INHERIT );
    if ( opened == INVALID_SOCKET )
        XThrowLastSystemError();
    return opened;
}

int ToInt( USize inCount )
{
    return static_cast<int>( std::min<USize>( inCount, INT_MAX ) );
}

} // namespace

void WStartSockets()
{
    static const int sError = []
    {
        WSADATA data;
        return WSAStartup( MAKEWORD( 2, 2 ), &data );
    }();
    if ( sError == 0 )
        return;
    WSystemError::SetLast( static_cast<std::uint32_t>( sError ) );
    XThrowLastSystemError();
}

// ---- Life

WSocket::WSocket() : WSocket( System( OwnSocket( OpenSocket() ) ) ) {}

WSocket::WSocket( System&& inSystem ) : itsSystem( std::make_unique<System>( std::move( inSystem ) ) )
{
    SetFlag( itsSystem->socket, IPPROTO_TCP, TCP_NODELAY );
    if ( !itsSystem->Watch() )
        XThrowLastSystemError();
}

WSocket::~WSocket() = default;

// ---- Server side

/// On Windows a port of old connections can be bound without an option; the option that other systems need
/// would take the port away from another listener.
WSocket::Outcome WSocket::Bind( const Address& inAddress )
{
    SetFlag( itsSystem->socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE );
    const sockaddr_in address = ToSystem( inAddress );
    Outcome outcome = ToOutcome(
        bind( itsSystem->socket, reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) ) );
    if ( outcome.error == kErrorAccess ) // somebody else has the port for himself
        outcome.error = kErrorAddressInUse;
    return outcome;
}

WSocket::Outcome WSocket::Listen( std::uint32_t inBacklog )
{
    return ToOutcome( listen( itsSystem->socket, ToInt( inBacklog ) ) );
}

/// Wine reports no further connection if one was accepted before it was reported.
bool WSocket::HasToWaitToAccept() const
{
    return true;
}

WSocket::Outcome WSocket::TryAccept( WConnectionPtr& outConnection )
{
    if ( IsInterrupted() )
        return { kFailed, 0, kErrorAborted };
    OwnSocket accepted( accept( itsSystem->socket, nullptr, nullptr ) );
    if ( accepted != INVALID_SOCKET )
    {
        outConnection.reset( new WSocket( System( std::move( accepted ) ) ) );
        return {};
    }
    const std::uint32_t error = TakeSocketError();
    // A connection that ended while it waited to be accepted.
    return { kFailed, 0, error == kErrorReset || error == kErrorAborted ? kErrorWouldBlock : error };
}

// ---- Client side

WSocket::Outcome WSocket::StartConnecting( const Address& inAddress )
{
    const sockaddr_in address = ToSystem( inAddress );
    return ToOutcome(
        connect( itsSystem->socket, reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) ) );
}

WSocket::Outcome WSocket::TryFinishConnecting()
{
    if ( IsInterrupted() )
        return { kFailed, 0, kErrorAborted };
    fd_set connected, failed;
    FD_ZERO( &connected );
    FD_SET( SOCKET( itsSystem->socket ), &connected );
    failed = connected;
    timeval noTime{};
    if ( select( 0, nullptr, &connected, &failed, &noTime ) == 0 )
        return { kFailed, 0, kErrorWouldBlock };
    int error = 0;
    int size = sizeof( error );
    getsockopt( itsSystem->socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>( &error ), &size );
    if ( error == 0 && FD_ISSET( SOCKET( itsSystem->socket ), &failed ) )
        error = WSAECONNREFUSED;
    return error == 0 ? Outcome{} : Outcome{ kFailed, 0, static_cast<std::uint32_t>( error ) };
}

// ---- Transfer

// On an interrupted socket the calls fail with various codes; all of them mean the interruption.

/// The system takes all bytes of a send as long as it has any room, and no more until the peer has read most of them. So
/// the limit is also what a slow peer must be able to read within the time-out of a send.
WSocket::Outcome WSocket::TrySend( const void* inBytes, USize inCount )
{
    constexpr USize kMostBytesPerSend = 64 * 1024;
    const int count = ToInt( std::min( inCount, kMostBytesPerSend ) );
    const Outcome outcome =
        ToOutcome( send( itsSystem->socket, static_cast<const char*>( inBytes ), count, 0 ) );
    return IsInterrupted() ? Outcome{ kFailed, 0, kErrorAborted } : outcome;
}

WSocket::Outcome WSocket::TryReceive( void* outBytes, USize inCount, bool inPeek )
{
    const int flags = inPeek ? MSG_PEEK : 0;
    const Outcome outcome =
        ToOutcome( recv( itsSystem->socket, static_cast<char*>( outBytes ), ToInt( inCount ), flags ) );
    if ( outcome.status == kFailed && IsInterrupted() )
        return {};
    if ( inPeek && outcome.error == WSAEMSGSIZE ) // there is more than was asked for
        return { kDone, inCount };
    return outcome;
}

/// The system has no wait for this.
WSocket::Outcome WSocket::WaitForMore( USize inCount, const WDeadline& inDeadline )
{
    return WConnection::WaitForMore( inCount, inDeadline );
}

std::uint32_t WSocket::GetWaitingBytes() const
{
    u_long count = 0;
    return ioctlsocket( itsSystem->socket, FIONREAD, &count ) == 0 ? count : 0;
}

// ---- End

void WSocket::ShutDownSending()
{
    shutdown( itsSystem->socket, SD_SEND );
}

bool WSocket::HasPeerClosed() const
{
    WSAPOLLFD state{ itsSystem->socket, POLLRDNORM, 0 };
    return WSAPoll( &state, 1, 0 ) == 1 && ( state.revents & ( POLLHUP | POLLERR ) ) != 0;
}

void WSocket::EndConnection()
{
    shutdown( itsSystem->socket, SD_BOTH );
    for ( const WEventObject& ended : itsSystem->ended )
        ended.Set();
}

WWaitResult WSocket::SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool )
{
    enum : DWORD
    {
        kEnded = WAIT_OBJECT_0,
        kAlert,
        kReady,
        kHappened
    };
    const bool isPeeking = inDirection == kForPeeking; // then what has arrived must not end the wait
    const Direction direction = isPeeking ? kForReading : inDirection;
    const HANDLE alert =
        reinterpret_cast<HANDLE>( WSocketAlert::GetCurrent().GetHandle() ); // never rings unless alertable
    const HANDLE events[] = {
        itsSystem->ended[direction], alert, itsSystem->ready[direction], itsSystem->happened };
    for ( ;; )
    {
        // A peeking wait ends by the end of the connection, an alert or its deadline only.
        const DWORD count = isPeeking ? 2 : 4;
        switch ( WaitForMultipleObjects( count, events, FALSE, inDeadline.GetMillisecondsLeft() ) )
        {
        case kHappened:
            itsSystem->RecordEvents();
            break;
        case kAlert:
            return kWaitAlerted;
        case WAIT_TIMEOUT:
            return kWaitTimedOut;
        default:
            return kWaitSucceeded;
        }
    }
}

// ---- Properties

WSocket::Address WSocket::GetLocalAddress() const
{
    return AskAddress( itsSystem->socket, getsockname );
}

WSocket::Address WSocket::GetPeerAddress() const
{
    return AskAddress( itsSystem->socket, getpeername );
}

WSocket::Outcome WSocket::SetKeepAlive( std::uint32_t inIdleMS )
{
    constexpr ULONG kIntervalMS = 1000;
    tcp_keepalive values{};
    if ( inIdleMS != kNoTimeout )
        values = { 1, std::max<ULONG>( inIdleMS, 1 ), kIntervalMS };
    DWORD returned = 0;
    return ToOutcome( WSAIoctl(
        itsSystem->socket, SIO_KEEPALIVE_VALS, &values, sizeof( values ), nullptr, 0, &returned, nullptr,
        nullptr ) );
}
