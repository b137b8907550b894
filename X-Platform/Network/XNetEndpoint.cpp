#include "Network/XNetEndpoint.h"

#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "Ground/XErrorNumbers.h"
#include "Network/XSocketsTCPEndpointImp.h"
#include "Sockets/WNetwork.h"
#include "Threads/XCheckpoint.h"
#include "Threads/XStopThreadException.h"
#include "Threads/XThreadLock.h"

#include <optional>
#include <string>

// An endpoint is a handle: copies share the implementation and the mutex. The mutex serialises connecting,
// binding, sending and the orderly disconnection, each of which would disturb the others; receiving and
// listening have no need of it, and ending must not wait for it. A ForceDisconnect that comes while several
// addresses are tried would only end the attempt with one of them, so it also counts `disconnects`, which the
// loop compares.

struct XNetEndpoint::XShared
{
    explicit XShared( std::unique_ptr<XNetEndpointImp> inImp ) : imp( std::move( inImp ) ) {}

    const std::unique_ptr<XNetEndpointImp> imp;
    XMutex mutex;                               // of the operations that are done one at a time
    std::atomic<std::uint32_t> disconnects = 0; // requests to end the connection
};

namespace
{

/// The addresses to try, in order.
XVector<XNetAddress> GetCandidates( const XNetAddress& inAddress, bool inTryAdapters )
{
    if ( inAddress.GetIPAddress( true ) != 0 )
        return { inAddress };
    XVector<XNetAddress> candidates;
    if ( inTryAdapters )
        for ( const std::uint32_t adapter : inAddress.GetLocalIPNetAdapters() )
            candidates.emplace_back( adapter, inAddress.GetPort() );
    if ( candidates.empty() )
        XThrow( kErrorHostNotFound );
    return candidates;
}

/// Whether another address may do better: no stop, no abort, no fault of the program.
bool IsWorthAnotherTry( const XException& inError )
{
    return inError.ShouldReportError() && !inError.IsCrashError() &&
        !dynamic_cast<const XStopThreadException*>( &inError );
}

} // namespace

XNetEndpoint::XNetEndpoint() : XNetEndpoint( std::make_unique<XSocketsTCPEndpointImp>() ) {}

XNetEndpoint::XNetEndpoint( std::unique_ptr<XNetEndpointImp> inImp )
    : itsShared( std::make_shared<XShared>( std::move( inImp ) ) )
{
}

XNetEndpoint::~XNetEndpoint() = default;

// ---- Connections

void XNetEndpoint::Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters )
{
    ConnectToCandidates( inAddress, inTimeoutMS, inTryAdapters, &XNetEndpointImp::Connect );
}

void XNetEndpoint::ConnectWithProgress(
    const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters )
{
    ConnectToCandidates( inAddress, inTimeoutMS, inTryAdapters, &XNetEndpointImp::ConnectWithProgress );
}

void XNetEndpoint::ConnectToCandidates(
    const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters, XConnect inConnect )
{
    const XThreadLock lock( itsShared->mutex, kNoTimeout, true );
    const std::uint32_t disconnects = itsShared->disconnects;
    const XVector<XNetAddress> candidates = GetCandidates( inAddress, inTryAdapters );
    const auto count = static_cast<std::uint32_t>( candidates.size() );
    // Each address gets an equal part of the time; what one leaves unused is not passed on.
    const std::uint32_t share = inTimeoutMS == kNoTimeout ? kNoTimeout : inTimeoutMS / count;
    for ( const XNetAddress& candidate : candidates )
    {
        XRunCheckpoint();
        if ( itsShared->disconnects != disconnects )
            XThrow( kErrorDisconnected );
        try
        {
            return ( *itsShared->imp.*inConnect )( candidate, share );
        }
        catch ( const XException& error )
        {
            const bool isLast = &candidate == &candidates.back();
            if ( isLast || !IsWorthAnotherTry( error ) )
                throw;
        }
    }
}

void XNetEndpoint::Bind( std::int32_t inPort, std::uint32_t inBacklog )
{
    const XThreadLock lock( itsShared->mutex );
    itsShared->imp->Bind( inPort, inBacklog );
}

void XNetEndpoint::Bind( const XNetAddress& inAddress, std::uint32_t inBacklog )
{
    const XThreadLock lock( itsShared->mutex );
    itsShared->imp->BindToAddress( inAddress, inBacklog );
}

/// Without the mutex, as `ForceDisconnect`: the operation that holds it may be the one to end.
void XNetEndpoint::Unbind()
{
    ++itsShared->disconnects;
    itsShared->imp->Unbind();
}

XNetEndpoint* XNetEndpoint::Listen()
{
    return itsShared->imp->Listen();
}

