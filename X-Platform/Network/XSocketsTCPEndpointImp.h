#pragma once

#include "Network/XNetEndpointImp.h"
#include "Network/XTransferStatistics.h"
#include "Sockets/WSocket.h"

#include <functional>

/// An endpoint over a TCP socket of the system.
///
/// The socket is taken out of the object to end its use: from then on no operation finds it, those that use it are woken,
/// and the last of them closes it.
class KORVALE_API XSocketsTCPEndpointImp : public XNetEndpointImp
{
public:
    XSocketsTCPEndpointImp();
    ~XSocketsTCPEndpointImp() override;

    void Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) override;
    void ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) override;
    void Bind( std::int32_t inPort, std::uint32_t inBacklog ) override;
    XNetEndpoint* Listen() override;
    void Unbind() override;
    void Disconnect( std::uint32_t inTimeoutMS ) override;
    void ForceDisconnect() override;
    void SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) override;
    std::uint32_t ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) override;
    std::uint32_t PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) override;
    std::uint32_t GetWaitingBytes() override;
    std::uint32_t GetKeepAliveTimeMS() override;
    void SetKeepAliveTimeMS( std::uint32_t inTimeMS ) override;
    std::uint64_t GetTotalBytesRead() override;
    std::uint64_t GetTotalBytesWritten() override;
    std::uint64_t GetAvgBytesReadPerSec() override;
    std::uint64_t GetAvgBytesWrittenPerSec() override;
    void WaitForMoreData( std::uint32_t inCount, std::uint32_t inTimeoutMS ) override;

private:
    static constexpr std::uint32_t kMostBytesPerTransfer = 65535;

    /// Waits until a socket that has begun to connect has ended that.
    using XWaitForConnection = std::function<WSocket::Outcome( WSocket& )>;

    void ConnectWith( const XNetAddress& inAddress, const XWaitForConnection& inWait );
    void MakeConnection(
        const WSocketPtr& inSocket, const WSocket::Address& inAddress, const XWaitForConnection& inWait );
    void BindSocket( const WSocketPtr& inSocket, std::uint16_t inPort, std::uint32_t inBacklog );
    WSocketPtr AcceptConnection( const WSocketPtr& inSocket );
    XNetEndpoint* MakeEndpoint( const WSocketPtr& inSocket );
    void TakeOver( const WSocketPtr& inSocket );
    void Drain( WSocket& ioSocket, std::uint32_t inTimeoutMS );

    template<class TTransfer>
    std::uint32_t ReceiveOrPeek( std::uint32_t inLength, TTransfer inTransfer );

    WSocketPtr GetSocket() const;
    WSocketPtr UseNewSocket();
    WSocketPtr TakeSocket( XNetEndpoint::XState inNewState );
    void DropSocket( const WSocketPtr& inSocket, XNetEndpoint::XState inNewState );
    void EndUse( XNetEndpoint::XState inNewState );
    void ResetStatistics();

    [[noreturn]] void Fail( const WSocketPtr& inSocket, std::uint32_t inError );
    [[noreturn]] void FailDisconnected( const WSocketPtr& inSocket );
    void Check( const WSocketPtr& inSocket, const WSocket::Outcome& inOutcome );

    mutable XMutex itsMutex; // held for moments only
    // Guarded by itsMutex, as are changes of the state:
    WSocketPtr itsSocket;
    WSocketPtr itsClosingSocket; // that `Disconnect` is about to close
    std::uint32_t itsKeepAliveTimeMS = kNoTimeout;

    XTransferStatistics itsBytesRead;
    XTransferStatistics itsBytesWritten;
};
