#pragma once

#include "Network/XNetEndpoint.h"
#include "Threads/XMutex.h"

#include <atomic>

/// The implementation of an XNetEndpoint for one kind of connection. The operations and their errors are
/// those of XNetEndpoint, which calls `Connect`, `Bind`, `Disconnect` and `SendData` one at a time.
/// Threads: every operation may be called from any thread while others run, in particular those that end the
/// connection.
class KORVALE_API XNetEndpointImp
{
public:
    XNetEndpointImp( const XNetEndpointImp& ) = delete;
    XNetEndpointImp& operator=( const XNetEndpointImp& ) = delete;
    virtual ~XNetEndpointImp();

    virtual void Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) = 0;
    virtual void ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS ) = 0;
    virtual void Bind( std::int32_t inPort, std::uint32_t inBacklog ) = 0;
    /// Ignores the address if the kind of endpoint has no adapters.
    virtual void BindToAddress( const XNetAddress& inAddress, std::uint32_t inBacklog );
    virtual XNetEndpoint* Listen() = 0;
    virtual void Unbind() = 0;
    virtual void Disconnect( std::uint32_t inTimeoutMS ) = 0;
    virtual void ForceDisconnect() = 0;
    virtual void SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) = 0;
    virtual std::uint32_t ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) = 0;
    virtual std::uint32_t PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) = 0;
    virtual std::uint32_t GetWaitingBytes() = 0;
    virtual std::uint32_t GetKeepAliveTimeMS() = 0;
    virtual void SetKeepAliveTimeMS( std::uint32_t inTimeMS ) = 0;
    virtual std::uint64_t GetTotalBytesRead() = 0;
    virtual std::uint64_t GetTotalBytesWritten() = 0;
    virtual std::uint64_t GetAvgBytesReadPerSec() = 0;
    virtual std::uint64_t GetAvgBytesWrittenPerSec() = 0;

    /// Waits until more than `inCount` bytes can be received, or for a short time if the connection cannot
    /// wait for that. Throws 3100 if no more bytes will arrive.
    virtual void WaitForMoreData( std::uint32_t inCount, std::uint32_t inTimeoutMS );

    XNetEndpoint::XState GetState() const { return itsState; }
    XNetAddress GetLocalAddress();
    std::int32_t GetLocalPort();
    XNetAddress GetRemoteAddress();

protected:
    XNetEndpointImp() = default;

    /// An address with its port; or this machine's own address with that port, which is looked up on first
    /// use because that may take long.
    struct XPlace
    {
        XNetAddress address;
        bool isThisMachine = false;
    };

    void SetLocalPlace( const XPlace& inPlace );
    void SetRemotePlace( const XPlace& inPlace );

    std::atomic<XNetEndpoint::XState> itsState = XNetEndpoint::kStateDisconnected;

private:
    XNetAddress Resolve( XPlace& ioPlace );

    XMutex itsPlacesMutex;
    XPlace itsLocalPlace;  // guarded by itsPlacesMutex
    XPlace itsRemotePlace; // guarded by itsPlacesMutex
};
