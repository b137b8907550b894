#pragma once

#include "Servers/XServer.h"

/// A server that listens on a named pipe, for processes of this user on this machine. Clients connect with
/// `XPipeEndpointImp::ConnectTo`; responders are the same as those of a network server.
class KORVALE_API XNamedPipeServer : public XServer
{
public:
    /// The name of the pipe is also that of the server. Throws 1013 for an invalid name (XPipeEndpointImp).
    explicit XNamedPipeServer( const XString& inPipeName );
    XNamedPipeServer( const XString& inPipeName, const XLimits& inLimits );
    ~XNamedPipeServer() override;

    /// Starts listening and accepting. Throws a WLastErrorException that names the pipe: 10048 if it is
    /// already in use, 1021 if other users have access to its folder; or the system's last error if a thread
    /// cannot be started. An internal error if the server is running.
    void Start( std::uint32_t inBacklog = XNetEndpoint::kMostBacklog );

    XString GetPipeName() const { return itsPipeName; }

private:
    const XString itsPipeName;
};
