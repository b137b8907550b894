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

    /// Binds to a port of the adapter with the address, of all adapters if it is 0; port 0 selects a free one.
    /// A port that closed connections have recently used can be bound, one with a listener cannot
    /// (kErrorAddressInUse).
    Outcome Bind( const Address& inAddress );
    Outcome Listen( std::uint32_t inBacklog );

    // ---- Client side

    /// Starts to connect; returns kErrorWouldBlock or kErrorInProgress if that takes time.
    Outcome StartConnecting( const Address& inAddress );

    // ---- Transfer and end

    Outcome WaitForMore( USize inCount, const WDeadline& inDeadline ) override;
    std::uint32_t GetWaitingBytes() const override;
    void ShutDownSending() override;

    // ---- Properties

    Address GetLocalAddress() const;
    Address GetPeerAddress() const;

    /// Makes the system probe an idle peer after this many milliseconds, and then once per second; kNoTimeout
    /// disables probing. Linux uses whole seconds, rounded up, from 1 to 32767.
    Outcome SetKeepAlive( std::uint32_t inIdleMS );

private:
    struct System; // the descriptor and other data that the system needs for waiting

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
