#pragma once

#include "Core/Strings/XString.h"
#include "Network/XNetAddress.h"

#include <memory>

class XNetEndpointImp;

/// One end of a TCP connection, or a port that listens for connections. Connects, sends and receives, and
/// measures throughput; the implementation does the work.
///
/// Connecting, listening, disconnecting and each transfer are checkpoints of the calling XThread: at their
/// start, and whenever another thread requests a stop or a suspension while they wait. Their waits end at
/// once if another thread calls `ForceDisconnect` or `Unbind`.
///
/// Time-outs are in milliseconds; `kNoTimeout` means no limit, 0 tries once. In transfers they limit the wait
/// for the next bytes, not the whole transfer.
///
/// Ownership: a copied or assigned endpoint shares the connection of the other; it ends with the last of
/// them. An endpoint must not be destroyed or assigned to while another thread is in one of its operations:
/// disconnect, and let these end first.
/// Threads: every other operation may be called from any thread. Connecting, sending and disconnecting run
/// one at a time; they wait for each other without limit, `Disconnect` within its time-out. Receiving,
/// `Listen` and ending the connection do not wait for them.
/// Errors: 3100 if the connection has ended or there is none; the endpoint is then disconnected. 3105 on a
/// time-out, 3106 if a connection is refused; otherwise WLastErrorException with the system's code. A port
/// outside 0 to 65535 is 1013.
class KORVALE_API XNetEndpoint
{
public:
    enum XState : std::uint32_t
    {
        kStateClosed = 0,        ///< no socket: new, unbound, or failed to connect
        kStateDisconnected = 1,  ///< listening but not in `Listen`, or the connection has ended
        kStateAccepting = 2,     ///< in `Listen`
        kStateConnected = 3,     ///< can send and receive
        kStateDisconnecting = 4, ///< in `Disconnect`
    };

    /// The largest backlog that the system allows.
    static constexpr std::uint32_t kMostBacklog = 0xFFFFFFFF;

    /// A TCP endpoint without a connection.
    XNetEndpoint();
    /// Creates an endpoint with another kind of implementation.
    explicit XNetEndpoint( std::unique_ptr<XNetEndpointImp> inImp );
    XNetEndpoint( const XNetEndpoint& ) = default;
    XNetEndpoint& operator=( const XNetEndpoint& ) = default;
    ~XNetEndpoint();

    // ---- Connections

    /// Connects to the address. If it has no IP address and `inTryAdapters` is set, tries its adapters in
    /// order, each for an equal share of the time, until one connects; if none does, throws the last error.
    /// Throws 3104 if there is no address to try. A name look-up does not count against the time-out and
    /// cannot be interrupted. Connecting an endpoint that is connected or bound is an internal error.
    void Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters = true );

    /// Connects with a progress of the calling thread, which is shown after two seconds and through which the
    /// user may abort (1001).
    void
    ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters = true );

    /// Starts listening on a port of all adapters; 0 selects a free port, which GetLocalPort returns. A port
    /// in use is a WLastErrorException (10048) that names the port.
    void Bind( std::int32_t inPort, std::uint32_t inBacklog = kMostBacklog );

    /// Starts listening on the adapter with the address, on all adapters if it is 0.0.0.0. Error 10049 if the
    /// address is not one of this machine.
    void Bind( const XNetAddress& inAddress, std::uint32_t inBacklog = kMostBacklog );

    /// Stops listening, and ends a `Listen` of another thread (3100).
    void Unbind();

    /// Waits for a connection and returns its endpoint, which the caller owns. An internal error if this
    /// endpoint is not bound or is already in `Listen`.
    XNetEndpoint* Listen();

    /// Ends the sending side and waits until the peer has closed too; bytes that the peer still sends are
    /// lost. Throws 3105 on a time-out; the connection is closed anyway.
    void Disconnect( std::uint32_t inTimeoutMS );

    /// Ends the connection or the listening at once; all waits on it end (3100).
    void ForceDisconnect();

    // ---- Transfer

    /// Sends all bytes. If it throws, some of them may have been sent.
    void SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// Receives the available bytes, at least 1 and at most `length`, and returns their number.
    std::uint32_t ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// Receives `length` bytes. If it throws, some of them may have been received.
    void ReceiveData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// Receives up to and including `inTerminator` and returns the text before it. The time-out limits the
    /// whole line. An empty terminator is error 1013.
    XString ReceiveLine( const XString& inTerminator, std::uint32_t inTimeoutMS );

    /// Like the receives, but the bytes stay in the connection. Peeking more bytes than a connection buffers
    /// is error 10055.
    std::uint32_t PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );
    void PeekData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// The number of bytes that can be received without waiting.
    std::uint32_t GetWaitingBytes() const;

    // ---- Properties

    XState GetState() const;

    /// For a listening endpoint, this machine's address with the port it is bound to.
    XNetAddress GetLocalAddress() const;
    /// The port of the local address, without looking up the machine's name.
    std::int32_t GetLocalPort() const;

    /// The address of the peer. For a peer on this machine that connected through the loop-back interface,
    /// this machine's address.
    XNetAddress GetRemoteAddress() const;

    /// The idle time after which the system probes the peer, then once per second; rounded up if the system
    /// counts in seconds. `kNoTimeout`, the initial value, disables probing. A peer that does not answer ends
    /// the connection: the first operation that notices throws 3105, later ones 3100. An accepted connection
    /// starts with the value of the listening endpoint.
    std::uint32_t GetKeepAliveTimeMS() const;
    void SetKeepAliveTimeMS( std::uint32_t inTimeMS );

    /// The number of bytes since the connection was established.
    std::uint64_t GetTotalBytesRead() const;
    std::uint64_t GetTotalBytesWritten() const;

    /// The mean over the last ten transfers; 0 before the first.
    std::uint64_t GetAvgBytesReadPerSec() const;
    std::uint64_t GetAvgBytesWrittenPerSec() const;

    /// Owned by the endpoint.
    XNetEndpointImp* GetImplementation() const;

    /// Whether the machine seems to be connected to the internet.
    static bool IsConnectedToInternet();

private:
    struct XShared;

    using XConnect = void ( XNetEndpointImp::* )( const XNetAddress&, std::uint32_t );
    void ConnectToCandidates(
        const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters, XConnect inConnect );

    std::shared_ptr<XShared> itsShared;
};
