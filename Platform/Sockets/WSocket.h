#pragma once

#include "Ground/WDeadline.h"
#include "Ground/WWaitResult.h"
#include "WPlatform.h"

#include <atomic>
#include <memory>

/// A TCP socket over IPv4. The descriptor never blocks; operations wait with a deadline of their own, which another
/// thread ends at once by `Interrupt`, and any thread by alerting the waiting one (WThread::Wake).
///
/// A wait first tries again for a moment, because waking a sleeping thread on another processor takes longer than most
/// peers take to answer.
///
/// Ownership: the object owns the descriptor and closes it in its destructor. Threads share the object by `WSocketPtr`,
/// so that the descriptor, whose number the system gives to the next socket, outlives every call that uses it.
/// Threads: any thread may call anything at any time; two that receive share the bytes between them.
/// Errors: what cannot be foreseen is part of the outcome: codes of the system with Winsock's numbers (10054 and so on).
/// The first wait of a thread throws the system's last error where there is no descriptor left for its alert.
class KORVALE_API WSocket
{
public:
    enum Status : std::uint32_t
    {
        kDone,
        kTimedOut,
        kAlerted, ///< the waiting thread was: nothing has been done, the caller may go on
        kFailed,  ///< see `error`
    };

    struct Outcome
    {
        Status status = kDone;
        USize count = 0; ///< bytes moved
        std::uint32_t error = 0;
    };

    /// In the machine's byte order.
    struct Address
    {
        std::uint32_t ip = 0;
        std::uint16_t port = 0;
    };

    static constexpr std::uint32_t kErrorInterrupted = 10004;
    static constexpr std::uint32_t kErrorAccess = 10013;
    static constexpr std::uint32_t kErrorWouldBlock = 10035;
    static constexpr std::uint32_t kErrorInProgress = 10036;
    static constexpr std::uint32_t kErrorNotASocket = 10038;
    static constexpr std::uint32_t kErrorAddressInUse = 10048;
    static constexpr std::uint32_t kErrorAborted = 10053;
    static constexpr std::uint32_t kErrorReset = 10054;
    static constexpr std::uint32_t kErrorNoBuffers = 10055;
    static constexpr std::uint32_t kErrorTimedOut = 10060;
    static constexpr std::uint32_t kErrorRefused = 10061;

    /// Opens a socket. Throws the system's last error.
    WSocket();
    WSocket( const WSocket& ) = delete;
    WSocket& operator=( const WSocket& ) = delete;
    ~WSocket();

    // ---- Server side

    /// Binds to a port of all adapters, 0 for any free one. A port that other connections have used a moment ago is
    /// free, one on which somebody listens is not (kErrorAddressInUse).
    Outcome Bind( std::uint16_t inPort );
    Outcome Listen( std::uint32_t inBacklog );

    /// Waits for a connection and takes it.
    Outcome Accept( std::shared_ptr<WSocket>& outConnection, const WDeadline& inDeadline );

    // ---- Client side

    /// Starts to connect; kErrorWouldBlock or kErrorInProgress when that takes a while.
    Outcome StartConnecting( const Address& inAddress );

    /// Waits for the end of what `StartConnecting` has begun. May be called again after kTimedOut and kAlerted.
    Outcome FinishConnecting( const WDeadline& inDeadline );

    // ---- Transfer

    /// Sends one byte at least.
    Outcome Send( const void* inBytes, USize inCount, const WDeadline& inDeadline );

    /// Receives one byte at least; a count of 0 tells that the peer has closed or that the socket was interrupted.
    Outcome Receive( void* outBytes, USize inCount, const WDeadline& inDeadline );

    /// The same, but the bytes stay.
    Outcome Peek( void* outBytes, USize inCount, const WDeadline& inDeadline );

    /// Waits until more than `inCount` bytes have arrived (count 1) or nothing more will arrive (count 0).
    Outcome WaitForMore( USize inCount, const WDeadline& inDeadline );

    /// Bytes that can be received without waiting.
    std::uint32_t GetWaitingBytes() const;

    // ---- End

    /// Tells the peer that nothing more will be sent.
    void ShutDownSending();

    /// Ends the connection for both sides, and every wait on the socket, now and later. Does not close the descriptor.
    void Interrupt();
    bool IsInterrupted() const { return itsIsInterrupted.load(); }

    // ---- Properties

    Address GetLocalAddress() const;
    Address GetPeerAddress() const;

    /// Has the system probe a silent peer after this many milliseconds, rounded up to its unit, and then each second;
    /// kNoTimeout has it not do so.
    Outcome SetKeepAlive( std::uint32_t inIdleMs );

    /// Whether the error of a failed operation means that the process or the system has too many sockets or too little
    /// memory just now, which may pass.
    static bool IsShortage( std::uint32_t inError );

private:
    struct System; // the descriptor and what else the system needs for waiting

    enum Direction
    {
        kForReading,
        kForWriting,
        kForPeeking, // on Windows
    };

    explicit WSocket( System&& inSystem );

    template<class TTry>
    Outcome Repeat( Direction inDirection, const WDeadline& inDeadline, TTry inTry );
    template<class TTry>
    Outcome RepeatAfterWait( Direction inDirection, const WDeadline& inDeadline, TTry inTry );
    template<class TTry>
    Outcome Spin( TTry inTry );

    /// Whether connections are to be accepted only when the system has told of them.
    static bool HasToWaitToAccept();

    Outcome TryAccept( std::shared_ptr<WSocket>& outConnection );
    Outcome TrySend( const void* inBytes, USize inCount );
    Outcome TryReceive( void* outBytes, USize inCount, bool inPeek );
    Outcome TryFinishConnecting();
    void EndConnection();

    /// Returns at once on an interrupted socket.
    WWaitResult Wait( Direction inDirection, const WDeadline& inDeadline );
    WWaitResult SleepUntilReady( Direction inDirection, const WDeadline& inDeadline, bool inAlertable );

    const std::unique_ptr<System> itsSystem;
    std::atomic<bool> itsIsInterrupted = false;
};

using WSocketPtr = std::shared_ptr<WSocket>;
