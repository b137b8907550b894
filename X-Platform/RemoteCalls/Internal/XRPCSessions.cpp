#include "RemoteCalls/Internal/XRPCSessions.h"

#include "Core/Errors/XException.h"
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

XRefPtr<XRPCBridge> XRPCSessions::Take( std::uint32_t inNumber )
{
    const XThreadLock lock( itsMutex );
    DropExpired();
    const auto found = itsSessions.find( inNumber );
    if ( found == itsSessions.end() )
        XThrow( kErrorUnknownSession );
    XRPCBridge* const bridge = found->second.bridge;
    itsSessions.erase( found );
    try
    {
        return XRefPtr<XRPCBridge>::Share( bridge );
    }
    catch ( const XException& ) // it is being deleted: its client has gone, and the session with it
    {
        XThrow( kErrorUnknownSession );
    }
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
