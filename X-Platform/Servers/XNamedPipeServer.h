#pragma once

#include "Servers/XServer.h"

/// A server that listens on a pipe with a name, for processes of this user on this machine. Clients connect by
/// `XPipeEndpointImp::ConnectTo`; the responders are those of a network server.
class KORVALE_API XNamedPipeServer : public XServer
{
public:
    /// The name of the pipe is that of the server too. 1013 for one that is not valid (XPipeEndpointImp).
    explicit XNamedPipeServer( const XString& inPipeName );
    XNamedPipeServer( const XString& inPipeName, const XLimits& inLimits );
    ~XNamedPipeServer() override;

    /// Listens and accepts from now on. A WLastErrorException that names the pipe: 10048 where somebody listens on it,
    /// 1021 where its folder is not this user's alone. The system's last error when a thread cannot be started. A server
    /// that runs is an internal error.
    void Start( std::uint32_t inBacklog = XNetEndpoint::kMostBacklog );

    XString GetPipeName() const { return itsPipeName; }

private:
    const XString itsPipeName;
};
