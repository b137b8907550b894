#include "Servers/XNamedPipeServer.h"

#include "Ground/XErrorNumbers.h"
#include "Network/XPipeEndpointImp.h"

XNamedPipeServer::XNamedPipeServer( const XString& inPipeName ) : XNamedPipeServer( inPipeName, XLimits() ) {}

XNamedPipeServer::XNamedPipeServer( const XString& inPipeName, const XLimits& inLimits )
    : XServer( inPipeName, inLimits ), itsPipeName( inPipeName )
{
    if ( !WPipe::IsValidName( inPipeName ) )
        XThrow( kErrorBadParameters );
}

XNamedPipeServer::~XNamedPipeServer() = default;

void XNamedPipeServer::Start( std::uint32_t inBacklog )
{
    XAssert( !IsRunning() );
    StartAccepting( XPipeEndpointImp::BindTo( itsPipeName, inBacklog ) );
}
