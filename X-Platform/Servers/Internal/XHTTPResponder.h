#pragma once

#include "Servers/Internal/XHTTPSite.h"
#include "Servers/XNetResponder.h"

/// Serves one connection of an HTTP server. Internal to XHTTPServer.
class XHTTPResponder : public XNetResponder
{
public:
    XHTTPResponder( const XString& inName, std::shared_ptr<const XHTTPSite> inSite );
    ~XHTTPResponder() override;

protected:
    void RespondSelf() override;

private:
    const std::shared_ptr<const XHTTPSite> itsSite;
};
