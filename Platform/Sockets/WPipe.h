#pragma once

#include "Sockets/WConnection.h"

#include <string>

/// A pipe with a name, between processes of one user on this machine. On Linux a Unix-domain socket in a folder of that
/// user alone: `korvale` in `XDG_RUNTIME_DIR`, else `korvale-UID` in `TMPDIR` or `/tmp`; on Windows a named pipe
/// (`\\.\pipe\NAME`) that the user alone may open. A peer of another user is refused, on either side.
///
/// A listening object takes the name away from a listener that has died, never from one that lives, and gives it up at its
/// end.
///
/// On Windows a connection has no way to end one direction: after `ShutDownSending` a receive waits until the system has
/// what was sent, and then tells the end; what was sent reaches the peer also when the connection is closed then.
/// Threads: as WConnection; `Listen` and `StartConnecting` before the others.
class KORVALE_API WPipe : public WConnection
{
public:
    /// The most bytes that can be peeked together.
    static constexpr USize kMostToPeek = 65535;

    /// Letters, digits, '.', '_' and '-', from 1 to 64, with no '.' in front.
    static bool IsValidName( const std::string& inName );

    /// Throws the system's last error.
    explicit WPipe( const std::string& inName );
    ~WPipe() override;

    /// kErrorAddressInUse where somebody listens. Throws the system's last error for a folder that cannot be used.
    Outcome Listen( std::uint32_t inBacklog );

    /// kErrorWouldBlock where the listener has to accept others first; `FinishConnecting` tries again then.
    /// kErrorRefused where nobody listens, kErrorAccess for a pipe of another user.
    Outcome StartConnecting();

    Outcome WaitForMore( USize inCount, const WDeadline& inDeadline ) override;
    std::uint32_t GetWaitingBytes() const override;
    void ShutDownSending() override;

    /// Where the pipe of a name lies, for messages. In UTF-8.
    static std::string GetPath( const std::string& inName );

private:
    struct System;

    explicit WPipe( std::unique_ptr<System> inSystem );

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
