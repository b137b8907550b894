#include "Sockets/Linux/WSocketDescriptor.h"

#include "Sockets/Internal/WSocketHeaders.h"
#include "Sockets/WSocketAlert.h"
#include "System/Linux/WErrno.h"

#include <algorithm>
#include <climits>
#include <poll.h>
#include <sys/ioctl.h>
#include <utility>

// Every descriptor is non-blocking and closed on exec. Results have the codes of Windows sockets on both
// systems. The class only calls and translates; waiting and repeating is in WConnection.

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
        return WConnection::kErrorAccess;
    default:
        return WSystemError::FromErrno( inErrno );
    }
}

/// Repeats a call that was interrupted by a signal.
template<class TCall>
auto Uninterrupted( TCall inCall )
{
    for ( ;; )
        if ( const auto result = inCall(); result >= 0 || errno != EINTR )
            return result;
}

/// Connections that ended before they were accepted, and other errors of one connection that the system
/// reports on accepting it. The next connection may be intact.
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

/// Limits the time of one poll, which takes milliseconds in an int. A longer wait is continued by another
/// poll.
int ToPollTimeout( const WDeadline& inDeadline )
{
    const std::uint32_t left = inDeadline.GetMillisecondsLeft();
    return left == kNoTimeout ? -1 : static_cast<int>( std::min<std::uint32_t>( left, INT_MAX ) );
}

} // namespace

// ---- Life

WSocketDescriptor::WSocketDescriptor( WSocketDescriptor&& inOther ) noexcept
    : itsDescriptor( std::exchange( inOther.itsDescriptor, -1 ) )
{
}

WSocketDescriptor::~WSocketDescriptor()
{
    if ( itsDescriptor >= 0 )
        close( itsDescriptor );
}

WSocketDescriptor WSocketDescriptor::Open( int inFamily )
{
    const int descriptor = socket( inFamily, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0 );
    if ( descriptor >= 0 )
        return WSocketDescriptor( descriptor );
    WSystemError::SetLast( ToSocketError( errno ) );
    XThrowLastSystemError();
}

WConnection::Outcome WSocketDescriptor::Failed( int inErrno )
{
    return { WConnection::kFailed, 0, ToSocketError( inErrno ) };
}

WConnection::Outcome WSocketDescriptor::ToOutcome( std::int64_t inResult )
{
    return inResult < 0 ? Failed( errno ) : Outcome{ WConnection::kDone, static_cast<USize>( inResult ) };
}

// ---- Connections

WConnection::Outcome WSocketDescriptor::Listen( std::uint32_t inBacklog ) const
{
    return ToOutcome(
        listen( itsDescriptor, static_cast<int>( std::min<std::uint32_t>( inBacklog, INT_MAX ) ) ) );
}

WConnection::Outcome WSocketDescriptor::TryAccept( int& outDescriptor ) const
{
    // Takes the flags in the same call, so that no child process can inherit the descriptor in between.
    outDescriptor = Uninterrupted(
        [&] { return accept4( itsDescriptor, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC ); } );
    if ( outDescriptor >= 0 )
        return {};
    return Failed( IsErrorOfConnection( errno ) ? EAGAIN : errno );
}

WConnection::Outcome WSocketDescriptor::TryFinishConnecting() const
{
    pollfd connecting{ itsDescriptor, POLLOUT, 0 };
    if ( Uninterrupted( [&] { return poll( &connecting, 1, 0 ); } ) == 0 )
        return Failed( EAGAIN );
    int error = 0;
    socklen_t size = sizeof( error );
    // Writable means that the attempt is over; the pending error tells how.
    if ( getsockopt( itsDescriptor, SOL_SOCKET, SO_ERROR, &error, &size ) != 0 )
        error = errno;
    return error == 0 ? Outcome{} : Failed( error );
}

// ---- Transfer

WConnection::Outcome WSocketDescriptor::TrySend( const void* inBytes, USize inCount ) const
{
    return ToOutcome(
        Uninterrupted( [&] { return send( itsDescriptor, inBytes, inCount, MSG_NOSIGNAL ); } ) );
}

WConnection::Outcome WSocketDescriptor::TryReceive( void* outBytes, USize inCount, bool inPeek ) const
{
    return ToOutcome(
        Uninterrupted( [&] { return recv( itsDescriptor, outBytes, inCount, inPeek ? MSG_PEEK : 0 ); } ) );
}

std::uint32_t WSocketDescriptor::GetWaitingBytes() const
{
    int count = 0;
    return ioctl( itsDescriptor, FIONREAD, &count ) == 0 ? static_cast<std::uint32_t>( count ) : 0;
}

// ---- End

void WSocketDescriptor::ShutDownSending() const
{
    shutdown( itsDescriptor, SHUT_WR );
}

bool WSocketDescriptor::HasPeerClosed() const
{
    pollfd state{ itsDescriptor, POLLRDHUP, 0 };
    return Uninterrupted( [&] { return poll( &state, 1, 0 ); } ) > 0;
}

void WSocketDescriptor::End() const
{
    shutdown( itsDescriptor, SHUT_RDWR );
}

WWaitResult WSocketDescriptor::Sleep( short inEvents, const WDeadline& inDeadline, bool inAlertable ) const
{
    const int alert = inAlertable ? static_cast<int>( WSocketAlert::GetCurrent().GetHandle() ) : -1;
    pollfd descriptors[] = { { itsDescriptor, inEvents, 0 }, { alert, POLLIN, 0 } };
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
