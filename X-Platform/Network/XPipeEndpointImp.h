#pragma once

#include "Network/XConnectionEndpointImp.h"
#include "Sockets/WPipe.h"

/// An endpoint over a named pipe, for processes of one user on this machine (WPipe). Streams and their
/// ciphers work over it as over TCP.
///
/// Addresses and ports are ignored: the object has the name, both ends have the loop-back address with port
/// 0, and there is no keep-alive, since the system always reports the end of a peer.
///
/// Errors: those of XNetEndpoint; 3106 if nobody listens or another user's process does. A name in use and a
/// folder that cannot be used are WLastErrorExceptions that name the pipe.
class KORVALE_API XPipeEndpointImp : public XConnectionEndpointImp
{
public:
    /// Throws 1013 unless the name has 1 to 64 letters, digits, '.', '_' and '-', and does not begin with
    /// '.'.
    explicit XPipeEndpointImp( const XString& inName );
    ~XPipeEndpointImp() override;

    /// Returns an endpoint connected to the pipe.
    static XNetEndpoint ConnectTo( const XString& inName, std::uint32_t inTimeoutMS );

    /// Returns a listening endpoint.
    static XNetEndpoint BindTo( const XString& inName, std::uint32_t inBacklog = XNetEndpoint::kMostBacklog );

    void Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) override;
    void ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) override;
    void Bind( std::int32_t inPort, std::uint32_t inBacklog ) override;
    std::uint32_t GetKeepAliveTimeMS() override;
    void SetKeepAliveTimeMS( std::uint32_t inTimeMS ) override;

private:
    XNetEndpoint* MakeEndpoint( const WConnectionPtr& inConnection ) override;

    template<class TBegin>
    void BeginUse( TBegin inBegin );

    const XString itsName;
};
