#include "Network/XTLSEndpointImp.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XException.h"
#include "Ground/XErrorNumbers.h"
#include "Network/Internal/XTLSConversation.h"
#include "Network/Internal/XWaitWithCheckpoints.h"
#include "Threads/XThreadLock.h"

#include <algorithm>

// An endpoint has one conversation at a time, for the connection in use. Operations take it together with the
// connection they were given (GetConversation): if the endpoint has been connected anew meanwhile, the
// conversation is another one and the operation fails like one on a connection that has ended.
// itsConversationMutex guards the pointer only; the conversation has its own mutex, and its destruction,
// which may end a session, happens outside both.

namespace
{

/// Encrypted in one piece, before the first byte is sent.
constexpr std::uint32_t kMostBytesPerTLSSend = 64 * 1024;

XTLSConversation::XWaiter Until( const WDeadline& inDeadline )
{
    return [inDeadline]( const XTLSConversation::XWaiting& inWaiting )
    { return XWaitWithCheckpoints( [&] { return inWaiting( inDeadline ); } ); };
}

/// The time limits each wait by itself.
XTLSConversation::XWaiter EachWithin( std::uint32_t inTimeoutMS )
{
    return [inTimeoutMS]( const XTLSConversation::XWaiting& inWaiting )
    {
        const WDeadline deadline( inTimeoutMS );
        return XWaitWithCheckpoints( [&] { return inWaiting( deadline ); } );
    };
}

} // namespace

XTLSEndpointImp::XTLSEndpointImp( const std::shared_ptr<const WTLSContext>& inContext )
    : itsContext( inContext )
{
}

XTLSEndpointImp::~XTLSEndpointImp() = default;

WConnection::Outcome
XTLSEndpointImp::BeginConnection( const WConnectionPtr& inConnection, const XWaiter& inWaiter )
{
    const auto conversation =
        std::make_shared<XTLSConversation>( inConnection, itsContext, WTLSSession::kClient );
    {
        const XThreadLock lock( itsConversationMutex );
        itsConversation = conversation;
    }
    return conversation->Begin( inWaiter );
}

void XTLSEndpointImp::AnnounceEnd( const WConnectionPtr& inConnection )
{
    XSwallowErrors( [&] { GetConversation( inConnection )->End(); } );
}

/// The conversation has the connection, and would keep it open.
void XTLSEndpointImp::LetGo( const WConnectionPtr& inConnection )
{
    std::shared_ptr<XTLSConversation> ended; // longer than the lock
    const XThreadLock lock( itsConversationMutex );
    if ( itsConversation && itsConversation->IsOn( inConnection ) )
        ended = std::move( itsConversation );
}

std::unique_ptr<XSocketsTCPEndpointImp> XTLSEndpointImp::MakeAccepted( const WConnectionPtr& inConnection )
{
    auto imp = std::make_unique<XTLSEndpointImp>( itsContext );
    imp->itsConversation =
        std::make_shared<XTLSConversation>( inConnection, itsContext, WTLSSession::kServer );
    return imp;
}

// ---- Transfer

WConnection::Outcome XTLSEndpointImp::SendSome(
    const WConnectionPtr& inConnection, const void* inBytes, std::uint32_t inCount,
    std::uint32_t inTimeoutMS )
{
    const std::uint32_t count = std::min( inCount, kMostBytesPerTLSSend );
    return Converse(
        inConnection,
        [&]( XTLSConversation& ioConversation )
        { return ioConversation.Send( inBytes, count, EachWithin( inTimeoutMS ) ); } );
}

WConnection::Outcome XTLSEndpointImp::ReceiveSome(
    const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount, const WDeadline& inDeadline )
{
    return Converse(
        inConnection,
        [&]( XTLSConversation& ioConversation )
        { return ioConversation.Receive( outBytes, inCount, Until( inDeadline ) ); } );
}

WConnection::Outcome XTLSEndpointImp::PeekSome(
    const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount, const WDeadline& inDeadline )
{
    return Converse(
        inConnection,
        [&]( XTLSConversation& ioConversation )
        { return ioConversation.Peek( outBytes, inCount, Until( inDeadline ) ); } );
}

WConnection::Outcome XTLSEndpointImp::WaitForMore(
    const WConnectionPtr& inConnection, std::uint32_t inCount, const WDeadline& inDeadline )
{
    return Converse(
        inConnection,
        [&]( XTLSConversation& ioConversation )
        { return ioConversation.WaitForMore( inCount, Until( inDeadline ) ); } );
}

std::uint32_t XTLSEndpointImp::CountWaiting( const WConnectionPtr& inConnection )
{
    std::uint32_t count = 0;
    Converse(
        inConnection,
        [&]( XTLSConversation& ioConversation )
        {
            count = ioConversation.CountWaiting();
            return WConnection::Outcome{};
        } );
    return count;
}

/// Any exception of the conversation, except the stop of a thread, ends it.
template<class TOperation>
WConnection::Outcome XTLSEndpointImp::Converse( const WConnectionPtr& inConnection, TOperation inOperation )
{
    const auto conversation = GetConversation( inConnection );
    try
    {
        return inOperation( *conversation );
    }
    catch ( const XException& error )
    {
        if ( !error.ShouldReportError() )
            throw;
        if ( IsEnding( *inConnection ) ) // what came is not all that the peer has sent
            XThrow( kErrorDisconnected );
        Drop( inConnection, XNetEndpoint::kStateDisconnected );
        throw;
    }
}

std::shared_ptr<XTLSConversation> XTLSEndpointImp::GetConversation( const WConnectionPtr& inConnection ) const
{
    const XThreadLock lock( itsConversationMutex );
    if ( !itsConversation || !itsConversation->IsOn( inConnection ) )
        XThrow( kErrorDisconnected );
    return itsConversation;
}
