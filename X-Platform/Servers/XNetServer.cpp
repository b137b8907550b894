#include "Servers/XNetServer.h"

#include "Network/XTLSEndpointImp.h"

XNetServer::XNetServer( const XString& inName ) : XNetServer( inName, XLimits() ) {}

XNetServer::XNetServer( const XString& inName, const XLimits& inLimits ) : XServer( inName, inLimits ) {}

XNetServer::~XNetServer() = default;

void XNetServer::Start( std::int32_t inPort, std::uint32_t inBacklog )
{
    StartOn( inPort, inBacklog );
}

void XNetServer::Start( const XNetAddress& inAddress, std::uint32_t inBacklog )
{
    StartOn( inAddress, inBacklog );
}

template<class TPlace>
void XNetServer::StartOn( const TPlace& inPlace, std::uint32_t inBacklog )
{
    XAssert( !IsRunning() );
    XNetEndpoint listener;
    if ( itsTLSContext )
        listener = XNetEndpoint( std::make_unique<XTLSEndpointImp>( itsTLSContext ) );
    listener.Bind( inPlace, inBacklog );
    StartAccepting( listener );
}

std::int32_t XNetServer::GetPort() const
{
    return IsRunning() ? GetListener().GetLocalPort() : 0;
}