/// Waits for its turn no longer than for the peer: in its way may be a send that the peer never takes.
void XNetEndpoint::Disconnect( std::uint32_t inTimeoutMS )
{
    const XTimer timer( inTimeoutMS );
    try
    {
        // A time-out here means that a send blocks the way; the handler below ends the connection without
        // order then.
        const XThreadLock lock( itsShared->mutex, inTimeoutMS, true );
        itsShared->imp->Disconnect( timer.GetRemainingMS() );
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() != kErrorTimedOut )
            throw;
        ForceDisconnect();
        XThrow( kErrorConnectionTimedOut );
    }
}

void XNetEndpoint::ForceDisconnect()
{
    ++itsShared->disconnects;
    itsShared->imp->ForceDisconnect();
}

// ---- Transfer

void XNetEndpoint::SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    const XThreadLock lock( itsShared->mutex, kNoTimeout, true );
    itsShared->imp->SendData( buffer, length, inTimeoutMS );
}

std::uint32_t XNetEndpoint::ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    return itsShared->imp->ReceiveAnyData( buffer, length, inTimeoutMS );
}

void XNetEndpoint::ReceiveData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    auto* bytes = static_cast<char*>( buffer );
    while ( length > 0 )
    {
        const std::uint32_t received = ReceiveAnyData( bytes, length, inTimeoutMS );
        bytes += received;
        length -= received;
    }
}

/// Bytes that have arrived by the time-out still count, but not those that the peer sends later.
XString XNetEndpoint::ReceiveLine( const XString& inTerminator, std::uint32_t inTimeoutMS )
{
    if ( inTerminator.IsEmpty() )
        XThrow( kErrorBadParameters );
    const XTimer timer( inTimeoutMS );
    std::optional<std::size_t> mostBytes;
    std::string line;
    do
    {
        // The bytes that were there at the time-out, once and for all: a peer that goes on sending gets no
        // more time.
        if ( !mostBytes && timer.HasExpired() )
            mostBytes = line.size() + GetWaitingBytes();
        if ( mostBytes && line.size() > *mostBytes )
            XThrow( kErrorConnectionTimedOut );
        char next = 0;
        ReceiveAnyData( &next, 1, timer.GetRemainingMS() );
        line += next;
    } while ( !line.ends_with( inTerminator.GetStringView() ) );
    line.resize( line.size() - inTerminator.GetLength() );
    return XString( line );
}

std::uint32_t XNetEndpoint::PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    return itsShared->imp->PeekAnyData( buffer, length, inTimeoutMS );
}

void XNetEndpoint::PeekData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS )
{
    const XTimer timer( inTimeoutMS );
    while ( length > 0 && PeekAnyData( buffer, length, timer.GetRemainingMS() ) < length )
        itsShared->imp->WaitForMoreData( length - 1, timer.GetRemainingMS() );
}

std::uint32_t XNetEndpoint::GetWaitingBytes() const
{
    return itsShared->imp->GetWaitingBytes();
}

// ---- Properties

XNetEndpoint::XState XNetEndpoint::GetState() const
{
    return itsShared->imp->GetState();
}

XNetAddress XNetEndpoint::GetLocalAddress() const
{
    return itsShared->imp->GetLocalAddress();
}

std::int32_t XNetEndpoint::GetLocalPort() const
{
    return itsShared->imp->GetLocalPort();
}

XNetAddress XNetEndpoint::GetRemoteAddress() const
{
    return itsShared->imp->GetRemoteAddress();
}

std::uint32_t XNetEndpoint::GetKeepAliveTimeMS() const
{
    return itsShared->imp->GetKeepAliveTimeMS();
}

void XNetEndpoint::SetKeepAliveTimeMS( std::uint32_t inTimeMS )
{
    itsShared->imp->SetKeepAliveTimeMS( inTimeMS );
}

std::uint64_t XNetEndpoint::GetTotalBytesRead() const
{
    return itsShared->imp->GetTotalBytesRead();
}

std::uint64_t XNetEndpoint::GetTotalBytesWritten() const
{
    return itsShared->imp->GetTotalBytesWritten();
}

std::uint64_t XNetEndpoint::GetAvgBytesReadPerSec() const
{
    return itsShared->imp->GetAvgBytesReadPerSec();
}

std::uint64_t XNetEndpoint::GetAvgBytesWrittenPerSec() const
{
    return itsShared->imp->GetAvgBytesWrittenPerSec();
}

XNetEndpointImp* XNetEndpoint::GetImplementation() const
{
    return itsShared->imp.get();
}

bool XNetEndpoint::IsConnectedToInternet()
{
    return WNetwork::IsConnectedToInternet();
}
