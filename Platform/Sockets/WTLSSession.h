#pragma once

#include "Ground/XTypes.h"
#include "Sockets/WTLSContext.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// One side of a TLS connection, without the connection: bytes to be sent become output for a socket, input from the
/// socket becomes bytes that were received. Never waits.
///
/// After a failure the session is of no more use; its output then holds what the peer is to be told.
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
        kWantsInput, ///< all input has been used up, and the operation is not done
        kEnded,      ///< the peer has said that nothing more will come
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

    /// Until it is done nothing is to be written or read.
    Outcome Handshake();

    /// Decrypts one byte at least, `inCount` at most.
    Outcome Read( void* outBytes, USize inCount );

    /// Encrypts all bytes.
    Outcome Write( const void* inBytes, USize inCount );

    /// Tells the peer that nothing more will come.
    void End();

    // ---- The socket's side

    /// Where input goes; to be asked for when the session wants some. Valid until `CommitInput`, also while another
    /// operation runs.
    std::span<std::uint8_t> GetInputRoom();
    void CommitInput( USize inCount );

    USize GetOutputSize() const;
    /// Exchanges the output for an empty vector, whose memory is used on.
    void TakeOutput( std::vector<std::uint8_t>& ioEmpty );

private:
    struct System;

    const std::shared_ptr<const WTLSContext> itsContext;
    const std::unique_ptr<System> itsSystem;
};
