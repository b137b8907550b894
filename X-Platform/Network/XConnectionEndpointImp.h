#pragma once

#include "Network/XNetEndpointImp.h"
#include "Network/XTransferStatistics.h"
#include "Sockets/WConnection.h"

/// An endpoint over a connection of the system: what all kinds of connections have in common. A subclass connects, binds
/// and makes the endpoints of accepted connections.
///
/// The connection is taken out of the object to end its use: from then on no operation finds it, those that use it are
/// woken, and the last of them closes it.
///
/// A subclass may also put a protocol of its own between the connection and the endpoint's bytes.
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

    /// The endpoint of a connection that has been accepted.
    virtual XNetEndpoint* MakeEndpoint( const WConnectionPtr& inConnection ) = 0;

    // ---- For a protocol on top of the connection, which is none at first. What an operation throws, or returns as failed,
    // fails that of the endpoint.

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
    /// `Disconnect` is about to shut the connection down. Does not wait.
    virtual void AnnounceEnd( const WConnectionPtr& inConnection );
    /// The endpoint does not use the connection any more. Its destructor does not call this.
    virtual void LetGo( const WConnectionPtr& inConnection );

    // ---- For subclasses

    /// Uses a connection that is about to connect or to listen. Using one already is an internal error.
    void Use( const WConnectionPtr& inConnection );

    /// What has been begun with the connection is done. 3100 where somebody has ended it meanwhile.
    void TakeOver( const WConnectionPtr& inConnection, XNetEndpoint::XState inNewState );

    /// Begins with an established connection. For a new object.
    void SetConnected( const WConnectionPtr& inConnection );

    /// Ends the use of this very connection, unless somebody else has done so.
    void Drop( const WConnectionPtr& inConnection, XNetEndpoint::XState inNewState );

    /// One that is being made, or listens, too. 3100 without any.
    WConnectionPtr GetConnection() const;

    /// The one that is connected; else 3100.
    WConnectionPtr GetConnected() const;

    /// Whether this side ends the connection. Bytes from it may lie behind others that are lost then.
    bool IsEnding( const WConnection& inConnection ) const;

    /// Throws what an outcome comes to; 3100 drops the connection.
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

    mutable XMutex itsMutex; // held for moments only
    // Guarded by itsMutex, as are changes of the state:
    WConnectionPtr itsConnection;
    WConnectionPtr itsClosing; // that `Disconnect` is about to close

    XTransferStatistics itsBytesRead;
    XTransferStatistics itsBytesWritten;
};
