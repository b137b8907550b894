#include "Sockets/WSocket.h"

#include "Sockets/Internal/WSocketHeaders.h"
#include "Sockets/WSocketAlert.h"
#include "Sockets/WSystemAddress.h"
#include "System/Linux/WErrno.h"

#include <algorithm>
#include <climits>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <utility>

struct WSocket::System
{
    explicit System( int inDescriptor ) : descriptor( inDescriptor ) {}
    System( System&& inOther ) noexcept : descriptor( std::exchange( inOther.descriptor, -1 ) ) {}
    System& operator=( System&& ) = delete;
    ~System()
    {
        if ( descriptor >= 0 )
            close( descriptor );
    }

    template<class T>
    int SetOption( int inLevel, int inName, T inValue ) const
    {
        return setsockopt( descriptor, inLevel, inName, &inValue, sizeof( inValue ) );
    }

    int descriptor;
};

namespace
{

/// The code for a value of errno that a call on a socket has left.
std::uint32_t ToSocketError( int inErrno )
{
    switch ( inErrno )
    {
    case EBADF:
        return 10009;
    case EACCES:
    case EPERM:
        return WSocket::kErrorAccess;
    default:
        return WSystemError::FromErrno( inErrno );
    }
}

WSocket::Outcome Failed( int inErrno = errno )
{
    return { WSocket::kFailed, 0, ToSocketError( inErrno ) };
}

WSocket::Outcome ToOutcome( ssize_t inResult )
{
    return inResult < 0 ? Failed() : WSocket::Outcome{ WSocket::kDone, static_cast<USize>( inResult ) };
}

/// Makes a call again that a signal has interrupted.
template<class TCall>
auto Uninterrupted( TCall inCall )
{
    for ( ;; )
        if ( const auto result = inCall(); result >= 0 || errno != EINTR )
            return result;
}

sockaddr_in ToSystem( const WSocket::Address& inAddress )
{
    sockaddr_in address;
    WSystemAddress::Set( address, inAddress.ip, inAddress.port );
    return address;
}

template<class TCall>
WSocket::Address AskAddress( int inDescriptor, TCall inCall )
{
    sockaddr_in address{};
    socklen_t size = sizeof( address );
    if ( inCall( inDescriptor, reinterpret_cast<sockaddr*>( &address ), &size ) != 0 )
        return {};
    return { WSystemAddress::GetIP( address ), WSystemAddress::GetPort( address ) };
}

int OpenDescriptor()
{
    const int descriptor = socket( AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0 );
    if ( descriptor >= 0 )
        return descriptor;
    WSystemError::SetLast( ToSocketError( errno ) );
    XThrowLastSystemError();
}

/// Connections that ended while they waited to be accepted, and other errors of one connection that the system tells
/// when it is to be accepted. The next one may be sound.
bool IsErrorOfConnection( int inErrno )
{
    switch ( inErrno )
    {
    case ECONNABORTED:
    case ECONNRESET:
    case EPROTO:
    case ENOPROTOOPT:
    case ENETDOWN:
    case ENETUNREACH:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENONET:
    case EOPNOTSUPP:
    case EPERM: // a rule of the firewall
        return true;
    default:
        return false;
    }
}

/// Limits what a wait takes: poll counts milliseconds in an int. A longer wait goes on in another turn.
int ToPollTimeout( const WDeadline& inDeadline )
{
    const std::uint32_t left = inDeadline.GetMillisecondsLeft();
    return left == kNoTimeout ? -1 : static_cast<int>( std::min<std::uint32_t>( left, INT_MAX ) );
}

} // namespace

// ---- Life

WSocket::WSocket() : WSocket( System( OpenDescriptor() ) ) {}

WSocket::WSocket( System&& inSystem ) : itsSystem( std::make_unique<System>( std::move( inSystem ) ) )
{
    itsSystem->SetOption( IPPROTO_TCP, TCP_NODELAY, 1 );
}

WSocket::~WSocket() = default;

// ---- Server side

WSocket::Outcome WSocket::Bind( std::uint16_t inPort )
{
    itsSystem->SetOption( SOL_SOCKET, SO_REUSEADDR, 1 );
    const sockaddr_in address = ToSystem( { INADDR_ANY, inPort } );
    return ToOutcome(
        bind( itsSystem->descriptor, reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) ) );
}

WSocket::Outcome WSocket::Listen( std::uint32_t inBacklog )
{
    return ToOutcome(
        listen( itsSystem->descriptor, static_cast<int>( std::min<std::uint32_t>( inBacklog, INT_MAX ) ) ) );
}

bool WSocket::HasToWaitToAccept()
{
    return false;
}

WSocket::Outcome WSocket::TryAccept( WSocketPtr& outConnection )
{
    const int descriptor = Uninterrupted(
        [&] { return accept4( itsSystem->descriptor, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC ); } );
    if ( descriptor >= 0 )
    {
        outConnection.reset( new WSocket( System( descriptor ) ) );
        return {};
    }
    if ( itsIsInterrupted )
        return { kFailed, 0, kErrorAborted };
    return IsErrorOfConnection( errno ) ? Outcome{ kFailed, 0, kErrorWouldBlock } : Failed();
}

// ---- Client side

WSocket::Outcome WSocket::StartConnecting( const Address& inAddress )
{
    const sockaddr_in address = ToSystem( inAddress );
    return ToOutcome(
        connect( itsSystem->descriptor, reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) ) );
}

