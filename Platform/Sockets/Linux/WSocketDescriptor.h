#pragma once

#include "Sockets/WConnection.h"

/// The descriptor of a stream socket of any family, which does not block: what connections of all kinds have in common
/// here. Closed at the end of its life.
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

    /// What a call of the system has come to, by its result and errno.
    static Outcome ToOutcome( std::int64_t inResult );
    static Outcome Failed( int inErrno );

    Outcome Listen( std::uint32_t inBacklog ) const;

    /// A new descriptor in `outDescriptor`, which the caller owns.
    Outcome TryAccept( int& outDescriptor ) const;
    Outcome TryFinishConnecting() const;
    Outcome TrySend( const void* inBytes, USize inCount ) const;
    Outcome TryReceive( void* outBytes, USize inCount, bool inPeek ) const;
    std::uint32_t GetWaitingBytes() const;
    void ShutDownSending() const;

    /// Whether the peer will send no more.
    bool HasPeerClosed() const;

    /// Ends every poll of the descriptor too, one that listens or connects included.
    void End() const;

    /// Sleeps until one of the events of poll, an alert of the calling thread or the deadline.
    WWaitResult Sleep( short inEvents, const WDeadline& inDeadline, bool inAlertable ) const;

private:
    int itsDescriptor;
};
