#pragma once

#include "Ground/XTypes.h"
#include "Sockets/WTLSContext.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// One side of a TLS connection without its transport: converts bytes to be sent into output for a socket,
/// and input from the socket into received bytes. Never waits.
///
/// After a failure the session cannot be used any more; its output then contains the alert for the peer.
/// Threads: one at a time.
class KORVALE_API WTLSSession
{
public:
    enum Side : std::uint32_t
    {
        kClient,
        kServer
    };

    enum Status : std::uint32_t
    {
        kDone,
        kWantsInput, ///< all input has been consumed, and the operation is not complete
        kEnded,      ///< the peer has closed the session
        kFailed      ///< see `error`
    };

    struct Outcome
    {
        Status status = kDone;
        USize count = 0;         ///< bytes read
        std::uint32_t error = 0; ///< an XErrorNumber, 3121 to 3127
    };

    WTLSSession( std::shared_ptr<const WTLSContext> inContext, Side inSide );
    WTLSSession( const WTLSSession& ) = delete;
    WTLSSession& operator=( const WTLSSession& ) = delete;
    ~WTLSSession();

    /// Call it until it is done, before reading and writing.
    Outcome Handshake();

    /// Decrypts at least one and at most `inCount` bytes.
    Outcome Read( void* outBytes, USize inCount );

    /// Encrypts all bytes.
    Outcome Write( const void* inBytes, USize inCount );

    /// Sends the end of the session to the peer.
    void End();

    // ---- Transport side

    /// The buffer for input, to be filled when the session wants input. Valid until `CommitInput`, even while
    /// another operation runs.
    std::span<std::uint8_t> GetInputRoom();
    void CommitInput( USize inCount );

    USize GetOutputSize() const;
    /// Exchanges the output for an empty vector, whose memory is reused.
    void TakeOutput( std::vector<std::uint8_t>& ioEmpty );

private:
    struct System;

    const std::shared_ptr<const WTLSContext> itsContext;
    const std::unique_ptr<System> itsSystem;
};
