#pragma once

#include "Network/XNetEndpointImp.h"
#include "Network/XTransferStatistics.h"
#include "Sockets/WConnection.h"

/// Base of endpoints over a connection of the system. A subclass connects, binds and creates the endpoints of
/// accepted connections.
///
/// To end its use, the connection is taken out of the object: later operations do not find it, running ones
/// are woken, and the last of them closes it.
///
/// A subclass may also add a protocol between the connection and the endpoint's bytes.
class KORVALE_API XConnectionEndpointImp : public XNetEndpointImp
{
public:
    ~XConnectionEndpointImp() override;

    XNetEndpoint* Listen() override;
    void Unbind() override;
    void Disconnect( std::uint32_t inTimeoutMS ) override;
    void ForceDisconnect() override;
    void SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) override;
    std::uint32_t ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) override;
    std::uint32_t PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS ) override;
    std::uint32_t GetWaitingBytes() override;
    std::uint64_t GetTotalBytesRead() override;
    std::uint64_t GetTotalBytesWritten() override;
    std::uint64_t GetAvgBytesReadPerSec() override;
    std::uint64_t GetAvgBytesWrittenPerSec() override;
    void WaitForMoreData( std::uint32_t inCount, std::uint32_t inTimeoutMS ) override;

protected:
    XConnectionEndpointImp();

    /// Creates the endpoint of an accepted connection.
    virtual XNetEndpoint* MakeEndpoint( const WConnectionPtr& inConnection ) = 0;

    // ---- For a protocol on top of the connection; by default there is none. Exceptions and failed outcomes
    // of these functions fail the operation of the endpoint.

    virtual WConnection::Outcome SendSome(
        const WConnectionPtr& inConnection, const void* inBytes, std::uint32_t inCount,
        std::uint32_t inTimeoutMS );
    virtual WConnection::Outcome ReceiveSome(
        const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount,
        const WDeadline& inDeadline );
    virtual WConnection::Outcome PeekSome(
        const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount,
        const WDeadline& inDeadline );
    virtual WConnection::Outcome
    WaitForMore( const WConnectionPtr& inConnection, std::uint32_t inCount, const WDeadline& inDeadline );
    virtual std::uint32_t CountWaiting( const WConnectionPtr& inConnection );
    /// Called when `Disconnect` is about to shut the connection down. Must not wait.
    virtual void AnnounceEnd( const WConnectionPtr& inConnection );
    /// Called when the endpoint stops using the connection, except by the destructor.
    virtual void LetGo( const WConnectionPtr& inConnection );

    // ---- For subclasses

    /// Uses a connection that is about to connect or to listen. An internal error if one is already in use.
    void Use( const WConnectionPtr& inConnection );

    /// The operation begun with the connection has succeeded. Throws 3100 if the connection has been ended
    /// meanwhile.
    void TakeOver( const WConnectionPtr& inConnection, XNetEndpoint::XState inNewState );

    /// Starts with an established connection. For a new object.
    void SetConnected( const WConnectionPtr& inConnection );

    /// Ends the use of this connection, unless this has been done.
    void Drop( const WConnectionPtr& inConnection, XNetEndpoint::XState inNewState );

    /// The connection, even while it is connecting or listening. Throws 3100 if there is none.
    WConnectionPtr GetConnection() const;

    /// The established connection. Throws 3100 if there is none.
    WConnectionPtr GetConnected() const;

    /// Whether this side is ending the connection. Bytes received from it may then follow others that are
    /// lost.
    bool IsEnding( const WConnection& inConnection ) const;

    /// Throws the error of an outcome, if any; 3100 drops the connection.
    void Check( const WConnectionPtr& inConnection, const WConnection::Outcome& inOutcome );

private:
    static constexpr std::uint32_t kMostBytesPerTransfer = 65535;

    WConnectionPtr AcceptConnection( const WConnectionPtr& inConnection );
    void Drain( WConnection& ioConnection, std::uint32_t inTimeoutMS );

    template<class TTransfer>
    std::uint32_t ReceiveOrPeek( std::uint32_t inLength, TTransfer inTransfer );

    WConnectionPtr TakeConnection( XNetEndpoint::XState inNewState );
    void EndUse( XNetEndpoint::XState inNewState );
    void ResetStatistics();

    [[noreturn]] void Fail( const WConnectionPtr& inConnection, std::uint32_t inError );
    [[noreturn]] void FailDisconnected( const WConnectionPtr& inConnection );

    mutable XMutex itsMutex; // never held in a wait
    // Guarded by itsMutex, like changes of the state:
    WConnectionPtr itsConnection;
    WConnectionPtr itsClosing; // about to be closed by `Disconnect`

    XTransferStatistics itsBytesRead;
    XTransferStatistics itsBytesWritten;
};
