#pragma once

#include "Network/XConnectionEndpointImp.h"
#include "Sockets/WPipe.h"

/// An endpoint over a pipe with a name, for processes of one user on this machine (WPipe). Streams and their ciphers work
/// over it as over TCP.
///
/// Addresses and ports count for nothing: the name is that of the object, both ends have the loop-back address with port
/// 0, and there is no keep-alive, since the system always tells when a peer ends.
///
/// Errors: as XNetEndpoint; 3106 where nobody listens, or somebody else's process does. A name in use, or a folder that
/// cannot be used, is a WLastErrorException that names the pipe.
class KORVALE_API XPipeEndpointImp : public XConnectionEndpointImp
{
public:
    /// 1013 for a name that is not 1 to 64 letters, digits, '.', '_' and '-', or begins with '.'.
    explicit XPipeEndpointImp( const XString& inName );
    ~XPipeEndpointImp() override;

    /// An endpoint that is connected to the pipe.
    static XNetEndpoint ConnectTo( const XString& inName, std::uint32_t inTimeoutMS );

    /// An endpoint that listens.
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
