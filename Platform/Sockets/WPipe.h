#pragma once

#include "Sockets/WConnection.h"

#include <string>

/// A named pipe between processes of one user on this machine. On Linux it is a Unix-domain socket in a
/// private folder of the user: `korvale` in `XDG_RUNTIME_DIR`, otherwise `korvale-UID` in `TMPDIR` or `/tmp`;
/// on Windows a named pipe (`\\.\pipe\NAME`) with access for the user only. Both sides reject peers of other
/// users.
///
/// A listening object takes over the name of a listener that has died, never of a living one, and releases it
/// when destroyed.
///
/// On Windows one direction of a connection cannot be ended alone: after `ShutDownSending` a receive waits
/// until the system has taken the sent bytes, and then reports the end; they reach the peer even if the
/// connection is closed then.
/// Threads: as WConnection; call `Listen` and `StartConnecting` before the other functions.
class KORVALE_API WPipe : public WConnection
{
public:
    /// The maximum number of bytes that can be peeked.
    static constexpr USize kMostToPeek = 65535;

    /// True for 1 to 64 letters, digits, '.', '_' and '-', not beginning with '.'.
    static bool IsValidName( const std::string& inName );

    /// Throws the system's last error.
    explicit WPipe( const std::string& inName );
    ~WPipe() override;

    /// Returns kErrorAddressInUse if the name is in use. Throws the system's last error for a folder that
    /// cannot be used.
    Outcome Listen( std::uint32_t inBacklog );

    /// Returns kErrorWouldBlock if the listener must accept others first; `FinishConnecting` then retries.
    /// kErrorRefused if nobody listens, kErrorAccess for a pipe of another user.
    Outcome StartConnecting();

    Outcome WaitForMore( USize inCount, const WDeadline& inDeadline ) override;
    std::uint32_t GetWaitingBytes() const override;
    void ShutDownSending() override;

    /// The location of a pipe in UTF-8, for messages.
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
