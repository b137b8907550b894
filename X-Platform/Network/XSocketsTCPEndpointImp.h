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
    void BindToAddress( const XNetAddress& inAddress, std::uint32_t inBacklog ) override;
    std::uint32_t GetKeepAliveTimeMS() override;
    void SetKeepAliveTimeMS( std::uint32_t inTimeMS ) override;

protected:
    /// Something that waits on the socket until a deadline and can be repeated when that has passed.
    using XWaiting = std::function<WConnection::Outcome( const WDeadline& )>;
    /// Does it for as long as the operation may take, with the checkpoints and the progress that belong to it.
    using XWaiter = std::function<WConnection::Outcome( const XWaiting& )>;

    // ---- For a protocol on top of the socket

    /// The socket has connected; the endpoint counts as connected when this returns.
    virtual WConnection::Outcome BeginConnection( const WConnectionPtr& inSocket, const XWaiter& inWaiter );
    /// The implementation for an accepted connection.
    virtual std::unique_ptr<XSocketsTCPEndpointImp> MakeAccepted( const WConnectionPtr& inSocket );

private:
    void ConnectWith( const XNetAddress& inAddress, const XWaiter& inWaiter );
    void
    MakeConnection( const WSocketPtr& inSocket, const WSocket::Address& inAddress, const XWaiter& inWaiter );
    void BindTo( const WSocket::Address& inAddress, std::uint32_t inBacklog );
    void BindSocket( const WSocketPtr& inSocket, const WSocket::Address& inAddress, std::uint32_t inBacklog );
    XNetEndpoint* MakeEndpoint( const WConnectionPtr& inConnection ) override;
    WSocketPtr UseNewSocket();

    std::atomic<std::uint32_t> itsKeepAliveTimeMS = kNoTimeout;
};
