#pragma once

#include "Sockets/WConnection.h"

/// A TCP socket over IPv4.
class KORVALE_API WSocket : public WConnection
{
public:
    /// In the machine's byte order.
    struct Address
    {
        std::uint32_t ip = 0;
        std::uint16_t port = 0;
        bool operator==( const Address& ) const = default;
    };

    /// Opens a socket. Throws the system's last error.
    WSocket();
    ~WSocket() override;

    // ---- Server side

    /// Binds to a port, 0 for any free one, of the adapter with the address, or of all adapters where that is 0. A port
    /// that other connections have used a moment ago is free, one on which somebody listens is not
    /// (kErrorAddressInUse).
    Outcome Bind( const Address& inAddress );
    Outcome Listen( std::uint32_t inBacklog );

    // ---- Client side

    /// Starts to connect; kErrorWouldBlock or kErrorInProgress when that takes a while.
    Outcome StartConnecting( const Address& inAddress );

    // ---- Transfer and end

    Outcome WaitForMore( USize inCount, const WDeadline& inDeadline ) override;
    std::uint32_t GetWaitingBytes() const override;
    void ShutDownSending() override;

    // ---- Properties

    Address GetLocalAddress() const;
    Address GetPeerAddress() const;

    /// Has the system probe a silent peer after this many milliseconds, rounded up to its unit, and then each second;
    /// kNoTimeout has it not do so.
    Outcome SetKeepAlive( std::uint32_t inIdleMs );

private:
    struct System; // the descriptor and what else the system needs for waiting

    explicit WSocket( System&& inSystem );

    bool HasToWaitToAccept() const override;
    Outcome TryAccept( WConnectionPtr& outConnection ) override;
    Outcome TryFinishConnecting() override;
    Outcome TrySend( const void* inBytes, USize inCount ) override;
    Outcome TryReceive( void* outBytes, USize inCount, bool inPeek ) override;
    bool HasPeerClosed() const override;
    void EndConnection() override;
    WWaitResult
    SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool inAlertable ) override;

    const std::unique_ptr<System> itsSystem;
};

using WSocketPtr = std::shared_ptr<WSocket>;
