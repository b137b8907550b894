#pragma once

#include "Sockets/WConnection.h"

/// The non-blocking descriptor of a stream socket of any family: the common part of all kinds of connections.
/// Closed by the destructor.
/// Threads: any thread, at any time.
class WSocketDescriptor
{
public:
    using Outcome = WConnection::Outcome;

    explicit WSocketDescriptor( int inDescriptor ) : itsDescriptor( inDescriptor ) {}
    WSocketDescriptor( WSocketDescriptor&& inOther ) noexcept;
    WSocketDescriptor& operator=( WSocketDescriptor&& ) = delete;
    ~WSocketDescriptor();

    /// Opens a socket of a family. Throws the system's last error.
    static WSocketDescriptor Open( int inFamily );

    int Get() const { return itsDescriptor; }

    /// The outcome of a system call, from its result and errno.
    static Outcome ToOutcome( std::int64_t inResult );
    static Outcome Failed( int inErrno );

    Outcome Listen( std::uint32_t inBacklog ) const;

    /// Returns a new descriptor in `outDescriptor`, which the caller owns.
    Outcome TryAccept( int& outDescriptor ) const;
    Outcome TryFinishConnecting() const;
    Outcome TrySend( const void* inBytes, USize inCount ) const;
    Outcome TryReceive( void* outBytes, USize inCount, bool inPeek ) const;
    std::uint32_t GetWaitingBytes() const;
    void ShutDownSending() const;

    /// Whether the peer has stopped sending.
    bool HasPeerClosed() const;

    /// Shuts the connection down; also ends polls of a descriptor that is listening or connecting.
    void End() const;

    /// Sleeps until one of the poll events, an alert of the calling thread or the deadline.
    WWaitResult Sleep( short inEvents, const WDeadline& inDeadline, bool inAlertable ) const;

private:
    int itsDescriptor;
};
