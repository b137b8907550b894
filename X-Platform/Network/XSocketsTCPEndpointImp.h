#pragma once

#include "Network/XConnectionEndpointImp.h"
#include "Sockets/WSocket.h"

#include <functional>

/// An endpoint over a TCP socket of the system.
class KORVALE_API XSocketsTCPEndpointImp : public XConnectionEndpointImp
{
public:
    XSocketsTCPEndpointImp();
    ~XSocketsTCPEndpointImp() override;

    void Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) override;
    void ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) override;
    void Bind( std::int32_t inPort, std::uint32_t inBacklog ) override;
    std::uint32_t GetKeepAliveTimeMS() override;
    void SetKeepAliveTimeMS( std::uint32_t inTimeMS ) override;

private:
    /// Waits until a socket that has begun to connect has ended that.
    using XWaitForConnection = std::function<WSocket::Outcome( WSocket& )>;

    void ConnectWith( const XNetAddress& inAddress, const XWaitForConnection& inWait );
    void MakeConnection(
        const WSocketPtr& inSocket, const WSocket::Address& inAddress, const XWaitForConnection& inWait );
    void BindSocket( const WSocketPtr& inSocket, std::uint16_t inPort, std::uint32_t inBacklog );
    XNetEndpoint* MakeEndpoint( const WConnectionPtr& inConnection ) override;
    WSocketPtr UseNewSocket();

    std::atomic<std::uint32_t> itsKeepAliveTimeMS = kNoTimeout;
};
