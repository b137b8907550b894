#include "Servers/Internal/XHTTPResponder.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Servers/Internal/XHTTPConnection.h"

XHTTPResponder::XHTTPResponder( const XString& inName, std::shared_ptr<const XHTTPSite> inSite )
    : XNetResponder( inName ), itsSite( std::move( inSite ) )
{
}

XHTTPResponder::~XHTTPResponder()
{
    XSwallowErrors( [this] { StopResponding(); } );
}

void XHTTPResponder::RespondSelf()
{
    XNetEndpoint endpoint = GetEndpoint();
    XHTTPConnection( *itsSite, endpoint ).Serve( [this] { SetAuthenticated(); } );
}