WSocket::Outcome WSocket::TryFinishConnecting()
{
    if ( itsIsInterrupted )
        return { kFailed, 0, kErrorAborted };
    pollfd connecting{ itsSystem->descriptor, POLLOUT, 0 };
    if ( Uninterrupted( [&] { return poll( &connecting, 1, 0 ); } ) == 0 )
        return { kFailed, 0, kErrorWouldBlock };
    int error = 0;
    socklen_t size = sizeof( error );
    if ( getsockopt( itsSystem->descriptor, SOL_SOCKET, SO_ERROR, &error, &size ) != 0 )
        error = errno;
    if ( error != 0 )
        return Failed( error );
    return itsIsInterrupted ? Outcome{ kFailed, 0, kErrorAborted } : Outcome{};
}

// ---- Transfer

WSocket::Outcome WSocket::TrySend( const void* inBytes, USize inCount )
{
    return ToOutcome(
        Uninterrupted( [&] { return send( itsSystem->descriptor, inBytes, inCount, MSG_NOSIGNAL ); } ) );
}

WSocket::Outcome WSocket::TryReceive( void* outBytes, USize inCount, bool inPeek )
{
    return ToOutcome( Uninterrupted(
        [&] { return recv( itsSystem->descriptor, outBytes, inCount, inPeek ? MSG_PEEK : 0 ); } ) );
}

/// The system compares with a mark how many bytes have arrived. It does not take every mark: no more bytes can wait
/// than the connection has room for.
WSocket::Outcome WSocket::WaitForMore( USize inCount, const WDeadline& inDeadline )
{
    const int wanted = static_cast<int>( std::min<USize>( inCount, INT_MAX - 1 ) ) + 1;
    itsSystem->SetOption( SOL_SOCKET, SO_RCVLOWAT, wanted );
    int mark = 0;
    socklen_t size = sizeof( mark );
    getsockopt( itsSystem->descriptor, SOL_SOCKET, SO_RCVLOWAT, &mark, &size );
    const WWaitResult result = mark < wanted ? kWaitSucceeded : Wait( kForReading, inDeadline );
    itsSystem->SetOption( SOL_SOCKET, SO_RCVLOWAT, 1 );
    if ( mark < wanted )
        return { kFailed, 0, kErrorNoBuffers };
    if ( result != kWaitSucceeded )
        return { result == kWaitAlerted ? kAlerted : kTimedOut };
    return { kDone, GetWaitingBytes() > inCount ? USize( 1 ) : USize( 0 ) };
}

std::uint32_t WSocket::GetWaitingBytes() const
{
    int count = 0;
    return ioctl( itsSystem->descriptor, FIONREAD, &count ) == 0 ? static_cast<std::uint32_t>( count ) : 0;
}

// ---- End

void WSocket::ShutDownSending()
{
    shutdown( itsSystem->descriptor, SHUT_WR );
}

/// Ends every poll of the descriptor too, one that listens or connects included.
void WSocket::EndConnection()
{
    shutdown( itsSystem->descriptor, SHUT_RDWR );
}

WWaitResult WSocket::SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool inAlertable )
{
    const short events = inDirection == kForReading ? POLLIN : POLLOUT;
    const int alert = inAlertable ? static_cast<int>( WSocketAlert::GetCurrent().GetHandle() ) : -1;
    pollfd descriptors[] = { { itsSystem->descriptor, events, 0 }, { alert, POLLIN, 0 } };
    for ( ;; )
    {
        const int ready = poll( descriptors, inAlertable ? 2 : 1, ToPollTimeout( inDeadline ) );
        if ( ready > 0 )
            return descriptors[1].revents != 0 ? kWaitAlerted : kWaitSucceeded;
        if ( ready < 0 && errno != EINTR )
            return kWaitSucceeded; // the operation finds out why
        if ( inDeadline.HasPassed() )
            return kWaitTimedOut;
    }
}

// ---- Properties

WSocket::Address WSocket::GetLocalAddress() const
{
    return AskAddress( itsSystem->descriptor, getsockname );
}

WSocket::Address WSocket::GetPeerAddress() const
{
    return AskAddress( itsSystem->descriptor, getpeername );
}

/// The system counts seconds, 32767 at most.
WSocket::Outcome WSocket::SetKeepAlive( std::uint32_t inIdleMs )
{
    constexpr std::uint32_t kLeastSeconds = 1;
    constexpr std::uint32_t kMostSeconds = 32767;
    constexpr int kProbes = 10;
    const bool isOn = inIdleMs != kNoTimeout;
    if ( isOn )
    {
        const std::uint32_t roundedUp = inIdleMs / 1000 + ( inIdleMs % 1000 != 0 ? 1 : 0 );
        const int seconds = static_cast<int>( std::clamp( roundedUp, kLeastSeconds, kMostSeconds ) );
        if ( itsSystem->SetOption( IPPROTO_TCP, TCP_KEEPIDLE, seconds ) != 0 ||
             itsSystem->SetOption( IPPROTO_TCP, TCP_KEEPINTVL, 1 ) != 0 ||
             itsSystem->SetOption( IPPROTO_TCP, TCP_KEEPCNT, kProbes ) != 0 )
            return Failed();
    }
    return ToOutcome( itsSystem->SetOption( SOL_SOCKET, SO_KEEPALIVE, isOn ? 1 : 0 ) );
}
