#include "RemoteCalls/Internal/XRPCSessions.h"

#include "Threads/XThreadLock.h"

XRPCSessions& XRPCSessions::Get()
{
    static XRPCSessions sSessions;
    return sSessions;
}

std::uint32_t XRPCSessions::Request(
    XRPCBridge& ioBridge, std::uint32_t inTimeoutMS, const std::function<std::uint32_t()>& inDrawNumber )
{
    const XThreadLock lock( itsMutex );
    DropExpired();
    for ( const auto& [number, session] : itsSessions )
        if ( session.bridge == &ioBridge )
            XThrow( kErrorSessionRequested );
    for ( ;; )
    {
        const std::uint32_t number = inDrawNumber();
        if ( itsSessions.emplace( number, XSession{ &ioBridge, XTimer( inTimeoutMS ) } ).second )
            return number;
    }
}

/// A bridge that is being deleted has no references to give (1027); the client has gone.
XRefPtr<XRPCBridge> XRPCSessions::Take( std::uint32_t inNumber )
{
    const XThreadLock lock( itsMutex );
    DropExpired();
    const auto found = itsSessions.find( inNumber );
    if ( found == itsSessions.end() )
        XThrow( kErrorUnknownSession );
    XRPCBridge* const bridge = found->second.bridge;
    itsSessions.erase( found );
    return XRefPtr<XRPCBridge>::Share( bridge );
}

void XRPCSessions::Withdraw( const XRPCBridge& inBridge )
{
    const XThreadLock lock( itsMutex );
    std::erase_if( itsSessions, [&]( const auto& inEntry ) { return inEntry.second.bridge == &inBridge; } );
}

void XRPCSessions::DropExpired()
{
    std::erase_if( itsSessions, []( const auto& inEntry ) { return inEntry.second.timer.HasExpired(); } );
}
