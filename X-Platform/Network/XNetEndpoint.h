#pragma once

#include "Core/Strings/XString.h"
#include "Network/XNetAddress.h"

#include <memory>

class XNetEndpointImp;

/// One end of a TCP connection, or a port that listens for connections. Makes connections, sends, receives, and tells how
/// fast that goes; the work is done by its implementation.
///
/// Connecting, listening, disconnecting and each transfer are checkpoints of the calling XThread: at their start, and
/// whenever another thread asks this one to stop or suspend while they wait. Their waits end at once when another thread
/// calls `ForceDisconnect` or `Unbind`.
///
/// Time-outs are milliseconds; `kNoTimeout` is no limit, 0 tries once. In transfers they limit the wait for the next
/// bytes that move, not the whole.
///
/// Ownership: an assigned endpoint shares the connection of the other; it ends with the last of them. An endpoint must
/// not be destroyed or assigned to while another thread is in one of its operations: disconnect, and let them end first.
/// Threads: every other operation may be called from any thread. Connecting, sending and disconnecting are done one at a
/// time; they wait for their turn without a limit, `Disconnect` within its time. Receives, `Listen` and the ends of the
/// connection do not wait for them.
/// Errors: 3100 when the connection has ended or there is none; then the endpoint is disconnected. 3105 when the time is
/// over, 3106 when a connection is refused; else WLastErrorException with the system's code. A port outside 0 to 65535
/// is 1013.
class KORVALE_API XNetEndpoint
{
public:
    enum XState : std::uint32_t
    {
        kStateClosed = 0,        ///< no socket: new, unbound, or failed to connect
        kStateDisconnected = 1,  ///< listening between two calls of `Listen`, or a connection that has ended
        kStateAccepting = 2,     ///< in `Listen`
        kStateConnected = 3,     ///< sends and receives
        kStateDisconnecting = 4, ///< in `Disconnect`
    };

    /// The largest backlog that the system allows.
    static constexpr std::uint32_t kMostBacklog = 0xFFFFFFFF;

    /// A TCP endpoint without a connection.
    XNetEndpoint();
    /// With an implementation of another kind.
    explicit XNetEndpoint( std::unique_ptr<XNetEndpointImp> inImp );
    XNetEndpoint( const XNetEndpoint& ) = default;
    XNetEndpoint& operator=( const XNetEndpoint& ) = default;
    ~XNetEndpoint();

    // ---- Connections

    /// Connects to the address. Where it has no IP address, and `inTryAdapters`, its adapters are tried in their order,
    /// each for an equal share of the time, until one connects; if none does, the last error is thrown. 3104 when there
    /// is no address to try. Looking up a name comes before the time, and nothing ends it early. An endpoint that is
    /// connected or bound already is an internal error.
    void Connect( const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters = true );

    /// The same with a progress of the calling thread, shown after two seconds, whose user may abort (1001).
    void
    ConnectWithProgress( const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters = true );

    /// Listens on a port of all adapters from now on; 0 takes a free one, which the local address tells. A port in use is
    /// a WLastErrorException (10048) that names the port.
    void Bind( std::int32_t inPort, std::uint32_t inBacklog = kMostBacklog );

    /// The same on the adapter with the address alone; on all adapters where that is 0.0.0.0. An address that is none of
    /// this machine's is error 10049.
    void Bind( const XNetAddress& inAddress, std::uint32_t inBacklog = kMostBacklog );
    /// Ends what `Bind` has begun, and a `Listen` of another thread (3100).
    void Unbind();

    /// Waits for a connection and returns its endpoint, which the caller owns. An endpoint that is not bound, or listens
    /// already, is an internal error.
    XNetEndpoint* Listen();

    /// Tells the peer that nothing more will be sent and waits until it has closed too; what it still sends is lost. 3105
    /// when the time is over; the connection is closed all the same.
    void Disconnect( std::uint32_t inTimeoutMS );

    /// Ends the connection, or the listening, at once, and all waits for it (3100).
    void ForceDisconnect();

    // ---- Transfer

    /// Sends all bytes. After an error, part of them may have been sent.
    void SendData( const void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// Receives what is there, one byte at least, `length` at most, and returns how many.
    std::uint32_t ReceiveAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// Receives all bytes. After an error, part of them may have been received.
    void ReceiveData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// Receives up to and including `inTerminator` and returns what is before it. The time limits the whole line. An
    /// empty terminator is error 1013.
    XString ReceiveLine( const XString& inTerminator, std::uint32_t inTimeoutMS );

    /// The same as the receives, but the bytes stay. More than a connection holds (10055) cannot be peeked.
    std::uint32_t PeekAnyData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );
    void PeekData( void* buffer, std::uint32_t length, std::uint32_t inTimeoutMS );

    /// Bytes that can be received without waiting.
    std::uint32_t GetWaitingBytes() const;

    // ---- Properties

    XState GetState() const;

    /// A listening endpoint's own address, with the port it is bound to.
    XNetAddress GetLocalAddress() const;
    /// The port of that address, without looking up the machine's name.
    std::int32_t GetLocalPort() const;

    /// The peer's. A peer on this machine that has come in over the loop-back interface has this machine's own address.
    XNetAddress GetRemoteAddress() const;

    /// How long a connection is silent before the system asks the peer for a sign of life, and then each second; the
    /// system's unit may be seconds, then it is rounded up. `kNoTimeout`, as at first, never asks. A peer that does not
    /// answer ends the connection: 3105 for the first operation that meets the end, 3100 from then on. An accepted
    /// connection begins with the time of the endpoint that has listened.
    std::uint32_t GetKeepAliveTimeMS() const;
    void SetKeepAliveTimeMS( std::uint32_t inTimeMS );

    /// Bytes since the connection was made.
    std::uint64_t GetTotalBytesRead() const;
    std::uint64_t GetTotalBytesWritten() const;

    /// The mean over the last ten transfers; 0 before there is one.
    std::uint64_t GetAvgBytesReadPerSec() const;
    std::uint64_t GetAvgBytesWrittenPerSec() const;

    /// Belongs to the endpoint.
    XNetEndpointImp* GetImplementation() const;

    /// Whether the machine seems to have a way to the internet.
    static bool IsConnectedToInternet();

private:
    struct XShared;

    using XConnect = void ( XNetEndpointImp::* )( const XNetAddress&, std::uint32_t );
    void ConnectToCandidates(
        const XNetAddress& inAddress, std::uint32_t inTimeoutMS, bool inTryAdapters, XConnect inConnect );

    std::shared_ptr<XShared> itsShared;
};
