#pragma once

#include "Network/XConnectionEndpointImp.h"
#include "Sockets/WSocket.h"

#include <functional>

/// An endpoint over a TCP socket.
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
    /// An operation that waits on the socket until a deadline, and can be repeated after a time-out.
    using XWaiting = std::function<WConnection::Outcome( const WDeadline& )>;
    /// Repeats such an operation for as long as the time-out permits, with checkpoints and progress.
    using XWaiter = std::function<WConnection::Outcome( const XWaiting& )>;

    // ---- For a protocol on top of the socket

    /// Called when the socket has connected; the endpoint is connected when this returns.
    virtual WConnection::Outcome BeginConnection( const WConnectionPtr& inSocket, const XWaiter& inWaiter );
    /// Creates the implementation for an accepted connection.
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
