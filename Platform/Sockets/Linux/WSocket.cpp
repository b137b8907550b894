#include "Sockets/WSocket.h"

#include "Sockets/Internal/WSocketHeaders.h"
#include "Sockets/Linux/WSocketDescriptor.h"
#include "Sockets/WSystemAddress.h"
#include "System/Linux/WErrno.h"

#include <algorithm>
#include <climits>
#include <mutex>
#include <netinet/tcp.h>
#include <poll.h>

struct WSocket::System
{
    template<class T>
    int SetOption( int inLevel, int inName, T inValue ) const
    {
        return setsockopt( descriptor.Get(), inLevel, inName, &inValue, sizeof( inValue ) );
    }

    /// Sets how many bytes make the socket ready for reading; false where it does not take as many.
    bool SetMark( int inBytes ) const
    {
        static std::mutex sMutex; // another thread may set one for itself
        const std::lock_guard lock( sMutex );
        SetOption( SOL_SOCKET, SO_RCVLOWAT, inBytes );
        int mark = 0;
        socklen_t size = sizeof( mark );
        getsockopt( descriptor.Get(), SOL_SOCKET, SO_RCVLOWAT, &mark, &size );
        return mark >= inBytes;
    }

    WSocketDescriptor descriptor;
};

namespace
{

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

} // namespace

// ---- Life

WSocket::WSocket() : WSocket( System{ WSocketDescriptor::Open( AF_INET ) } ) {}

WSocket::WSocket( System&& inSystem ) : itsSystem( std::make_unique<System>( std::move( inSystem ) ) )
{
    itsSystem->SetOption( IPPROTO_TCP, TCP_NODELAY, 1 );
}

WSocket::~WSocket() = default;

// ---- Server side

WSocket::Outcome WSocket::Bind( const Address& inAddress )
{
    itsSystem->SetOption( SOL_SOCKET, SO_REUSEADDR, 1 );
    const sockaddr_in address = ToSystem( inAddress );
    return WSocketDescriptor::ToOutcome( bind(
        itsSystem->descriptor.Get(), reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) ) );
}

WSocket::Outcome WSocket::Listen( std::uint32_t inBacklog )
{
    return itsSystem->descriptor.Listen( inBacklog );
}

bool WSocket::HasToWaitToAccept() const
{
    return false;
}

WSocket::Outcome WSocket::TryAccept( WConnectionPtr& outConnection )
{
    int descriptor = -1;
    const Outcome outcome = itsSystem->descriptor.TryAccept( descriptor );
    if ( outcome.status == kDone )
        outConnection.reset( new WSocket( System{ WSocketDescriptor( descriptor ) } ) );
    else if ( IsInterrupted() )
        return { kFailed, 0, kErrorAborted };
    return outcome;
}

// ---- Client side

WSocket::Outcome WSocket::StartConnecting( const Address& inAddress )
{
    const sockaddr_in address = ToSystem( inAddress );
    return WSocketDescriptor::ToOutcome( connect(
        itsSystem->descriptor.Get(), reinterpret_cast<const sockaddr*>( &address ), sizeof( address ) ) );
}

WSocket::Outcome WSocket::TryFinishConnecting()
{
    const Outcome outcome = IsInterrupted() ? Outcome{} : itsSystem->descriptor.TryFinishConnecting();
    return IsInterrupted() ? Outcome{ kFailed, 0, kErrorAborted } : outcome;
}

// ---- Transfer

WSocket::Outcome WSocket::TrySend( const void* inBytes, USize inCount )
{
    return itsSystem->descriptor.TrySend( inBytes, inCount );
}

WSocket::Outcome WSocket::TryReceive( void* outBytes, USize inCount, bool inPeek )
{
    return itsSystem->descriptor.TryReceive( outBytes, inCount, inPeek );
}

/// The system compares with a mark how many bytes have arrived. It does not take every mark: no more bytes can wait
/// than the connection has room for.
WSocket::Outcome WSocket::WaitForMore( USize inCount, const WDeadline& inDeadline )
{
    struct Mark
    {
        const System& itsSocket;
        const bool itsIsTaken;
        ~Mark() { itsSocket.SetMark( 1 ); }
    };
    {
        const int wanted = static_cast<int>( std::min<USize>( inCount, INT_MAX - 1 ) ) + 1;
        const Mark mark{ *itsSystem, itsSystem->SetMark( wanted ) };
        if ( !mark.itsIsTaken )
            return { kFailed, 0, kErrorNoBuffers };
        if ( const WWaitResult result = Wait( kForReading, inDeadline ); result != kWaitSucceeded )
            return { result == kWaitAlerted ? kAlerted : kTimedOut };
    }
    // Confirms the count, and waits by looking at intervals if it is not reached.
    return WConnection::WaitForMore( inCount, inDeadline ); // the system wakes for want of room, too
}

std::uint32_t WSocket::GetWaitingBytes() const
{
    return itsSystem->descriptor.GetWaitingBytes();
}

// ---- End

void WSocket::ShutDownSending()
{
    itsSystem->descriptor.ShutDownSending();
}

bool WSocket::HasPeerClosed() const
{
    return itsSystem->descriptor.HasPeerClosed();
}

void WSocket::EndConnection()
{
    itsSystem->descriptor.End();
}

WWaitResult WSocket::SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool inAlertable )
{
    constexpr short kEvents[] = { POLLIN, POLLOUT, POLLRDHUP };
    return itsSystem->descriptor.Sleep( kEvents[inDirection], inDeadline, inAlertable );
}

// ---- Properties

WSocket::Address WSocket::GetLocalAddress() const
{
    return AskAddress( itsSystem->descriptor.Get(), getsockname );
}

WSocket::Address WSocket::GetPeerAddress() const
{
    return AskAddress( itsSystem->descriptor.Get(), getpeername );
}

/// The system counts seconds, 32767 at most.
WSocket::Outcome WSocket::SetKeepAlive( std::uint32_t inIdleMS )
{
    constexpr std::uint32_t kLeastSeconds = 1;
    constexpr std::uint32_t kMostSeconds = 32767;
    // With one probe a second, a dead peer is noticed about ten seconds after the idle time.
    constexpr int kProbes = 10;
    const bool isOn = inIdleMS != kNoTimeout;
    if ( isOn )
    {
        const std::uint32_t roundedUp = inIdleMS / 1000 + ( inIdleMS % 1000 != 0 ? 1 : 0 );
        const int seconds = static_cast<int>( std::clamp( roundedUp, kLeastSeconds, kMostSeconds ) );
        if ( itsSystem->SetOption( IPPROTO_TCP, TCP_KEEPIDLE, seconds ) != 0 ||
             itsSystem->SetOption( IPPROTO_TCP, TCP_KEEPINTVL, 1 ) != 0 ||
             itsSystem->SetOption( IPPROTO_TCP, TCP_KEEPCNT, kProbes ) != 0 )
            return WSocketDescriptor::Failed( errno );
    }
    return WSocketDescriptor::ToOutcome( itsSystem->SetOption( SOL_SOCKET, SO_KEEPALIVE, isOn ? 1 : 0 ) );
}
