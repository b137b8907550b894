#include "Servers/XHTTPServer.h"

#include "Servers/Internal/XHTTPResponder.h"
#include "Servers/Internal/XHTTPSite.h"

XHTTPServer::XHTTPServer( const XString& inName ) : XHTTPServer( inName, XLimits() ) {}

/// Connections count as strangers until their first request has come, and there may be as many of them as of the others.
XHTTPServer::XHTTPServer( const XString& inName, const XLimits& inLimits )
    : itsSite( std::make_shared<XHTTPSite>( inLimits ) ),
      itsServer( inName, { inLimits.idleMS, inLimits.mostConnections } )
{
    itsServer.SetOnlyResponder( [site = itsSite, inName]
                                { return std::make_unique<XHTTPResponder>( inName, site ); } );
}

XHTTPServer::~XHTTPServer() = default;

void XHTTPServer::HandleGet( const std::string& inPath, XHandler inHandler )
{
    itsSite->Add( inPath, { std::move( inHandler ), nullptr } );
}

void XHTTPServer::HandlePost( const std::string& inPath, XHandler inHandler )
{
    itsSite->Add( inPath, { nullptr, std::move( inHandler ) } );
}

void XHTTPServer::ServeFolder( const std::string& inPath, const std::filesystem::path& inFolder )
{
    itsSite->AddFolder( inPath, inFolder );
}

void XHTTPServer::Start( std::int32_t inPort )
{
    itsServer.Start( inPort );
}

void XHTTPServer::Start( const XNetAddress& inAddress )
{
    itsServer.Start( inAddress );
}

void XHTTPServer::Stop()
{
    itsServer.Stop();
}
